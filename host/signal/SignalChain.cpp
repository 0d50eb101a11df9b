#include "host/signal/SignalChain.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "base/Error.hpp"
#include "base/TextFile.hpp"
#include "host/channel/LossyLine.hpp"
#include "host/channel/ResponseFile.hpp"
#include "host/signal/ChannelOptions.hpp"
#include "host/signal/Convolver.hpp"
#include "host/signal/LowPass.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/SignalMix.hpp"
#include "host/signal/SymbolPattern.hpp"
#include "host/signal/WaveFile.hpp"

namespace amisim {
namespace {

// Streams of random numbers, so that one random thing does not depend on whether another is used.
constexpr std::uint64_t kNoiseStream = 1;
constexpr std::uint64_t kJitterStream = 2;
constexpr std::uint64_t kAggressorStream = 16;  // and onwards

std::unique_ptr<SymbolSource> RandomSymbols(const SignalOptions& options, std::uint64_t seed)
{
    auto bits = std::make_unique<Prbs>(options.prbs, seed);
    if (options.Levels() == 2) return bits;
    return std::make_unique<MappedSymbols>(std::move(bits), options.Mapping());
}

SignalChain::Symbols PatternOf(const SignalOptions& options)
{
    const int levels = options.Levels();
    if (options.pattern.empty() && options.clockPattern == 0)
        return [options] { return RandomSymbols(options, options.seed); };
    const auto pattern = options.pattern.empty() ? ClockPattern(options.clockPattern, levels)
                                                 : ReadSymbolPattern(options.pattern, levels);
    return [pattern] { return std::make_unique<SymbolPattern>(pattern); };
}

/// A channel of S parameters that can be trusted with this signal, or is accepted as it is.
ChannelResponse Trusted(ChannelResponse channel, const std::string& name,
                        const SignalOptions& options)
{
    if (const auto faults = channel.grade->Faults(); !faults.empty()) {
        const std::string text = Joined(faults, "; ");
        if (!options.acceptChannel) {
            throw Error(ExitCode::kInput, fmt::format("{}: cannot be trusted at {:.4g} Gbit/s: {}; "
                                                      "--accept-channel takes it all the same",
                                                      name, options.bitRate * 1e-9, text));
        }
        channel.notes.push_back("accepted though " + text);
    }
    return channel;
}

/// A convolution that is as long as both together; of no taps the signal as it is.
std::vector<double> Whole(std::vector<double> signal, const std::vector<double>& taps)
{
    if (taps.empty()) return signal;
    signal.resize(signal.size() + taps.size() - 1);
    return Convolved(signal, {taps, 0});
}

std::vector<double> LineTaps(const SignalOptions& options)
{
    return LossyLine{options.lossDb, options.skinPart, options.bitRate / 2}.Impulse(
        options.SampleInterval());
}

/// What the signal goes through, by name, where that is told by S parameters.
std::vector<std::filesystem::path> Elements(const SignalOptions& options)
{
    const bool buffers = !options.sourceNetwork.empty() || !options.loadNetwork.empty();
    std::vector<std::filesystem::path> elements = {options.sourceNetwork};
    elements.insert(elements.end(), options.touchstone.begin(), options.touchstone.end());
    if (options.touchstone.empty() && buffers) elements.emplace_back("line");
    elements.push_back(options.loadNetwork);
    std::erase(elements, "");
    return elements;
}

std::optional<ChannelNetwork> NetworkOf(const SignalOptions& options)
{
    if (Elements(options).empty()) return std::nullopt;
    ChannelReading reading = ReadingOf(options);
    if (options.touchstone.empty()) reading.line = {LineTaps(options), options.SampleInterval()};
    return ReadNetwork(options.touchstone, reading);
}

ChannelResponse MakeChannel(const SignalOptions& options,
                            const std::optional<ChannelNetwork>& network)
{
    const double interval = options.SampleInterval();
    if (network) {
        const std::string name = NameOf(Elements(options));
        return Trusted(MakeChannel(*network, name, ReadingOf(options), interval), name, options);
    }
    if (!options.impulse.empty())
        return ReadResponse(options.impulse, ResponseKind::kImpulse, interval);
    if (!options.step.empty()) return ReadResponse(options.step, ResponseKind::kStep, interval);
    ChannelResponse line;
    line.sampleInterval = interval;
    line.taps = LineTaps(options);
    return line;
}

/// What comes from an aggressor whose file tells of one element of the channel.
ChannelResponse ElementCoupling(const SignalOptions& options,
                                const std::optional<ChannelNetwork>& network,
                                const std::filesystem::path& told, bool isNear)
{
    const PlacedCoupling placed = ReadPlaced(options, network, told, isNear);
    ChannelResponse channel = MakeChannelResponse(
        CouplingsOf(placed.network, options.ends).front().response, options.SampleInterval());
    channel.notes.insert(channel.notes.begin(), placed.file.notes.begin(), placed.file.notes.end());
    const SParameters& s = placed.file.s;
    channel.grade = Grade(s, GreatestGains(s), channel.removedFraction, options.bitRate);
    channel.notes.push_back(channel.grade->ToText());
    return channel;
}

/// A channel's notes in one line.
std::string Note(const std::vector<std::filesystem::path>& files, const ChannelResponse& channel)
{
    return fmt::format("{}: {}", ShortNameOf(files), Joined(channel.notes, "; "));
}

Transmitter::Settings TransmitterSettings(const SignalOptions& options, double peakToPeak,
                                          double ppm)
{
    Transmitter::Settings settings;
    settings.amplitude = peakToPeak / 2;
    settings.modulation = Modulation::Of(options.Levels());
    settings.unitInterval = options.samplesPerBit / (1 + ppm * 1e-6);
    settings.rampTime = options.riseTime * options.samplesPerBit / Transmitter::kRise2080;
    return settings;
}

}  // namespace

std::vector<double> Road::EdgeResponse() const
{
    const std::vector<double> edge = Transmitter::EdgeResponse(transmitter);
    std::vector<double> response(edge.size() + taps.size() - 1);
    for (std::size_t i = 0; i < edge.size(); ++i) {
        if (edge[i] == 0) continue;
        for (std::size_t k = 0; k < taps.size(); ++k) response[i + k] += edge[i] * taps[k];
    }
    return response;
}

SignalChain::SignalChain(const SignalOptions& options, std::int64_t heldBits,
                         const Symbols& symbols)
    : options_(options), sentUnitInterval_(options.samplesPerBit)
{
    options.Check();
    if (options.wave.empty()) {
        UseTransmitter(options, heldBits, symbols ? symbols : PatternOf(options));
    } else {
        UseWaveFile(options);
    }
    PadImpulses(options.samplesPerBit);
}

SignalChain::SignalChain(const SignalOptions& options, const SignalChain& before,
                         SignalSource& wave)
    : options_(options),
      before_(&before),
      wave_(&wave),
      brought_(before.impulses_.size()),
      bits_(before.bits_),
      sentUnitInterval_(before.sentUnitInterval_),
      roads_(before.roads_)
{
    options.Check();
    const std::optional<ChannelNetwork> network = NetworkOf(options);
    const ChannelResponse channel = TakeChannel(options, network);
    channelTaps_ = channel.taps;
    senders_.assign(brought_, {{}, Random(options.seed, 0)});  // none is asked for
    taps_.resize(brought_);
    output_ = Add<Silence>();
    AddAggressors(options, channel, network);
    PadImpulses(options.samplesPerBit);
    TakeBefore(before.impulses_, {}, true);
}

void SignalChain::TakeBefore(const std::vector<std::vector<double>>& returned,
                             const LeadingTaps& filter, bool known)
{
    known_ = known && before_->known_;
    std::ranges::copy(before_->roads_, roads_.begin());  // with what its transmitter declares
    beforeFilter_ = filter;
    beforeFilter_.taps = filter.taps.empty() ? channelTaps_ : Whole(filter.taps, channelTaps_);
    std::size_t longest = impulses_[0].size();
    for (std::size_t k = 0; k < brought_; ++k) {
        const bool changes = channelTaps_.size() > 1 || channelTaps_[0] != 1;
        impulses_[k] = changes ? Whole(returned[k], channelTaps_) : returned[k];
        longest = std::max(longest, impulses_[k].size());
    }
    for (auto& impulse : impulses_) impulse.resize(longest);
}

template <typename Stage, typename... Arguments>
SignalSource* SignalChain::Add(Arguments&&... arguments)
{
    stages_.push_back(std::make_unique<Stage>(std::forward<Arguments>(arguments)...));
    return output_ = stages_.back().get();
}

void SignalChain::UseWaveFile(const SignalOptions& options)
{
    const std::string name = options.wave.string();
    if (const auto& found = options.estimate) {
        notes_.push_back(fmt::format(
            "{}: {:.9g} Gbit/s ± {:.2g} ppm found from {} crossings, which lie {:.2g} "
            "UI rms from even intervals",
            name, found->bitRate * 1e-9, found->uncertainty, found->crossings, found->jitter));
    }
    auto file = std::make_unique<WaveFile>(WavePoints::Open(options.wave, options.reading),
                                           options.SampleInterval());
    notes_.insert(notes_.end(), file->Notes().begin(), file->Notes().end());
    const std::int64_t there = file->Samples() / options.samplesPerBit;
    if (there < 1) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: holds {} samples, less than one bit of {}; are its times in "
                                "seconds?",
                                name, file->Samples(), options.samplesPerBit));
    }
    bits_ = std::min(there, options.bits.value_or(there));
    if (options.bits.value_or(0) > there)
        notes_.push_back(fmt::format("{}: holds {} bits, fewer than asked for", name, there));
    output_ = file.get();
    stages_.push_back(std::move(file));
    taps_ = {{1.0}};
}

