#include "host/cli/ToleranceCommand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "base/Files.hpp"
#include "base/ParseJson.hpp"
#include "host/cli/Terminal.hpp"
#include "host/jitter/Frequency.hpp"
#include "host/jitter/ToleranceReport.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kName = "tolerance";

constexpr const char* kFooter = R"(
Examples:
  amisim tolerance retimer.ibs --mask stm-64 --frequencies 3e5,1e6,4e6,2e7
  amisim tolerance retimer.ibs --mask limit.csv --rj 0.01 --noise 0.005 --touchstone line.s4p
  amisim tolerance retimer.ibs --ber 1e-6 --confidence 0.99 --slurm --chunk 2
  amisim tolerance tolerance                   go on with the test in the folder "tolerance"

At each frequency the amplitude of the sine is found up to which the model keeps to the bit error
ratio: each trial runs until errors and bits tell at the confidence asked for, over five periods at
least. All other options are those of amisim run; what they put on the signal is part of the test.

A mask is a name (docs/jitter.md lists them) or a file of lines "frequency in Hz, UI peak to peak".

Files in the output folder:
  tolerance.html, tolerance.png  the curve, every trial and the mask (--pictures: svg, pdf)
  tolerance.json                 all of it as numbers
  tolerance.csv, trials.csv      a row each frequency, a row each trial
  cases/0001-...                 a folder for each frequency, with run.log

Exit codes: those of amisim run, and
  9 some frequencies have no result      10 the mask is not met
)";

const OutputFolder::Kind& ToleranceFolder()
{
    static const OutputFolder::Kind kind = {
        "tolerance",
        {"plan.json", "tolerance.json", "tolerance.csv", "trials.csv", "tolerance.html",
         "tolerance.png", "tolerance.svg", "tolerance.pdf", "slurm/job.sh"}};
    return kind;
}

/// The trials that an earlier process has made of the same case.
std::vector<ToleranceTrial> EarlierTrials(const OutputFolder& folder, const Json& key)
{
    constexpr std::size_t kMostBytes = 1 << 20;
    const auto text = ReadRegularFile(folder.Path() / "trials.json", kMostBytes);
    std::istringstream stream(text.value_or(""));
    const Json json = ParseJson<Json>(stream);
    try {
        if (json.at("key") == key) return TolerancePointOf(json.at("point")).trials;
    } catch (const Json::exception&) {
        // It is none, or of another version: the trials are made again.
    }
    return {};
}

AmplitudeSearch::Settings SearchSettings(const ToleranceOptions& o,
                                         const std::optional<FrequencyMask>& mask)
{
    AmplitudeSearch::Settings settings{FirstGuess(mask, *o.frequency, o.signal.bitRate),
                                       o.resolution};
    // Edges that a sine drives together can be in order only up to there.
    settings.most =
        std::max(settings.start, std::min(settings.most, o.signal.bitRate / *o.frequency / 4));
    return settings;
}

/// One frequency: trial after trial, each written down when it is over.
ExitCode RunCase(const ToleranceOptions& o, const CLI::App& command, const fs::path& worker,
                 const std::atomic<bool>& stop)
{
    JitterLink link(o, GivenModel(command));
    const auto mask = link.Mask(FrequencyMask::Kind::kTolerance);
    OutputFolder folder(o.out, JitterCaseFolder(), OutputFolder::Use::kAlone, link.Files());
    const Json key = KeyOf(command, link);
    const std::vector<ToleranceTrial> earlier = EarlierTrials(folder, key);
    const TriedLink tried = link.In(folder, worker, stop);
    TolerancePoint point;
    point.frequency = *o.frequency;
    const auto tryNext = [&](double amplitude) {
        const std::size_t number = point.trials.size();
        const bool known = number < earlier.size() && earlier[number].amplitude == amplitude;
        if (known) {
            point.trials.push_back(earlier[number]);
        } else {
            const auto segmentFolders = link.Clean(folder);
            point.trials.push_back(
                TryTolerance(tried, point.frequency, amplitude, o.ratio, o.confidence));
        }
        const ToleranceTrial& trial = point.trials.back();
        Print("{}: {:.4g} UI peak to peak: {}, {} errors in {} bits\n",
              FrequencyText(point.frequency), amplitude, trial.passed ? "passes" : trial.why,
              trial.errors, trial.bits);
        FlushOutput();
        if (!known)
            folder.Write("trials.json", Json{{"key", key}, {"point", ToJson(point)}}.dump());
        return trial.passed;
    };
    if (point.frequency > 0) {
        AmplitudeSearch search(SearchSettings(o, mask));
        while (const auto amplitude = search.Next()) search.Take(*amplitude, tryNext(*amplitude));
        point.passes = search.Passes();
        point.fails = search.Fails();
        point.passesAbove = search.PassesAbove();
    } else {
        tryNext(0);
    }
    Json result = ToJson(point);
    std::int64_t bits = 0;
    for (const ToleranceTrial& trial : point.trials) bits += trial.bits;
    result["bits"] = bits;
    result["settle_bits"] = SettleBits(tried);
    folder.Write("result.json", ToText(result, 2) + "\n", true);
    return ExitCode::kOk;
}

