#include "host/run/Segment.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/run/Declared.hpp"
#include "host/run/OwnLogs.hpp"

namespace amisim {
namespace {

/// Of those sent, until they have been compared.
std::int64_t HeldBits(const SimulationOptions& options, bool transmitter)
{
    constexpr std::int64_t kAhead = 1 << 17;  // of the bits that a transmitter's model has had
    return 10 * options.blockBits + Analyses::kHeldBits + SymbolComparer::kLongestDelay +
           4 * static_cast<std::int64_t>(SymbolComparer::kWindow) +
           (transmitter ? kAhead + 10 * options.blockBits : 0);
}

}  // namespace

Segment::Segment(const SegmentOptions& own, const SimulationOptions& run,
                 const ModelSource& receiver, const ModelSource* transmitter,
                 Surroundings surroundings)
    : own_(own),
      run_(run),
      receiver_(receiver),
      transmitter_(transmitter),
      surroundings_(std::move(surroundings)),
      signal_(own.signal, HeldBits(run, transmitter)),
      link_(signal_, transmitter, receiver),
      computed_(own, run, receiver, transmitter, signal_, link_)
{
    result_.notes = receiver_.notes;
    if (transmitter) {
        for (const std::string& note : transmitter->notes)
            result_.notes.push_back("transmitter: " + note);
    }
    if (receiver.leastSamplesPerBit && own.signal.samplesPerBit < *receiver.leastSamplesPerBit) {
        result_.notes.push_back(fmt::format(
            "the model asks for {} samples per bit or more: with {} its own measurements, and "
            "what it adapts by them, go astray",
            *receiver.leastSamplesPerBit, own.signal.samplesPerBit));
    }
    result_.notes.insert(result_.notes.end(), signal_.Notes().begin(), signal_.Notes().end());
    result_.channelGrade = signal_.Grade();
    result_.channel = signal_.Channel();
    result_.bitTime = own.signal.BitTime();
}

std::optional<std::int64_t> Segment::IgnoredBits() const
{
    if (!receiver_.ignoreBits) return std::nullopt;
    // A receiver settles only after the transmitter before it.
    return *receiver_.ignoreBits + (transmitter_ ? transmitter_->ignoreBits.value_or(0) : 0);
}

void Segment::StartAnalyses(std::int64_t ignoredBits)
{
    result_.ignoredBits = ignoredBits;
    Analyses::Settings settings;
    settings.samplesPerBit = own_.signal.samplesPerBit;
    settings.sampleInterval = own_.signal.SampleInterval();
    settings.ignoreBits = ignoredBits;
    settings.sentUnitInterval = signal_.SentUnitInterval();
    settings.modulation = Modulation::Of(own_.signal.Levels(), own_.signal.amplitude / 2);
    settings.sent = signal_.Sent();
    settings.errorsOnly = run_.errorsOnly;
    settings.bers = run_.ErrorRatios();
    settings.folder = surroundings_.folder;
    analyses_.emplace(settings);
}

ModelStart Segment::StartOf(const ModelSource& model) const
{
    ModelStart start;
    start.modulePath = model.library;
    start.parameters = model.parameters;
    start.sampleInterval = own_.signal.SampleInterval();
    start.bitTime = own_.signal.BitTime();
    start.impulses = link_.Responses();
    start.timeDomain = model.getWave;
    start.blockSamples = static_cast<std::size_t>(run_.blockBits * own_.signal.samplesPerBit);
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
    if (transmitter_) StartTransmitter();
    process_ =
        std::make_unique<ModelProcess>(StartOf(receiver_), ProcessSettings(surroundings_.log));
    result_.box = process_->Box();
    auto init = process_->Init();
    result_.modelMessage = init.message;
    result_.parametersOut = init.parametersOut;
    TakeParameters(init.parametersOut, "AMI_Init");
    UseSampler();
    result_.impulsesChanged = init.impulses != link_.Responses();
    link_.Connect(init.impulses, result_.notes);
    result_.residual = link_.Residual();
    result_.impulses = std::move(init.impulses);
}

std::optional<ModelProcess::Block> Segment::Next()
{
    auto block = receiver_.getWave ? FromModel() : FromResponse();
    if (block) Take(*block);
    return block;
}

std::optional<ModelProcess::Block> Segment::FromModel()
{
    while (process_->SlotFree() && !Ended()) {
        const std::size_t samples = NextSamples();
        link_.Input().Read(process_->NextInput().first(samples));
        process_->Submit(samples);
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
    link_.Input().Read(input_);
    if (link_.Output()) {
        link_.Output()->Read(output_);
    } else {
        output_ = input_;
    }
    return ModelProcess::Block{input_, output_, {}, ""};
}

/// How many the next block of the input has.
std::size_t Segment::NextSamples()
{
    const std::int64_t bits = std::min(run_.blockBits, Bits() - made_);
    made_ += run_.blockBits;
    return static_cast<std::size_t>(bits * own_.signal.samplesPerBit);
}

void Segment::UseSampler()
{
    SamplerSettings sampler =
        SamplerOf(receiver_.declared, parameters_.Tracks(), own_.signal.BitTime(), result_.notes);
    sampler.gaussianNoise = std::hypot(sampler.gaussianNoise, run_.samplerNoise);
    sampler.seed = own_.signal.seed;
    analyses_->Use(sampler);
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
    analyses_->Add(block.input, block.output, block.clocks.times);
    computed_.Add(block.input, block.output);
    result_.bits += std::ssize(block.output) / own_.signal.samplesPerBit;
    TakeParameters(block.parametersOut, fmt::format("AMI_GetWave {}", blocks_));
}

void Segment::TakeParameters(const std::string& text, const std::string& call)
{
    parameters_.Take(text, result_.bits, call);
}

void Segment::Close()
{
    process_->Close();
    link_.Close();
}

void Segment::Evaluate()
{
    Analyses::Findings found = analyses_->Find(computed_.Sines());
    analyses_.reset();  // and what it holds on the disk
    result_.eye = std::move(found.eye);
    result_.inputEye = std::move(found.inputEye);
    result_.comparison = found.comparison;
    result_.clock = std::move(found.clock);
    if (result_.bits > 0 && !run_.errorsOnly) result_.lock = found.verdict.lock;
    result_.notes.insert(result_.notes.end(), found.notes.begin(), found.notes.end());
    computed_.Find({StartOf(receiver_), ProcessSettings(surroundings_.log), parameters_.Tracks()},
                   result_);
    TakeTracks(parameters_, "");
    TakeTracks(link_.Parameters(), "tx.");
    if (result_.transmitter) result_.transmitter->seconds = link_.ModelSeconds();
    TakeOwnLogs(surroundings_.folder, receiver_, result_);
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
