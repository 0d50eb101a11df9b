#include "host/run/Segment.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <iterator>

#include "host/analysis/SlicerSearch.hpp"
#include "host/run/Declared.hpp"
#include "host/run/OwnLogs.hpp"
#include "host/signal/Deconvolution.hpp"

namespace amisim {
namespace {

/// Of those sent, until they have been compared.
/// @param blockBits  the most in one block
/// @param behind     segments
std::int64_t HeldBits(std::int64_t blockBits, bool transmitter, std::size_t behind)
{
    constexpr std::int64_t kAhead = 1 << 17;  // of the bits that a transmitter's model has had
    const std::int64_t inFlight = (ModelStart::kMostSlots + 4) * blockBits;
    return static_cast<std::int64_t>(behind) * (kAhead + inFlight) + inFlight +
           Analyses::kMostHeldBits + SymbolComparer::kLongestDelay +
           4 * static_cast<std::int64_t>(SymbolComparer::kWindow) +
           (transmitter ? kAhead + inFlight : 0);
}

/// More than any run has.
constexpr std::int64_t kAllBits = std::int64_t{1} << 40;

/// Of random things no two segments have the same.
SignalOptions SignalOf(const SegmentOptions& own, std::size_t number)
{
    constexpr std::uint64_t kStream = 1 << 20;  // of random numbers, apart from a signal's own
    SignalOptions signal = own.signal;
    if (number > 0) signal.seed = Random(signal.seed, kStream + number).Bits();
    return signal;
}

/// A failure in a link of several segments says in which.
template <typename Step>
auto OfSegment(std::size_t number, std::size_t of, Step step)
{
    constexpr const char* kMark = " of segment ";
    try {
        return step();
    } catch (const ModelFailure& failure) {
        if (of == 1 || failure.phase.find(kMark) != std::string::npos) throw;
        throw ModelFailure(failure.Code(), fmt::format("{}{}{}", failure.phase, kMark, number + 1),
                           failure.reason, failure.printed);
    }
}

}  // namespace

/// A receiver's output, which is made as it is read.
class Segment::OutputWave : public SignalSource
{
public:
    explicit OutputWave(Segment& owner) : owner_(owner) {}

    void Add(std::span<const double> output)
    {
        waiting_.insert(waiting_.end(), output.begin(), output.end());
    }

    std::size_t Read(std::span<double> out) override
    {
        while (waiting_.size() < out.size() && owner_.Next()) {
        }
        const std::size_t count = std::min(waiting_.size(), out.size());
        const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(count);
        std::copy(waiting_.begin(), end, out.begin());
        waiting_.erase(waiting_.begin(), end);
        return count;
    }

private:
    Segment& owner_;
    std::deque<double> waiting_;
};

Segment::~Segment() = default;

Segment::Segment(const SegmentOptions& own, const SimulationOptions& run,
                 const SegmentModels& models, Surroundings surroundings, Place place)
    : own_(own),
      run_(run),
      receiver_(models.receiver),
      transmitter_(models.transmitter ? &*models.transmitter : nullptr),
      surroundings_(std::move(surroundings)),
      place_(place),
      training_(Training::Of(transmitter_, receiver_, run.blockBits)),
      signal_(MakeSignal()),
      link_(signal_, transmitter_, receiver_),
      slicers_(receiver_.declared, own.signal.Levels(), own.signal.BitTime()),
      computed_(own, run, receiver_, transmitter_, signal_, link_)
{
    result_.name = receiver_.name;
    if (!run.mask.empty() && Last() && own.signal.Levels() > 2) {
        throw Error(ExitCode::kUsage, fmt::format("--mask: is of eyes with two levels, and this "
                                                  "signal has {}",
                                                  own.signal.Levels()));
    }
    result_.notes = receiver_.notes;
    if (transmitter_) {
        for (const std::string& note : transmitter_->notes)
            result_.notes.push_back("transmitter: " + note);
    }
    if (receiver_.leastSamplesPerBit && own.signal.samplesPerBit < *receiver_.leastSamplesPerBit) {
        result_.notes.push_back(fmt::format(
            "the model asks for {} samples per bit or more: with {} its own measurements, and "
            "what it adapts by them, go astray",
            *receiver_.leastSamplesPerBit, own.signal.samplesPerBit));
    }
    if (own.repeater == Repeater::kRetimer) {
        if (!receiver_.getWave) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}: has no AMI_GetWave and so no clock times, which a retimer "
                                    "sends on at",
                                    own.model.string()));
        }
        retimer_ = std::make_unique<Retimer>(
            Retimer::Settings{own.model.string(), own.signal.SampleInterval(),
                              own.signal.samplesPerBit,
                              EvenSlicers(own.signal.Levels(), own.signal.amplitude / 2)},
            [this] { Next(); });
    }
    if (own.repeater == Repeater::kRedriver) wave_ = std::make_unique<OutputWave>(*this);
    result_.notes.insert(result_.notes.end(), signal_.Notes().begin(), signal_.Notes().end());
    clock_ = ForwardedClock::For(own, receiver_, place.number == 0, result_.notes);
    result_.forwardedClock = clock_ != nullptr;
    result_.channelGrade = signal_.Grade();
    result_.channel = signal_.Channel();
    result_.bitTime = own.signal.BitTime();
    result_.levels = own.signal.Levels();
}

