#include "host/cli/Run.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>

#include "host/analysis/AdaptLog.hpp"
#include "host/analysis/Analyses.hpp"
#include "host/analysis/EomLog.hpp"
#include "host/cli/PrintResults.hpp"
#include "host/model/ModelProcess.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/BulkFile.hpp"
#include "host/output/OutputFolder.hpp"
#include "host/output/Progress.hpp"
#include "host/output/RunResult.hpp"
#include "host/output/WaveWriter.hpp"
#include "host/output/WriteResults.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {
namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr std::size_t kMostLoggedEyes = 400;

/// One run from its start to its result.
class Session
{
public:
    Session(const RunOptions& options, const ModelSource& model, OutputFolder& folder,
            const fs::path& worker, const std::atomic<bool>& stop)
        : options_(options),
          model_(model),
          folder_(folder),
          worker_(worker),
          stop_(stop),
          begin_(Clock::now()),
          signal_(options.signal, 10 * options.blockBits + Analyses::kHeldBits)
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

    ExitCode Run()
    {
        PrepareFolder();
        StartAnalyses();
        try {
            Drive();
        } catch (const ModelFailure& failure) {
            result_.failure = {failure.Code(), failure.phase, failure.reason, failure.printed};
            if (failure.Code() == ExitCode::kModelRefused && result_.box.kind == BoxKind::kFull &&
                failure.phase == "AMI_Init") {
                result_.notes.push_back(
                    "a model that needs a licence server, a display or files elsewhere runs with "
                    "--box plain");
            }
        }
        if (!result_.failure && stop_) {
            result_.failure = {ExitCode::kInterrupted, "the run", "was interrupted", ""};
        }
        result_.seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        Evaluate();
        PrintResults(result_, options_, model_);
        WriteResults(result_, options_, model_, folder_);
        PrintEnding(result_, folder_);
        if (result_.failure) return result_.failure->code;
        return folder_.Dropped().empty() ? ExitCode::kOk : ExitCode::kInput;
    }

private:
    /// As asked for; else the model's own count, but no more than half of the run; else half of the
    /// run.
    std::int64_t IgnoredBits()
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

    void PrepareFolder()
    {
        folder_.RemoveAll();
        // The model may write these at any time. Where there is no room even for the list, the
        // numbers are still to be printed.
        for (const char* name : {"result.json", "model.log", "Adapt.txt", "EOM.txt"})
            folder_.Claim(name);
    }

    void StartAnalyses()
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
        settings.folder = folder_.Path();
        analyses_.emplace(settings);
    }

    void Drive()
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
        settings.workerProgram = worker_;
        settings.folder = folder_.Path();
        settings.logFile = folder_.Path() / "model.log";
        settings.callLimit = options_.callLimit;
        settings.box = options_.Box();
        settings.interrupted = [this] { return stop_.load(); };
        if (options_.timeLimit) {
            settings.deadline = begin_ + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(*options_.timeLimit));
        }
        ModelProcess process(start, settings);
        result_.box = process.Box();
        const auto init = process.Init();
        result_.modelMessage = init.message;
        result_.parametersOut = init.parametersOut;

        WaveWriter wave(folder_, options_.saveWave, options_.signal.SampleInterval());
        BulkFile clocks(folder_, "clock.csv");
        clocks.Write("time_s\n");
        Progress progress(signal_.Bits());
        std::int64_t made = 0;
        while (true) {
            while (process.SlotFree() && made < signal_.Bits() && !stop_)
                made += MakeBlock(process, made);
            if (!process.Busy()) break;
            Take(process.Wait(), wave, clocks);
            result_.modelSeconds = process.ModelSeconds();
            progress.Update(result_.bits);
        }
        process.Close();
    }

    /// Makes and submits the next block; returns its bits.
    std::int64_t MakeBlock(ModelProcess& process, std::int64_t made)
    {
        const std::int64_t bits = std::min(options_.blockBits, signal_.Bits() - made);
        const auto samples = static_cast<std::size_t>(bits * options_.signal.samplesPerBit);
        signal_.Output().Read(process.NextInput().first(samples));
        process.Submit(samples);
        return bits;
    }

    void Take(const ModelProcess::Block& block, WaveWriter& wave, BulkFile& clocks)
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
        wave.Add(block.output);
        text_.clear();
        for (const double time : block.clocks.times)
            fmt::format_to(std::back_inserter(text_), "{}\n", time);
        clocks.Write(text_);
        result_.bits += std::ssize(block.output) / options_.signal.samplesPerBit;
    }

    void Evaluate()
    {
        Analyses::Findings found = analyses_->Find();
        analyses_.reset();  // and what it holds on the disk
        result_.eye = std::move(found.eye);
        result_.inputEye = std::move(found.inputEye);
        result_.comparison = found.comparison;
        result_.clock = std::move(found.clock);
        if (result_.bits > 0) result_.lock = found.verdict.lock;
        result_.notes.insert(result_.notes.end(), found.notes.begin(), found.notes.end());
        result_.adaptation = ReadAdaptLog(folder_.Path() / "Adapt.txt");
        if (result_.adaptation) result_.eqLevel = result_.adaptation->Level();
        if (!result_.eqLevel) {
            if (const auto level = model_.Setting("EQ_Level"))
                result_.eqLevel = std::atoi(level->c_str());
        }
        EomLog eom = ReadEomLog(folder_.Path() / "EOM.txt", kMostLoggedEyes);
        result_.loggedEyes = std::move(eom.eyes);
        if (eom.more) {
            result_.notes.push_back(
                fmt::format("EOM.txt: only the first {} eyes are taken over", kMostLoggedEyes));
        }
    }

    const RunOptions& options_;
    const ModelSource& model_;
    OutputFolder& folder_;
    const fs::path& worker_;
    const std::atomic<bool>& stop_;
    Clock::time_point begin_;
    SignalChain signal_;
    std::optional<Analyses> analyses_;
    RunResult result_;
    std::int64_t blocks_ = 0, unterminated_ = 0, overruns_ = 0;
    std::string text_;
};

}  // namespace

ExitCode Run(const RunOptions& options, const fs::path& worker, const std::atomic<bool>& stop)
{
    options.Check();
    const ModelSource model =
        ResolveModelSource(options.model, options.modelName, options.parameters);
    std::vector<fs::path> inputs = options.signal.Files();
    inputs.insert(inputs.end(), model.files.begin(), model.files.end());
    OutputFolder folder(options.out, RunFolder(), OutputFolder::Use::kAlone, inputs);
    RunOptions known = options;
    known.signal.FindBitRate();
    return Session(known, model, folder, worker, stop).Run();
}

}  // namespace amisim