JitterTolerance Gather(const ToleranceOptions& o, const JitterLink& link, const Plan& plan)
{
    JitterTolerance tolerance;
    tolerance.model = link.ModelNames();
    tolerance.signal = link.SignalText();
    tolerance.signalJson = link.SignalsJson();
    tolerance.ratio = o.ratio;
    tolerance.confidence = o.confidence;
    tolerance.mask = link.Mask(FrequencyMask::Kind::kTolerance);
    for (const Case& c : Expand(plan)) {
        const auto result = OutcomeOf(plan, c);
        if (!result) {
            ++tolerance.missing;
            continue;
        }
        TolerancePoint point = TolerancePointOf(*result);
        tolerance.settleBits = result->at("settle_bits");
        if (point.frequency > 0)
            tolerance.points.push_back(std::move(point));
        else
            tolerance.withoutSine = point.trials.at(0);
    }
    return tolerance;
}

ExitCode Report(const JitterTolerance& tolerance, const Plan& plan, const PictureFormats& pictures,
                OutputFolder& folder, const fs::path& shown)
{
    Print("{}: {}\n{}", tolerance.model, tolerance.signal, ToTable(tolerance));
    PrintFailures(plan, Expand(plan));
    folder.Put("tolerance.json", ToText(ToJson(tolerance), 2) + "\n");
    folder.Put("tolerance.csv", PointsCsv(tolerance));
    folder.Put("trials.csv", TrialsCsv(tolerance));
    PutReport(folder, kName, TolerancePage(tolerance, pictures), kName, TolerancePicture(tolerance),
              pictures, shown);
    Print("Report: {}\n", (shown / "tolerance.html").string());
    if (tolerance.missing > 0) return ExitCode::kCasesFailed;
    return tolerance.MeetsMask() == false ? ExitCode::kMaskMissed : ExitCode::kOk;
}

ExitCode RunPlan(const Plan& plan, const ToleranceOptions& o, const GridOptions& grid,
                 const fs::path& shown, const fs::path& program, const std::atomic<bool>& stop)
{
    const JitterLink link(o, plan.model);
    const auto report = [&](OutputFolder& folder) {
        return Report(Gather(o, link, plan), plan, o.pictures, folder, shown);
    };
    return RunJitterGrid({plan, ToleranceFolder(), shown, link.ModelFiles(), link.Files(), report},
                         CasesOf(plan, grid), grid, program, stop);
}

}  // namespace

CLI::App* AddToleranceCommand(CLI::App& app, ToleranceOptions& o)
{
    CLI::App* const command = AddJitterCommand(
        app, o, kName, "Find the sinusoidal jitter that a model tolerates, over frequency",
        kFooter);
    const char* const group = "Test";
    command->add_option("--mask", o.mask, "Limit to test against: a name or a file")
        ->type_name("NAME|FILE")
        ->group(group);
    command->add_option("--ber", o.ratio, "Bit error ratio that is tested")
        ->check(CLI::Range(1e-12, 0.1).description(""))
        ->capture_default_str()
        ->type_name("RATIO")
        ->group(group);
    command->add_option("--confidence", o.confidence, "Confidence of each trial's verdict")
        ->check(CLI::Range(0.5, 0.999999).description(""))
        ->capture_default_str()
        ->type_name("PART")
        ->group(group);
    command
        ->add_option("--resolution", o.resolution,
                     "By how much, as a part of it, the amplitude that fails may lie above the one "
                     "that passes")
        ->check(CLI::Range(0.001, 1.0).description(""))
        ->capture_default_str()
        ->type_name("PART")
        ->group(group);
    return command;
}

ExitCode RunTolerance(const ToleranceOptions& o, const CLI::App& command, const fs::path& program,
                      const std::atomic<bool>& stop)
{
    if (fs::is_directory(o.model)) {
        const Plan plan = ReadPlanOf(o.model, kName);
        const fs::path shown = ShownFolder(plan, o.model);
        EnterBase(plan);
        ToleranceOptions began = OptionsOf(plan, AddToleranceCommand);
        began.pictures = o.pictures;
        return RunPlan(plan, began, o, shown, program, stop);
    }
    CheckFolderGiven(o, o.model, "tolerance test");
    CheckJitterOptions(o);
    if (o.frequency) return RunCase(o, command, program.parent_path() / "amisim-worker", stop);
    const auto mask = JitterLink(o, GivenModel(command)).Mask(FrequencyMask::Kind::kTolerance);
    Plan plan = NewJitterPlan(o, command, kName);
    plan.axes = {FrequencyAxis(o.frequencies.empty() ? DefaultFrequencies(o.signal.bitRate, 2, mask)
                                                     : o.frequencies)};
    return RunPlan(plan, o, o, ShownFolder(plan, o.model), program, stop);
}

}  // namespace amisim
