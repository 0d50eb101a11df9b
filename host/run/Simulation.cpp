#include "host/run/Simulation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/known/AdaptLog.hpp"
#include "host/known/EomLog.hpp"
#include "host/run/Receiver.hpp"

namespace amisim {
namespace {

constexpr std::size_t kMostLoggedEyes = 400;

/// Of those sent, until they have been compared.
std::int64_t HeldBits(const SimulationOptions& options)
{
    return 10 * options.blockBits + Analyses::kHeldBits + SymbolComparer::kLongestDelay +
           4 * static_cast<std::int64_t>(SymbolComparer::kWindow);
}

}  // namespace

Simulation::Simulation(const SimulationOptions& options, const ModelSource& model,
                       Surroundings surroundings)
    : options_(options),
      model_(model),
      surroundings_(std::move(surroundings)),
      signal_(options.signal, HeldBits(options))
{
    result_.notes = model_.notes;
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
    if (*model_.ignoreBits > half) {
        result_.notes.push_back(
            fmt::format("the model asks for {} bits to be ignored; of {} only the first half "
                        "is: give more --bits",
                        *model_.ignoreBits, signal_.Bits()));
    }
    return std::min(*model_.ignoreBits, half);
}

void Simulation::StartAnalyses()
{
    Analyses::Settings settings;
    settings.samplesPerBit = options_.signal.samplesPerBit;
    settings.sampleInterval = options_.signal.SampleInterval();
    settings.ignoreBits = result_.ignoredBits;
    settings.sentUnitInterval = signal_.SentUnitInterval();
    settings.sent = signal_.Sent();
    settings.bers = options_.bers;
    std::ranges::sort(settings.bers, std::greater{});
    settings.bers.erase(std::unique(settings.bers.begin(), settings.bers.end()),
                        settings.bers.end());
    settings.folder = surroundings_.folder;
    analyses_.emplace(settings);
}

void Simulation::Drive(BlockListener& listener)
{
    ModelStart start;
    start.modulePath = model_.library;
    start.parameters = model_.parameters;
    start.sampleInterval = options_.signal.SampleInterval();
    start.bitTime = options_.signal.BitTime();
    start.impulses = signal_.Impulses();
    start.blockSamples =
        static_cast<std::size_t>(options_.blockBits * options_.signal.samplesPerBit);

    ModelProcess::Settings settings;
    settings.workerProgram = surroundings_.worker;
    settings.folder = surroundings_.folder;
    settings.logFile = surroundings_.log;
    settings.callLimit = options_.callLimit;
    settings.box = options_.Box();
    settings.interrupted = surroundings_.stopped;
    if (options_.timeLimit) {
        settings.deadline = begin_ + std::chrono::duration_cast<Clock::duration>(
                                         std::chrono::duration<double>(*options_.timeLimit));
    }
    ModelProcess process(start, settings);
    result_.box = process.Box();
    auto init = process.Init();
    result_.modelMessage = init.message;
    result_.parametersOut = init.parametersOut;
    TakeParameters(init.parametersOut, "AMI_Init");
    UseSampler();
    result_.impulsesChanged = init.impulses != signal_.Impulses();
    result_.impulses = std::move(init.impulses);

    listener.Start(signal_.Bits());
    std::int64_t made = 0;
    while (true) {
        while (process.SlotFree() && made < signal_.Bits() && !surroundings_.stopped())
            made += MakeBlock(process, made);
        if (!process.Busy()) break;
        const ModelProcess::Block block = process.Wait();
        Take(block);
        listener.Take(block);
        result_.modelSeconds = process.ModelSeconds();
    }
    process.Close();
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

/// Makes and submits the next block; returns its bits.
std::int64_t Simulation::MakeBlock(ModelProcess& process, std::int64_t made)
{
    const std::int64_t bits = std::min(options_.blockBits, signal_.Bits() - made);
    const auto samples = static_cast<std::size_t>(bits * options_.signal.samplesPerBit);
    signal_.Output().Read(process.NextInput().first(samples));
    process.Submit(samples);
    return bits;
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

void Simulation::TakeParameters(const std::string& text, const std::string& call)
{
    parameters_.Take(text, text.size() < kLongestText, result_.bits, call);
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
    result_.parameters = parameters_.Tracks();
    result_.notes.insert(result_.notes.end(), parameters_.Notes().begin(),
                         parameters_.Notes().end());
    result_.adaptation = ReadAdaptLog(surroundings_.folder / "Adapt.txt");
    if (result_.adaptation) result_.eqLevel = result_.adaptation->Level();
    if (!result_.eqLevel) {
        if (const auto level = model_.Setting("EQ_Level"))
            result_.eqLevel = std::atoi(level->c_str());
    }
    EomLog eom = ReadEomLog(surroundings_.folder / "EOM.txt", kMostLoggedEyes);
    result_.loggedEyes = std::move(eom.eyes);
    if (eom.more) {
        result_.notes.push_back(
            fmt::format("EOM.txt: only the first {} eyes are taken over", kMostLoggedEyes));
    }
}

}  // namespace amisim