SignalChain Segment::MakeSignal() const
{
    const SignalOptions signal = SignalOf(own_, place_.number);
    if (place_.before && place_.before->wave_)
        return {signal, place_.before->signal_, *place_.before->wave_};
    const std::int64_t longest = training_ ? training_->Room() : run_.blockBits;
    return {signal, HeldBits(longest, transmitter_ != nullptr, place_.of - place_.number - 1),
            SymbolsBefore()};
}

/// What the receiver's AMI_Init has made of the responses.
const std::vector<std::vector<double>>& Segment::Returned() const
{
    return receiver_.returnsImpulse ? result_.impulses : link_.Responses();
}

/// What the responses have become before a redriver.
void Segment::TakeBefore()
{
    if (!place_.before || !place_.before->wave_) return;
    const Segment& before = *place_.before;
    const auto& handed = before.link_.Responses();
    const auto& returned = before.Returned();
    LeadingTaps filter;
    if (returned != handed && before.signal_.NoiseThrough({}) > 0)
        filter = Deconvolve(handed[0], returned[0]).filter;
    const bool known = before.receiver_.returnsImpulse &&
                       (!before.transmitter_ || before.transmitter_->returnsImpulse);
    signal_.TakeBefore(returned, filter, known);
    link_.TakeSignal();
}

/// What the retimer at the end of the segment before sends.
SignalChain::Symbols Segment::SymbolsBefore() const
{
    if (!place_.before) return {};
    return [&retimer = *place_.before->retimer_] { return retimer.Symbols(); };
}

const SymbolHistory* Segment::Origin() const
{
    return place_.before ? place_.before->Origin() : signal_.Sent();
}

std::optional<std::int64_t> Segment::IgnoredBits() const
{
    if (!receiver_.ignoreBits) return std::nullopt;
    // A receiver settles only after the transmitter before it.
    return *receiver_.ignoreBits + (transmitter_ ? transmitter_->ignoreBits.value_or(0) : 0);
}

void Segment::StartAnalyses(std::int64_t ignoredBits)
{
    ignoredBits_ = result_.ignoredBits = ignoredBits;
    Analyses::Settings settings;
    settings.samplesPerBit = own_.signal.samplesPerBit;
    settings.sampleInterval = own_.signal.SampleInterval();
    settings.ignoreBits = training_ ? kAllBits : ignoredBits;
    settings.sentUnitInterval = signal_.SentUnitInterval();
    settings.mapping = own_.signal.Mapping();
    settings.sent = signal_.Sent();
    if (place_.before) settings.origin = Origin();
    settings.errorsOnly = run_.errorsOnly;
    settings.bers = run_.ErrorRatios();
    if (Last() && !run_.mask.empty()) settings.mask = FindMask(run_.mask);
    settings.maskAtInput = run_.maskAtInput;
    settings.folder = surroundings_.folder;
    analyses_.emplace(settings);
    if (retimer_) retimer_->ExpectClockBy(ignoredBits + Analyses::kHeldBits);
}

