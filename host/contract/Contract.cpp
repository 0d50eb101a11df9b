#include "host/contract/Contract.hpp"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <thread>

#include "base/NearestName.hpp"
#include "base/ScratchFolder.hpp"
#include "host/contract/ContractWorker.hpp"
#include "host/contract/Deviations.hpp"
#include "host/process/WorkerProcess.hpp"
#include "ibis/VersionMark.hpp"

namespace amisim::contract {
namespace {

namespace fs = std::filesystem;

/// A word as a shell reads it.
std::string Word(const std::string& text)
{
    if (!text.empty() &&
        text.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "0123456789_-./+=:,@") == text.npos)
        return text;
    std::string word = "'";
    for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + "'";
}

std::string ReproducingCommand(const ContractOptions& options, const Check& check)
{
    std::string command =
        fmt::format("amisim check --run {} --only {} --seed {} --level {}",
                    Word(options.model.string()), check.name, options.seed, check.level);
    if (!options.modelName.empty()) command += " --model " + Word(options.modelName);
    if (options.bitRate != ContractOptions{}.bitRate)
        command += fmt::format(" --bit-rate {}", options.bitRate);
    return command;
}

/// Generators that are seeded with time() change by the second; it is some milliseconds behind the
/// clocks that can be slept by.
void WaitForTheNextSecond()
{
    const std::time_t second = std::time(nullptr);
    while (std::time(nullptr) == second) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::string LastLine(const std::string& text)
{
    return text.substr(text.rfind('\n') + 1);
}

class Runner
{
public:
    Runner(const ContractOptions& options, const Surroundings& surroundings)
        : options_(options),
          surroundings_(surroundings),
          task_(MakeTask(options.model, options.modelName))
    {
        task_.bitTime = 1 / options.bitRate;
        task_.seed = options.seed;
        task_.budget = options.checkLimit / 3;
        report_.library = task_.library;
        report_.version = ibis::VersionMark(report_.library);
        taskBytes_ = ToBytes(task_);
        fs::path file = options.deviations;
        if (file.empty()) file = fs::path(task_.library).replace_extension(".deviations");
        if (!options.deviations.empty() || fs::exists(file)) deviations_ = ReadDeviations(file);
    }

    ContractReport Run()
    {
        for (const Check& check : Checks()) {
            if (check.level > options_.level || !IsWanted(check)) continue;
            CheckResult result = Try(check);
            Judge(result);
            if (surroundings_.each) surroundings_.each(result);
            report_.results.push_back(std::move(result));
        }
        return std::move(report_);
    }

private:
    bool IsWanted(const Check& check) const
    {
        return options_.only.empty() || std::ranges::count(options_.only, check.name) > 0;
    }

    CheckResult Try(const Check& check)
    {
        CheckResult result{&check, {}, "", "", true, 0};
        if (check.needs >= closed_) {
            result.verdict = NotApplicable(fmt::format("{} has failed", closedBy_));
        } else if (IsOfWaves(check) && !task_.HasGetWave()) {
            result.verdict = NotApplicable("the .ami says GetWave_Exists False");
        } else {
            const auto begin = std::chrono::steady_clock::now();
            RunWorkers(result);
            result.seconds =
                std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        }
        return result;
    }

    static bool IsOfWaves(const Check& check)
    {
        return check.needs == Stage::kWave || check.gives == Stage::kWave;
    }

    void RunWorkers(CheckResult& result)
    {
        const Check& check = *result.check;
        try {
            result.verdict = RunWorker(check);
            if (check.manner != Manner::kTwice || result.verdict.outcome != Outcome::kPassed)
                return;
            WaitForTheNextSecond();
            const Verdict second = RunWorker(check);
            if (second.outcome != Outcome::kPassed || second.digest != result.verdict.digest)
                result.verdict = {
                    Outcome::kFailed, "", "gave another result in a second process", 0, {}};
        } catch (const ModelFailure& failure) {
            if (failure.Code() == ExitCode::kInterrupted) throw;
            result.answered = false;
            result.verdict = {Outcome::kFailed,
                              FunctionOf(failure.phase),
                              failure.reason + " in " + failure.phase,
                              0,
                              {}};
            if (!failure.printed.empty())
                result.verdict.text += fmt::format("; it said '{}'", LastLine(failure.printed));
        }
    }

    Verdict RunWorker(const Check& check)
    {
        Witness witness(taskBytes_, check.name);
        const fs::path folder = scratch_.MakeRoom(check.name);
        WorkerProcess::Settings settings;
        settings.workerProgram = surroundings_.worker;
        settings.folder = folder;
        settings.logFile = folder / "model.log";
        settings.callLimit = options_.checkLimit;
        if (surroundings_.interrupted) settings.interrupted = surroundings_.interrupted;
        WorkerProcess worker(kContractEntry, witness.Descriptor(), settings,
                             [&witness] { return witness.Fault(); });
        constexpr std::size_t kMost = 1 << 16;
        const auto packet = worker.Receive(1, kMost, [&witness] { return witness.Phase(); });
        if (check.manner == Manner::kToTheEnd) worker.End("the end of its process");
        return VerdictFrom({packet.begin(), packet.end()});
    }

    static std::string FunctionOf(const std::string& phase)
    {
        return phase.starts_with("AMI_") ? phase.substr(0, phase.find(' ')) : "";
    }

    void Judge(CheckResult& result)
    {
        auto& [outcome, function, text, digest, figures] = result.verdict;
        report_.figures.initSeconds = std::max(report_.figures.initSeconds, figures.initSeconds);
        report_.figures.secondsPerSample =
            std::max(report_.figures.secondsPerSample, figures.secondsPerSample);
        report_.figures.peakBytes = std::max(report_.figures.peakBytes, figures.peakBytes);
        const Deviation* const deviation = deviations_.Find(result.check->name);
        if (outcome == Outcome::kPassed && deviation)
            report_.notes.push_back(fmt::format("{}:{}: '{}' no longer deviates; remove the line",
                                                deviations_.file.string(), deviation->line,
                                                deviation->check));
        if (outcome != Outcome::kFailed) return;
        result.reproduce = ReproducingCommand(options_, *result.check);
        if (deviation) {
            outcome = Outcome::kDeviates;
            result.reason = deviation->reason;
        }
        if (result.check->gives < closed_) CloseStage(*result.check);
    }

    /// What cannot work without it is not tried: a fault is told once.
    void CloseStage(const Check& check)
    {
        closed_ = check.gives;
        closedBy_ = check.name;
        if (closed_ != Stage::kWave) return;
        task_.getWaveExists = "False";  // and the others do without it
        taskBytes_ = ToBytes(task_);
    }

    const ContractOptions& options_;
    const Surroundings& surroundings_;
    ScratchFolder scratch_;  // where the workers stand and models leave their logs
    Task task_;
    std::string taskBytes_;
    Deviations deviations_;
    Stage closed_ = Stage::kEnd;  // what needs this stage or a later one cannot be tried
    std::string_view closedBy_;
    ContractReport report_;
};

void RequireKnown(const std::vector<std::string>& names)
{
    std::vector<std::string> known;
    for (const Check& check : Checks()) known.emplace_back(check.name);
    for (const auto& name : names) {
        if (FindCheck(name)) continue;
        const std::string nearest = NearestName(name, known);
        throw Error(
            ExitCode::kUsage,
            fmt::format("no check '{}'{}; docs/contract.md lists them", name,
                        nearest.empty() ? "" : fmt::format(" (did you mean {}?)", nearest)));
    }
}

}  // namespace

std::string CheckResult::Function() const
{
    return verdict.function.empty() ? std::string(check->function) : verdict.function;
}

std::size_t ContractReport::Count(Outcome outcome) const
{
    return static_cast<std::size_t>(std::ranges::count_if(
        results, [outcome](const CheckResult& r) { return r.verdict.outcome == outcome; }));
}

ExitCode ContractReport::Code() const
{
    for (const auto& result : results) {
        const bool failed = result.verdict.outcome == Outcome::kFailed;
        if (failed && result.answered && result.check->name == "loads") return ExitCode::kModelLoad;
    }
    return Count(Outcome::kFailed) > 0 ? ExitCode::kCheckFailed : ExitCode::kOk;
}

ContractReport TryContract(const ContractOptions& options, const Surroundings& surroundings)
{
    RequireKnown(options.only);
    return Runner(options, surroundings).Run();
}

}  // namespace amisim::contract
