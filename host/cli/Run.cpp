#include "host/cli/Run.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>

#include "host/analysis/AdaptLog.hpp"
#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/EyeAnalysis.hpp"
#include "host/model/ModelProcess.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/EyePicture.hpp"
#include "host/output/Progress.hpp"
#include "host/output/ResultReport.hpp"
#include "host/output/RunResult.hpp"
#include "host/output/WaveWriter.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {
namespace {

using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

// Written by a run, or by the model in its working folder: stale ones of an earlier run are
// removed.
constexpr const char* kFiles[] = {"wave.csv", "wave.npy",  "clock.csv", "result.json",
                                  "eye.png",  "Adapt.txt", "EOM.txt",   "model.log"};

/// One run from its start to its result.
class Session
{
public:
    Session(const RunOptions& options, const fs::path& worker, const std::atomic<bool>& stop)
        : options_(options),
          worker_(worker),
          stop_(stop),
          begin_(Clock::now()),
          model_(ResolveModelSource(options.model, options.parameters)),
          signal_(options.signal, 8 * options.blockBits),
          frame_(options.signal.SampleInterval(), options.signal.BitTime())
    {
        result_.notes = model_.notes;
        result_.notes.insert(result_.notes.end(), signal_.Notes().begin(), signal_.Notes().end());
        result_.bitTime = options.signal.BitTime();
        result_.ignoredBits = IgnoredBits();
        EyeAnalysis::Settings eye;
        eye.samplesPerBit = options.signal.samplesPerBit;
        eye.ignoreSamples = result_.ignoredBits * options.signal.samplesPerBit;
        eye.sentUnitInterval = signal_.SentUnitInterval();
        eye.sent = signal_.Sent();
        eye_.emplace(eye);
        frame_.CountFrom(static_cast<double>(eye.ignoreSamples));
    }

