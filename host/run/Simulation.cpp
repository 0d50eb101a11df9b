#include "host/run/Simulation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>

#include "host/known/AdaptLog.hpp"
#include "host/known/EomLog.hpp"
#include "host/run/Declared.hpp"
#include "host/run/StatisticalLinks.hpp"

namespace amisim {
namespace {

constexpr std::size_t kMostLoggedEyes = 400;

/// Of those sent, until they have been compared.
std::int64_t HeldBits(const SimulationOptions& options, bool transmitter)
{
    constexpr std::int64_t kAhead = 1 << 17;  // of the bits that a transmitter's model has had
    return 10 * options.blockBits + Analyses::kHeldBits + SymbolComparer::kLongestDelay +
           4 * static_cast<std::int64_t>(SymbolComparer::kWindow) +
           (transmitter ? kAhead + 10 * options.blockBits : 0);
}

}  // namespace

Simulation::Simulation(const SimulationOptions& options, const ModelSource& model,
                       const ModelSource* transmitter, Surroundings surroundings)
    : options_(options),
      model_(model),
      transmitter_(transmitter),
      surroundings_(std::move(surroundings)),
      signal_(options.signal, HeldBits(options, transmitter)),
      link_(signal_, transmitter, model)
{
    result_.notes = model_.notes;
    if (transmitter) {
        for (const std::string& note : transmitter->notes)
            result_.notes.push_back("transmitter: " + note);
    }
    if (model.leastSamplesPerBit && options.signal.samplesPerBit < *model.leastSamplesPerBit) {
        result_.notes.push_back(fmt::format(
            "the model asks for {} samples per bit or more: with {} its own measurements, and "
            "what it adapts by them, go astray",
            *model.leastSamplesPerBit, options.signal.samplesPerBit));
    }
    result_.notes.insert(result_.notes.end(), signal_.Notes().begin(), signal_.Notes().end());
    result_.channelGrade = signal_.Grade();
    result_.bitTime = options.signal.BitTime();
    result_.ignoredBits = IgnoredBits();
}

RunResult Simulation::Run(BlockListener& listener)
{
    StartAnalyses();
    try {
        Drive(listener);
    } catch (const ModelFailure& failure) {
        result_.failure = {failure.Code(), failure.phase, failure.reason, failure.printed};
        if (failure.Code() == ExitCode::kModelRefused && result_.box.kind == BoxKind::kFull &&
            failure.phase == "AMI_Init") {
            result_.notes.push_back(
                "a model that needs a licence server, a display or files elsewhere runs with "
                "--box plain");
        }
    }
    if (!result_.failure && surroundings_.stopped())
        result_.failure = {ExitCode::kInterrupted, "the run", "was interrupted", ""};
    result_.seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
    Evaluate();
    return std::move(result_);
}

/// As asked for; else the model's own count, but no more than half of the run; else half of the
/// run.
std::int64_t Simulation::IgnoredBits()
{
    if (options_.ignoreBits) return std::min(*options_.ignoreBits, signal_.Bits());
    const std::int64_t half = signal_.Bits() / 2;
    if (!model_.ignoreBits) return half;
    // A receiver settles only after the transmitter before it.
    const std::int64_t asked =
        *model_.ignoreBits + (transmitter_ ? transmitter_->ignoreBits.value_or(0) : 0);
    if (asked > half) {
        result_.notes.push_back(
            fmt::format("the model asks for {} bits to be ignored; of {} only the first half "
                        "is: give more --bits",
                        asked, signal_.Bits()));
    }
    return std::min(asked, half);
}

/// That openings are asked for: each once, the greatest first.
std::vector<double> Simulation::ErrorRatios() const
{
    std::vector<double> ratios = options_.bers;
    std::ranges::sort(ratios, std::greater{});
    ratios.erase(std::unique(ratios.begin(), ratios.end()), ratios.end());
    return ratios;
}

std::optional<Simulation::Clock::time_point> Simulation::Deadline() const
{
    if (!options_.timeLimit) return std::nullopt;
    return begin_ + std::chrono::duration_cast<Clock::duration>(
                        std::chrono::duration<double>(*options_.timeLimit));
}

void Simulation::StartAnalyses()
{
    Analyses::Settings settings;
    settings.samplesPerBit = options_.signal.samplesPerBit;
    settings.sampleInterval = options_.signal.SampleInterval();
    settings.ignoreBits = result_.ignoredBits;
    settings.sentUnitInterval = signal_.SentUnitInterval();
    settings.sent = signal_.Sent();
    settings.bers = ErrorRatios();
    settings.folder = surroundings_.folder;
    analyses_.emplace(settings);
}

ModelStart Simulation::StartOf(const ModelSource& model) const
{
    ModelStart start;
    start.modulePath = model.library;
    start.parameters = model.parameters;
    start.sampleInterval = options_.signal.SampleInterval();
    start.bitTime = options_.signal.BitTime();
    start.impulses = link_.Responses();
    start.timeDomain = model.getWave;
    start.blockSamples =
        static_cast<std::size_t>(options_.blockBits * options_.signal.samplesPerBit);
    return start;
}

ModelProcess::Settings Simulation::ProcessSettings(const std::filesystem::path& log) const
{
    ModelProcess::Settings settings;
    settings.workerProgram = surroundings_.worker;
    settings.folder = surroundings_.folder;
    settings.logFile = log;
    settings.callLimit = options_.callLimit;
    settings.box = options_.Box();
    settings.interrupted = surroundings_.stopped;
    settings.deadline = Deadline();
    return settings;
}

void Simulation::StartTransmitter()
{
    result_.transmitter = {transmitter_->name, transmitter_->parameters, "", "", 0};
    const auto init = link_.StartTransmitter(
        StartOf(*transmitter_), ProcessSettings(surroundings_.transmitterLog), result_.notes);
    result_.transmitter->message = init.message;
    result_.transmitter->parametersOut = init.parametersOut;
}

void Simulation::Drive(BlockListener& listener)
{
    if (transmitter_) StartTransmitter();
    ModelProcess process(StartOf(model_), ProcessSettings(surroundings_.log));
    result_.box = process.Box();
    auto init = process.Init();
    result_.modelMessage = init.message;
    result_.parametersOut = init.parametersOut;
    TakeParameters(init.parametersOut, "AMI_Init");
    UseSampler();
    result_.impulsesChanged = init.impulses != link_.Responses();
    link_.Connect(init.impulses, result_.notes);
    result_.residual = link_.Residual();
    result_.impulses = std::move(init.impulses);

    listener.Start(signal_.Bits());
    if (model_.getWave) {
        RunThroughModel(process, listener);
    } else {
        RunThroughResponse(listener);
    }
    process.Close();
    link_.Close();
}

void Simulation::RunThroughModel(ModelProcess& process, BlockListener& listener)
{
    std::int64_t made = 0;
    while (true) {
        while (process.SlotFree() && made < signal_.Bits() && !surroundings_.stopped()) {
            const std::size_t samples = SamplesOfBlock(made);
            link_.Input().Read(process.NextInput().first(samples));
            process.Submit(samples);
            made += options_.blockBits;
        }
        if (!process.Busy()) break;
        const ModelProcess::Block block = process.Wait();
        Take(block);
        listener.Take(block);
        result_.modelSeconds = process.ModelSeconds();
    }
}

/// The output of a receiver that only changes the impulse response.
void Simulation::RunThroughResponse(BlockListener& listener)
{
    std::vector<double> input, output;
    for (std::int64_t made = 0; made < signal_.Bits() && !surroundings_.stopped();
         made += options_.blockBits) {
        if (const auto deadline = Deadline(); deadline && Clock::now() > *deadline) {
            throw ModelFailure(ExitCode::kTimeLimit, "the run",
                               "was stopped by the time limit of the run", "");
        }
        input.resize(SamplesOfBlock(made));
        output.resize(input.size());
        link_.Input().Read(input);
        if (link_.Output()) {
            link_.Output()->Read(output);
        } else {
            output = input;
        }
        const ModelProcess::Block block{input, output, {}, ""};
        Take(block);
        listener.Take(block);
    }
}

std::size_t Simulation::SamplesOfBlock(std::int64_t made) const
{
    const std::int64_t bits = std::min(options_.blockBits, signal_.Bits() - made);
    return static_cast<std::size_t>(bits * options_.signal.samplesPerBit);
}

void Simulation::UseSampler()
{
    SamplerSettings sampler =
        SamplerOf(model_.declared, parameters_.Tracks(), options_.signal.BitTime(), result_.notes);
    sampler.gaussianNoise = std::hypot(sampler.gaussianNoise, options_.samplerNoise);
    sampler.seed = options_.signal.seed;
    analyses_->Use(sampler);
    result_.sampler = sampler;
}

void Simulation::Take(const ModelProcess::Block& block)
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
    result_.bits += std::ssize(block.output) / options_.signal.samplesPerBit;
    TakeParameters(block.parametersOut, fmt::format("AMI_GetWave {}", blocks_));
}