void SignalChain::KeepRoad(const Transmitter::Settings& transmitter, const ChannelResponse& channel,
                           const std::string& name)
{
    roads_.push_back({transmitter, channel.taps, name});
    taps_.push_back(roads_.back().EdgeResponse());
}

void SignalChain::PadImpulses(int samplesPerBit)
{
    std::size_t longest = kImpulseBits * static_cast<std::size_t>(samplesPerBit);
    for (const auto& taps : taps_) longest = std::max(longest, taps.size());
    for (const auto& taps : taps_) {
        auto& impulse = impulses_.emplace_back(longest);
        std::ranges::transform(taps, impulse.begin(),
                               [&](double tap) { return tap / options_.SampleInterval(); });
    }
}

/// Of a response that a model has not changed its own, to the last bit.
std::vector<double> SignalChain::TapsOf(std::size_t column,
                                        const std::vector<double>& response) const
{
    if (column >= brought_ || !before_) {
        if (response == impulses_[column]) return taps_[column];
    }
    std::vector<double> taps;
    for (const double value : response) taps.push_back(value * options_.SampleInterval());
    while (taps.size() > 1 && taps.back() == 0) taps.pop_back();
    return taps;
}

SignalSource* SignalChain::AddNoise(SignalSource* signal, const LeadingTaps& filter)
{
    if (!HasNoise()) return signal;
    const Random random(options_.seed, kNoiseStream);
    if (!options_.noiseBandwidth && filter.taps.empty())
        return Add<NoiseSource>(*signal, options_.noise, random);
    SignalSource* noise = Add<NoiseSource>(*Add<Silence>(), options_.noise, random);
    if (options_.noiseBandwidth) {
        noise =
            Add<Convolver>(*noise, LowPass(*options_.noiseBandwidth * options_.SampleInterval()));
    }
    if (!filter.taps.empty()) {
        noise = Add<Convolver>(*noise, filter.taps);
        std::vector<double> before(filter.lead);
        noise->Read(before);
    }
    return Add<SignalMix>(std::vector<SignalSource*>{signal, noise});
}