    ExitCode Run()
    {
        PrepareFolder();
        try {
            Drive();
        } catch (const ModelFailure& failure) {
            result_.failure = {failure.Code(), failure.phase, failure.reason, failure.printed};
        }
        if (!result_.failure && stop_) {
            result_.failure = {ExitCode::kInterrupted, "the run", "was interrupted", ""};
        }
        result_.seconds = std::chrono::duration<double>(Clock::now() - begin_).count();
        Evaluate();
        Write();
        Print();
        return result_.failure ? result_.failure->code : ExitCode::kOk;
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

    void PrepareFolder() const
    {
        std::error_code error;
        fs::create_directories(options_.out, error);
        if (error) {
            throw Error(ExitCode::kInput, fmt::format("{}: cannot be created: {}",
                                                      options_.out.string(), error.message()));
        }
        for (const char* name : kFiles) fs::remove(options_.out / name, error);
    }

    void Drive()
    {
        ModelStart start;
        start.modulePath = model_.library;
        start.parameters = model_.parameters;
        start.sampleInterval = options_.signal.SampleInterval();
        start.bitTime = options_.signal.BitTime();
        start.impulse = signal_.Impulse();
        start.blockSamples =
            static_cast<std::size_t>(options_.blockBits * options_.signal.samplesPerBit);

        ModelProcess::Settings settings;
        settings.workerProgram = worker_;
        settings.folder = options_.out;
        settings.logFile = options_.out / "model.log";
        settings.callLimit = options_.callLimit;
        settings.interrupted = [this] { return stop_.load(); };
        if (options_.timeLimit) {
            settings.deadline = begin_ + std::chrono::duration_cast<Clock::duration>(
                                             std::chrono::duration<double>(*options_.timeLimit));
        }
        ModelProcess process(start, settings);
        const auto init = process.Init();
        result_.modelMessage = init.message;
        result_.parametersOut = init.parametersOut;

        WaveWriter wave(options_.out, options_.saveWave, options_.signal.SampleInterval());
        OutputFile clocks(options_.out / "clock.csv");
        clocks.Write("time_s\n");
        Progress progress(signal_.Bits());
        std::int64_t made = 0;
        try {
            while (true) {
                while (process.SlotFree() && made < signal_.Bits() && !stop_)
                    made += MakeBlock(process, made);
                if (!process.Busy()) break;
                Take(process.Wait(), wave, clocks);
                result_.modelSeconds = process.ModelSeconds();
                progress.Update(result_.bits);
            }
            process.Close();
        } catch (const ModelFailure&) {
            wave.Close();
            throw;
        }
        wave.Close();
        clocks.Close();
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

    void Take(const ModelProcess::Block& block, WaveWriter& wave, OutputFile& clocks)
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
        frame_.Add(block.clocks.times);
        eye_->Add(block.output, frame_.Edges());
        frame_.Edges().clear();
        wave.Add(block.output);
        text_.clear();
        for (const double time : block.clocks.times)
            fmt::format_to(std::back_inserter(text_), "{}\n", time);
        clocks.Write(text_);
        result_.bits += std::ssize(block.output) / options_.signal.samplesPerBit;
    }

    void Evaluate()
    {
        eye_->Finish();
        result_.clock.times = frame_.Times();
        result_.clock.filled = frame_.Filled();
        result_.clock.backward = frame_.Backward();
        if (frame_.UnitInterval() > 0) {
            result_.clock.unitInterval = frame_.UnitInterval();
            result_.clock.ppm = (result_.bitTime / frame_.UnitInterval() - 1) * 1e6;
        }
        const bool later = eye_->IsSliced();
        const auto& decisions = later ? eye_->AtLater() : eye_->AtSampling();
        result_.sampledAt = decisions.offset;
        if (decisions.bits) {
            const BitComparer& bits = *decisions.bits;
            result_.comparison = {bits.Compared(),     bits.Errors(), bits.Unaligned(),
                                  bits.Realignments(), bits.Delay(),  bits.Inverted()};
        }
        if (eye_->UnitIntervals() > 0) {
            const auto sides = eye_->Horizontal(kEyeProbability);
            EyeFindings eye;
            eye.vertical = InnerOpening(decisions.levels, 0, kEyeProbability);
            eye.left = sides.left;
            eye.right = sides.right;
            eye.sampledAt = decisions.offset;
            eye.sliced = later;
            eye.unitIntervals = eye_->UnitIntervals();
            eye.density = eye_->Density();
            result_.eye = std::move(eye);
        }
        result_.adaptation = ReadAdaptLog(options_.out / "Adapt.txt");
        if (result_.adaptation) result_.eqLevel = result_.adaptation->Level();
        if (!result_.eqLevel) {
            if (const auto level = model_.Setting("EQ_Level"))
                result_.eqLevel = std::atoi(level->c_str());
        }
        Remark(later);
    }

    /// What a user should know besides the numbers.
    void Remark(bool later)
    {
        auto& notes = result_.notes;
        if (result_.bits > 0 && frame_.Times() == 0) {
            notes.push_back(
                "the model returned no clock times: there is no frame for an eye or for bit "
                "errors");
        }
        if (frame_.Backward() > 0) {
            notes.push_back(
                fmt::format("{} clock times were not later than the one before and are left out",
                            frame_.Backward()));
        }
        if (later) {
            notes.push_back(
                "the output switches where data are sampled, as a slicer's does: its levels are "
                "taken "
                "a quarter of a unit interval later");
        } else if (eye_->CrossesAtSampling()) {
            notes.push_back(
                "the signal crosses 0 V where data are sampled: the clock has not locked, or rests "
                "in "
                "a wrong place as it may without any noise or frequency offset (--noise, --ppm)");
        }
        if (result_.comparison && result_.comparison->compared == 0 && result_.eye) {
            notes.push_back(
                "the sent pattern was not found in the received bits: no errors could be counted");
        }
        if (result_.comparison && result_.comparison->inverted)
            notes.push_back("the received bits are inverted");
        if (result_.comparison && result_.comparison->realignments > 0) {
            notes.push_back(
                fmt::format("the clock slipped: the pattern had to be aligned anew {} times",
                            result_.comparison->realignments));
        }
        if (eye_->NotFinite() > 0) {
            notes.push_back(fmt::format(
                "{} output samples are NaN or infinite, the first of them sample {}; they "
                "are taken as 0 V",
                eye_->NotFinite(), eye_->FirstNotFinite()));
        }
    }

    void Write()
    {
        if (result_.eye) {
            EyePicture picture;
            picture.title = fmt::format("{}: {}", model_.name, Describe(options_.signal));
            picture.subtitle =
                fmt::format("{:g} Gbit/s, {} UI, eye {:.1f} mV x {:.3f} UI at {:g}",
                            options_.signal.bitRate * 1e-9, result_.eye->unitIntervals,
                            result_.eye->vertical.Height() * 1000,
                            result_.eye->left + result_.eye->right, kEyeProbability);
            picture.sampledAt = 0.5;
            picture.opening = eye_->IsSliced() ? Opening{} : result_.eye->vertical;
            picture.left = result_.eye->left;
            picture.right = result_.eye->right;
            picture.Save(eye_->Density(), options_.out / "eye.png");
        }
        for (const char* name : kFiles) {
            if (fs::exists(options_.out / name)) result_.files.emplace_back(name);
        }
        result_.files.emplace_back("result.json");
        OutputFile file(options_.out / "result.json");
        using Json = nlohmann::ordered_json;
        // A model's texts need not be valid UTF-8.
        file.Write(
            ToJson(result_, options_, model_).dump(2, ' ', false, Json::error_handler_t::replace) +
            "\n");
        file.Close();
    }

    void Print() const
    {
        fmt::print("{}: {}\n{}", model_.name, Describe(options_.signal),
                   result_.bits > 0 ? ToTable(result_, options_) : "");
        for (const auto& note : result_.notes) fmt::print("  Note: {}\n", note);
        if (result_.eye) fmt::print("Picture: {}\n", (options_.out / "eye.png").string());
        std::fflush(stdout);
        if (!result_.failure) return;
        fmt::print(stderr, "amisim: the model {} in {}{}\n", result_.failure->reason,
                   result_.failure->phase,
                   result_.failure->printed.empty() ? "" : ":\n" + result_.failure->printed);
    }

    const RunOptions& options_;
    const fs::path& worker_;
    const std::atomic<bool>& stop_;
    Clock::time_point begin_;
    ModelSource model_;
    SignalChain signal_;
    ClockFrame frame_;
    std::optional<EyeAnalysis> eye_;
    RunResult result_;
    std::int64_t blocks_ = 0, unterminated_ = 0, overruns_ = 0;
    std::string text_;
};

}  // namespace

ExitCode Run(const RunOptions& options, const fs::path& worker, const std::atomic<bool>& stop)
{
    options.Check();
    return Session(options, worker, stop).Run();
}

}  // namespace amisim