/// Of symbols that are as good as random.
void Simulation::ComputeEyes()
{
    const SignalOptions& signal = options_.signal;
    const bool random = signal.pattern.empty() && signal.clockPattern == 0;
    const StatisticalLinks links(signal_, transmitter_, link_);
    if (!options_.statistical || !random || !links.Possible()) return;
    if (const auto input = links.AtInput())
        result_.statisticalInput = ComputeStatisticalEye(*input, ErrorRatios());
    if (model_.returnsImpulse && !result_.impulses.empty()) {
        const StatisticalLink output =
            links.AtOutput(result_.impulses, result_.sampler.gaussianNoise);
        result_.statisticalOutput = ComputeStatisticalEye(output, ErrorRatios());
    }
}

void Simulation::TakeParameters(const std::string& text, const std::string& call)
{
    parameters_.Take(text, result_.bits, call);
}

void Simulation::Evaluate()
{
    Analyses::Findings found = analyses_->Find();
    analyses_.reset();  // and what it holds on the disk
    result_.eye = std::move(found.eye);
    result_.inputEye = std::move(found.inputEye);
    result_.comparison = found.comparison;
    result_.clock = std::move(found.clock);
    if (result_.bits > 0) result_.lock = found.verdict.lock;
    result_.notes.insert(result_.notes.end(), found.notes.begin(), found.notes.end());
    ComputeEyes();
    TakeTracks(parameters_, "");
    TakeTracks(link_.Parameters(), "tx.");
    if (result_.transmitter) result_.transmitter->seconds = link_.ModelSeconds();
    result_.adaptation = ReadAdaptLog(surroundings_.folder / "Adapt.txt");
    if (result_.adaptation) result_.eqLevel = result_.adaptation->Level();
    if (!result_.eqLevel) {
        int level = 0;
        if (const auto text = model_.Setting("EQ_Level");
            text &&
            std::from_chars(text->data(), text->data() + text->size(), level).ptr != text->data())
            result_.eqLevel = level;
    }
    EomLog eom = ReadEomLog(surroundings_.folder / "EOM.txt", kMostLoggedEyes);
    result_.loggedEyes = std::move(eom.eyes);
    if (eom.more) {
        result_.notes.push_back(
            fmt::format("EOM.txt: only the first {} eyes are taken over", kMostLoggedEyes));
    }
}

void Simulation::TakeTracks(const ParameterLog& log, const char* prefix)
{
    for (ParameterTrack track : log.Tracks()) {
        track.name.insert(0, prefix);
        result_.parameters.push_back(std::move(track));
    }
    result_.notes.insert(result_.notes.end(), log.Notes().begin(), log.Notes().end());
}

}  // namespace amisim