ModelStart Segment::StartOf(const ModelSource& model) const
{
    ModelStart start;
    start.modulePath = model.library;
    start.parameters = model.parameters;
    start.files = model.supportingFiles;
    start.sampleInterval = own_.signal.SampleInterval();
    start.bitTime = own_.signal.BitTime();
    start.impulses = link_.Responses();
    start.use = model.getWave ? AmiModule::Use::kTimeDomain : AmiModule::Use::kImpulse;
    start.blockSamples = static_cast<std::size_t>(run_.blockBits * own_.signal.samplesPerBit);
    if (training_)
        start.room = static_cast<std::size_t>(training_->Room() * own_.signal.samplesPerBit);
    // A convolution with a response of the usual length goes by so many.
    constexpr std::size_t kConvolved = 3 << 16;
    start.TakeSlotsFor(kConvolved);
    return start;
}

ModelProcess::Settings Segment::ProcessSettings(const std::filesystem::path& log) const
{
    ModelProcess::Settings settings;
    settings.workerProgram = surroundings_.worker;
    settings.folder = surroundings_.folder;
    settings.logFile = log;
    settings.callLimit = run_.callLimit;
    settings.box = run_.Box();
    settings.interrupted = surroundings_.stopped;
    settings.deadline = surroundings_.deadline;
    return settings;
}

void Segment::StartTransmitter()
{
    result_.transmitter = {transmitter_->name, transmitter_->parameters, "", "", 0};
    const auto init = link_.StartTransmitter(
        StartOf(*transmitter_), ProcessSettings(surroundings_.transmitterLog), result_.notes);
    result_.transmitter->message = init.message;
    result_.transmitter->parametersOut = init.parametersOut;
}

void Segment::Start()
{
    OfSegment(place_.number, place_.of, [&] { StartModels(); });
}

void Segment::StartModels()
{
    TakeBefore();
    if (training_) training_->RemoveMessages(surroundings_.folder);
    if (transmitter_) StartTransmitter();
    if (transmitter_ && clock_) clock_->GoWithModel(link_.DeclaredJitter());
    start_ = StartOf(receiver_);
    if (clock_) start_.clockRoom = clock_->Room(start_.LongestBlock());
    start_.impulses = link_.Handed(result_.notes);
    process_ = std::make_unique<ModelProcess>(start_, ProcessSettings(surroundings_.log));
    result_.box = process_->Box();
    auto init = process_->Init();
    result_.modelMessage = init.message;
    result_.parametersOut = init.parametersOut;
    TakeParameters(init.parametersOut, "AMI_Init");
    UseSampler();
    UseSlicers();
    init.impulses = link_.Completed(std::move(init.impulses));
    result_.impulsesChanged = init.impulses != link_.Responses();
    link_.Connect(init.impulses, result_.notes);
    result_.residual = link_.Residual();
    result_.impulses = std::move(init.impulses);
    if (training_) BeginTraining();
}

void Segment::BeginTraining()
{
    training_->Begin(link_.Parameters().Tracks(), parameters_.Tracks(), result_.notes);
    // AMI_Init may have ended it.
    Train(result_.transmitter->parametersOut, result_.parametersOut, 0);
}

/// After so many more bits of the training, by what the models gave back: the transmitter makes no
/// more than the receiver is handed, so that each has read what the other has to say. What counts
/// begins behind the training.
void Segment::Train(const std::string& transmitter, const std::string& receiver, std::int64_t bits)
{
    training_->Take(transmitter, receiver, bits);
    const TrainingFindings& found = training_->Findings();
    link_.GoInSteps(training_->IsUnderWay()
                        ? static_cast<std::size_t>(found.interval * own_.signal.samplesPerBit)
                        : 0);
    result_.training = found;
    result_.ignoredBits = found.bits + ignoredBits_;
    if (training_->IsUnderWay()) return;
    analyses_->IgnoreUpTo(result_.ignoredBits);
    if (const std::string remark = training_->Remark(); !remark.empty())
        result_.notes.push_back(remark);
}