double SignalChain::NoiseThrough(const LeadingTaps& filter) const
{
    double brought = 0;
    if (before_) {
        LeadingTaps through = beforeFilter_;
        through.taps = Whole(std::move(through.taps), filter.taps);
        brought = before_->NoiseThrough(through);
    }
    if (!HasNoise()) return brought;
    std::vector<double> shape{1.0};
    if (options_.noiseBandwidth)
        shape = LowPass(*options_.noiseBandwidth * options_.SampleInterval());
    shape = Whole(std::move(shape), filter.taps);
    const double power = std::inner_product(shape.begin(), shape.end(), shape.begin(), 0.0);
    const double own = options_.noise * std::sqrt(power);
    return before_ ? std::hypot(own, brought) : own;
}

SignalSource& SignalChain::Stimulus(std::size_t column, bool counts)
{
    if (before_ && column == 0) return *wave_;
    SignalSource* const output = output_;
    SignalSource* stimulus = nullptr;
    if (senders_.empty()) {
        stimulus = Add<WaveFile>(WavePoints::Open(options_.wave, options_.reading),
                                 options_.SampleInterval());
    } else {
        const Sender& sender = senders_[column];
        Transmitter::Settings settings = roads_[column].transmitter;
        settings.amplitude = 0.5;
        settings.deemphasis = {};
        settings.square = true;
        stimulus =
            Add<Transmitter>(settings, sender.symbols(), counts ? &*sent_ : nullptr, sender.random);
    }
    output_ = output;
    return *stimulus;
}

void SignalChain::UseJitter(const EdgeJitter::Declared& declared)
{
    const double unit = options_.samplesPerBit;
    roads_[0].transmitter.jitter.declared = {
        declared.randomRms * unit, declared.uniform * unit, declared.sineAmplitude * unit,
        declared.sineFrequency * options_.SampleInterval(), declared.alternating * unit};
}

SignalSource& SignalChain::Through(SignalSource& through,
                                   const std::vector<std::vector<double>>& responses,
                                   const LeadingTaps& noiseFilter)
{
    SignalSource* const output = output_;
    std::vector<SignalSource*> parts;
    for (std::size_t k = 0; k < responses.size(); ++k) {
        if (k > 0 && k < brought_) continue;  // is in what goes through
        SignalSource& from = k == 0 ? through : Stimulus(k, false);
        parts.push_back(Add<Convolver>(from, TapsOf(k, responses[k])));
        if (k == 0) through_.push_back(static_cast<Convolver*>(parts.back()));
    }
    SignalSource* const clean = parts.size() > 1 ? Add<SignalMix>(parts) : parts[0];
    SignalSource* const made = AddNoise(clean, noiseFilter);
    output_ = output;
    return *made;
}