std::optional<ModelProcess::Block> Segment::Next()
{
    return OfSegment(place_.number, place_.of, [&] {
        auto block = receiver_.getWave ? FromModel() : FromResponse();
        if (block) Take(*block);
        return block;
    });
}

std::optional<ModelProcess::Block> Segment::FromModel()
{
    while (process_->SlotFree() && !Ended() && !(IsTraining() && process_->Busy())) {
        const std::size_t samples = NextSamples();
        ReadInput(process_->NextInput().first(samples));
        process_->Submit(samples, clock_ ? clock_->Next(samples) : std::span<const double>());
    }
    if (!process_->Busy()) return std::nullopt;
    const ModelProcess::Block block = process_->Wait();
    result_.modelSeconds = process_->ModelSeconds();
    return block;
}

/// The output of a receiver that only changes the impulse response.
std::optional<ModelProcess::Block> Segment::FromResponse()
{
    if (Ended()) return std::nullopt;
    if (surroundings_.deadline && Clock::now() > *surroundings_.deadline) {
        throw ModelFailure(ExitCode::kTimeLimit, "the run",
                           "was stopped by the time limit of the run", "");
    }
    input_.resize(NextSamples());
    output_.resize(input_.size());
    ReadInput(input_);
    if (link_.Output()) {
        link_.Output()->Read(output_);
    } else {
        output_ = input_;
    }
    return ModelProcess::Block{input_, output_, {}, ""};
}

/// Behind the end of a waveform file there is nothing.
void Segment::ReadInput(std::span<double> samples)
{
    std::ranges::fill(samples.subspan(link_.Input().Read(samples)), 0.0);
}

/// How many the next block of the input has.
std::size_t Segment::NextSamples()
{
    if (IsTraining()) {
        const std::int64_t interval = training_->Findings().interval;
        made_ += interval;
        return static_cast<std::size_t>(interval * own_.signal.samplesPerBit);
    }
    const std::int64_t bits = Last() ? std::min(run_.blockBits, Bits() - made_) : run_.blockBits;
    made_ += run_.blockBits;
    return static_cast<std::size_t>(bits * own_.signal.samplesPerBit);
}

void Segment::UseSampler()
{
    SamplerSettings sampler =
        SamplerOf(receiver_.declared, parameters_.Tracks(), own_.signal.BitTime(), result_.notes);
    sampler.gaussianNoise = std::hypot(sampler.gaussianNoise, own_.samplerNoise);
    sampler.seed = SignalOf(own_, place_.number).seed;
    analyses_->Use(sampler);
    if (!signal_.Roads().empty()) {
        std::vector<double> frequencies;
        for (const auto& sine : signal_.Roads().front().transmitter.jitter.Sines())
            frequencies.push_back(sine.frequency);
        analyses_->Expect(std::move(frequencies));
    }
    if (retimer_) retimer_->Use(sampler);
    result_.sampler = sampler;
}

void Segment::Take(const ModelProcess::Block& block)
{
    if (!block.clocks.terminated && unterminated_++ == 0) {
        result_.notes.push_back(
            fmt::format("the clock list of AMI_GetWave {} has no -1 at its end", blocks_ + 1));
    }
    if (block.clocks.overrun && overruns_++ == 0) {
        result_.notes.push_back(
            fmt::format("AMI_GetWave {} wrote past the end of the clock list", blocks_ + 1));
    }
    ++blocks_;
    const std::int64_t spb = own_.signal.samplesPerBit, before = result_.bits;
    if (IsTraining())
        Train(link_.LastParameters(), block.parametersOut, std::ssize(block.output) / spb);
    result_.bits = std::min(Bits(), before + std::ssize(block.output) / spb);
    TakeParameters(block.parametersOut, fmt::format("AMI_GetWave {}", blocks_));
    UseSlicers();
    if (retimer_) retimer_->Add(block.output, block.clocks.times);
    if (wave_) wave_->Add(block.output);
    LookAt(block, result_.bits - before);
}