void SignalChain::ReadAhead(bool ahead)
{
    for (Convolver* const part : through_) part->ReadAhead(ahead);
}

void SignalChain::UseTransmitter(const SignalOptions& options, std::int64_t heldBits,
                                 const Symbols& symbols)
{
    bits_ = options.bits.value_or(SignalOptions::kDefaultBits);
    const double spb = options.samplesPerBit;
    Transmitter::Settings settings = TransmitterSettings(options, options.amplitude, options.ppm);
    sentUnitInterval_ = settings.unitInterval;
    settings.start = options.phase * spb;
    settings.deemphasis = options.deemphasis;
    settings.jitter = {options.randomJitter * spb, options.sineJitter * spb,
                       options.sineFrequency * options.SampleInterval(),
                       options.dutyCycleDistortion * spb};

    const std::optional<ChannelNetwork> network = NetworkOf(options);
    const ChannelResponse channel = TakeChannel(options, network);
    KeepRoad(settings, channel, "");

    // Symbols are made as far ahead as the channel's blocks reach.
    const auto ahead = static_cast<std::size_t>(
        static_cast<double>(Convolver::Block(channel.taps.size())) / spb + 2 * options.sineJitter);
    sent_.emplace(ahead + static_cast<std::size_t>(heldBits));
    senders_.push_back({symbols, Random(options.seed, kJitterStream)});
    SignalSource* const transmitter =
        Add<Transmitter>(settings, symbols(), &*sent_, senders_[0].random);
    Add<Convolver>(*transmitter, channel.taps);
    AddAggressors(options, channel, network);
    output_ = AddNoise(output_, {});
}

ChannelResponse SignalChain::TakeChannel(const SignalOptions& options,
                                         const std::optional<ChannelNetwork>& network)
{
    ChannelResponse channel = MakeChannel(options, network);
    if (network) notes_.push_back(Note(Elements(options), channel));
    for (const auto& path : {options.impulse, options.step}) {
        if (!path.empty()) notes_.push_back(Note({path}, channel));
    }
    grade_ = channel.grade;
    curves_ = CurvesOf(channel, options.samplesPerBit);
    return channel;
}

void SignalChain::AddAggressors(const SignalOptions& options, const ChannelResponse& channel,
                                const std::optional<ChannelNetwork>& network)
{
    if (options.fext.empty() && options.next.empty() && options.aggressors.empty()) return;
    if (before_ && roads_.empty()) {
        throw Error(ExitCode::kUsage,
                    "--fext, --next, --aggressor: behind a redriver they go with a pattern, not "
                    "with the waveform of --wave");
    }
    const ChannelReading reading = CrosstalkReading(options, channel.ports, channel.modes);
    std::vector<SignalSource*> inputs = {output_};
    const auto add = [&](const ChannelResponse& coupling, bool far, const std::string& name) {
        // A start of its own in time and pattern.
        Random random(options.seed, kAggressorStream + inputs.size());
        Transmitter::Settings settings =
            TransmitterSettings(options, options.aggressorAmplitude, options.aggressorPpm);
        settings.start = random.Uniform() * settings.unitInterval;
        if (far) settings.deemphasis = options.deemphasis;
        KeepRoad(settings, coupling, name);
        const auto symbols = [this, seed = random.Bits()] { return RandomSymbols(options_, seed); };
        senders_.push_back({symbols, random});
        SignalSource* const aggressor = Add<Transmitter>(settings, symbols(), nullptr, random);
        inputs.push_back(Add<Convolver>(*aggressor, coupling.taps));
    };
    const auto addFile = [&](const std::filesystem::path& told, bool far) {
        const ChannelResponse coupling =
            Trusted(IsPlaced(told) ? ElementCoupling(options, network, told, !far)
                                   : ReadChannel({told}, reading, options.SampleInterval()),
                    told.string(), options);
        notes_.push_back(Note({told}, coupling));
        add(coupling, far, told.filename().string());
    };
    for (const auto& path : options.fext) addFile(path, true);
    for (const auto& path : options.next) addFile(path, false);
    if (network) {
        for (const Coupling& lane : CouplingsOf(*network, options.ends)) {
            const ChannelResponse coupling =
                MakeChannelResponse(lane.response, options.SampleInterval());
            notes_.push_back(
                fmt::format("aggressor {}: {}", lane.name, Joined(coupling.notes, "; ")));
            add(coupling, !lane.isNear, lane.name);
        }
    }
    Add<SignalMix>(inputs);
}

}  // namespace amisim