/// What a block has given back holds from its beginning on.
void Segment::UseSlicers()
{
    if (own_.signal.Levels() == 2) return;
    const auto slicers = slicers_.At(parameters_.Tracks());
    if (!slicers) return;
    analyses_->Use(*slicers);
    if (retimer_) retimer_->Use(*slicers);
}

/// As far as the bits of the run go.
void Segment::LookAt(const ModelProcess::Block& block, std::int64_t bits)
{
    if (bits <= 0) return;
    const auto samples = static_cast<std::size_t>(bits * own_.signal.samplesPerBit);
    std::vector<double> within;
    const std::vector<double>* times = &block.clocks.times;
    if (samples < block.output.size()) {
        const double end = static_cast<double>(result_.bits) * own_.signal.BitTime();
        std::ranges::copy_if(*times, std::back_inserter(within), [=](double t) { return t < end; });
        times = &within;
    }
    const auto input = block.input.first(samples), output = block.output.first(samples);
    analyses_->Add(input, output, *times);
    computed_.Add(input, output);
    if (surroundings_.returned) surroundings_.returned({input, output, {*times}, ""});
}

void Segment::TakeParameters(const std::string& text, const std::string& call)
{
    parameters_.Take(text, result_.bits, call);
}

void Segment::Close()
{
    OfSegment(place_.number, place_.of, [&] {
        while (process_->Busy()) process_->Wait();
        process_->Close();
        link_.Close();
    });
}

void Segment::Evaluate()
{
    if (!training_) {
        computed_.Begin({start_, ProcessSettings(surroundings_.log), parameters_.Tracks()},
                        result_.failure.has_value());
    }
    Analyses::Findings found = analyses_->Find();
    analyses_.reset();  // and what it holds on the disk
    result_.eye = std::move(found.eye);
    result_.inputEye = std::move(found.inputEye);
    result_.comparison = found.comparison;
    result_.endToEnd = found.endToEnd;
    result_.mask = std::move(found.mask);
    result_.clock = std::move(found.clock);
    if (result_.bits > 0 && !run_.errorsOnly) result_.lock = found.verdict.lock;
    result_.notes.insert(result_.notes.end(), found.notes.begin(), found.notes.end());
    if (const std::string remark = slicers_.Remark(parameters_.Tracks());
        own_.signal.Levels() > 2 && !remark.empty())
        result_.notes.push_back(remark);
    if (retimer_ && own_.signal.Levels() > 2 && !slicers_.At(parameters_.Tracks())) {
        result_.notes.emplace_back(
            "the model tells no thresholds that apply: what it sends on is decided by the ones "
            "evenly within the transmitter's amplitude");
    }
    if (!training_) {
        computed_.Find(result_);
    } else if (run_.statistical) {
        result_.notes.emplace_back(
            "no eyes are computed: what AMI_Init returned is from before the link training");
    }
    TakeTracks(parameters_, "");
    TakeTracks(link_.Parameters(), "tx.");
    if (result_.transmitter) result_.transmitter->seconds = link_.ModelSeconds();
    TakeOwnLogs(surroundings_.folder, receiver_, result_);
    result_.settling = SettlingOf(result_.clock, result_.eye, parameters_.Tracks(),
                                  result_.adaptation, result_.bits);
    const std::string remark =
        RemarkOf(found.verdict.lock, result_.settling, result_.ignoredBits, result_.bits);
    if (!remark.empty()) result_.notes.push_back(remark);
}

void Segment::TakeTracks(const ParameterLog& log, const char* prefix)
{
    for (ParameterTrack track : log.Tracks()) {
        track.name.insert(0, prefix);
        result_.parameters.push_back(std::move(track));
    }
    result_.notes.insert(result_.notes.end(), log.Notes().begin(), log.Notes().end());
}

}  // namespace amisim
