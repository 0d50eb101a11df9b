#include "host/cli/TransferCommand.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/cli/Terminal.hpp"
#include "host/jitter/Frequency.hpp"
#include "host/jitter/TransferReport.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* kName = "transfer";

// Bits that count, at least: with a sine, and without one, where the lowest frequencies of the
// band must be told apart.
constexpr std::int64_t kBits = 200'000, kGenerationBits = 1 << 19;

constexpr const char* kFooter = R"(
Examples:
  amisim transfer retimer.ibs --jitter-amplitude 0.02,0.1,0.3
  amisim transfer retimer.ibs --mask oc-192-transfer --frequencies 1e4,1e5,1e6,1e7
  amisim transfer transfer                     go on with the test in the folder "transfer"

A sine is put on the data's edges and looked for in the model's clock times: gain and phase by least
squares over whole periods, five at least. A loop that knows early and late alone answers larger
sines with less gain, so the amplitude belongs to the result. One run without a sine gives the
jitter generation. All other options are those of amisim run.

A mask is a name (docs/jitter.md lists them) or a file of lines "frequency in Hz, gain in dB".

Files in the output folder:
  transfer.html, transfer.png    gain and phase (--pictures: svg, pdf)
  transfer.json, transfer.csv    the same as numbers
  cases/0001-...                 a folder for each point, with run.log

Exit codes: those of amisim run, and
  9 some points have no result      10 the mask is not met
)";

const OutputFolder::Kind& TransferFolder()
{
    static const OutputFolder::Kind kind = {
        "transfer",
        {"plan.json", "transfer.json", "transfer.csv", "transfer.html", "transfer.png",
         "transfer.svg", "transfer.pdf", "slurm/job.sh"}};
    return kind;
}

/// Those of the plan but all without a sine after the first, which were the same.
std::vector<Case> CasesOfTransfer(const Plan& plan, const GridOptions& o)
{
    std::vector<Case> cases = CasesOf(plan, o);
    const std::string& first = plan.axes.at(0).values.at(0);
    std::erase_if(cases,
                  [&](const Case& c) { return c.values.at(0) != first && c.values.at(1) == "0"; });
    return cases;
}

ExitCode RunCase(const TransferOptions& o, const CLI::App& command, const fs::path& worker,
                 const std::atomic<bool>& stop)
{
    JitterLink link(o, GivenModel(command));
    OutputFolder folder(o.out, JitterCaseFolder(), OutputFolder::Use::kAlone, link.Files());
    const auto segmentFolders = link.Clean(folder);
    const TriedLink tried = link.In(folder, worker, stop);
    const double amplitude = o.amplitudes.at(0);
    const bool sine = *o.frequency > 0;
    const ClockTrial trial =
        WatchClock(tried, *o.frequency, amplitude, sine ? kBits : kGenerationBits);
    Json result = sine
                      ? ToJson(TransferOf(trial, *o.frequency, amplitude))
                      : Json{{"frequency_hz", 0},
                             {"bits", trial.compared},
                             {"generation",
                              ToJson(GenerationOf(trial, o.signal.bitRate, o.band[0], o.band[1]))}};
    result["settle_bits"] = SettleBits(tried);
    folder.Write("result.json", ToText(result, 2) + "\n", true);
    return ExitCode::kOk;
}

JitterTransfer Gather(const TransferOptions& o, const JitterLink& link, const Plan& plan)
{
    JitterTransfer transfer;
    transfer.model = link.ModelNames();
    transfer.signal = link.SignalText();
    transfer.signalJson = link.SignalsJson();
    transfer.mask = link.Mask(FrequencyMask::Kind::kTransfer);
    transfer.amplitudes = o.amplitudes;
    for (const Case& c : CasesOfTransfer(plan, {})) {
        const auto result = OutcomeOf(plan, c);
        if (!result) {
            ++transfer.missing;
            continue;
        }
        transfer.settleBits = result->at("settle_bits");
        if (result->contains("generation"))
            transfer.generation = GenerationFrom(result->at("generation"));
        else
            transfer.points.push_back(TransferPointOf(*result));
    }
    return transfer;
}

ExitCode Report(const JitterTransfer& transfer, const Plan& plan, const PictureFormats& pictures,
                OutputFolder& folder, const fs::path& shown)
{
    Print("{}: {}\n{}", transfer.model, transfer.signal, ToTable(transfer));
    PrintFailures(plan, CasesOfTransfer(plan, {}));
    folder.Put("transfer.json", ToText(ToJson(transfer), 2) + "\n");
    folder.Put("transfer.csv", ToCsv(transfer));
    PutReport(folder, kName, TransferPage(transfer, pictures), kName, TransferPicture(transfer),
              pictures, shown);
    Print("Report: {}\n", (shown / "transfer.html").string());
    if (transfer.missing > 0) return ExitCode::kCasesFailed;
    return transfer.MeetsMask() == false ? ExitCode::kMaskMissed : ExitCode::kOk;
}

ExitCode RunPlan(const Plan& plan, const TransferOptions& o, const GridOptions& grid,
                 const fs::path& shown, const fs::path& program, const std::atomic<bool>& stop)
{
    const JitterLink link(o, plan.model);
    const auto report = [&](OutputFolder& folder) {
        return Report(Gather(o, link, plan), plan, o.pictures, folder, shown);
    };
    return RunJitterGrid({plan, TransferFolder(), shown, link.ModelFiles(), link.Files(), report},
                         CasesOfTransfer(plan, grid), grid, program, stop);
}

Setting AmplitudeAxis(const std::vector<double>& amplitudes)
{
    Setting axis{"jitter-amplitude", false, {}, "--jitter-amplitude"};
    for (const double amplitude : amplitudes) axis.values.push_back(fmt::format("{}", amplitude));
    return axis;
}

}  // namespace

CLI::App* AddTransferCommand(CLI::App& app, TransferOptions& o)
{
    CLI::App* const command = AddJitterCommand(
        app, o, kName, "Find what a model's recovered clock makes of jitter, over frequency",
        kFooter);
    const char* const group = "Test";
    command->add_option("--mask", o.mask, "Limit of the gain to test against: a name or a file")
        ->type_name("NAME|FILE")
        ->group(group);
    command
        ->add_option("--jitter-amplitude", o.amplitudes,
                     "Amplitude of the sine that is put in, UI peak; several make a family")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::Range(1e-6, 1e3).description(""))
        ->capture_default_str()
        ->type_name("UI,...")
        ->group(group);
    command
        ->add_option("--generation-band", o.band,
                     "Band of the jitter generation: lowest and highest frequency, Hz")
        ->delimiter(',')
        ->expected(2)
        ->allow_extra_args(false)
        ->check(CLI::Range(0.0, 1e12).description(""))
        ->capture_default_str()
        ->type_name("HZ,HZ")
        ->group(group);
    return command;
}

ExitCode RunTransfer(const TransferOptions& o, const CLI::App& command, const fs::path& program,
                     const std::atomic<bool>& stop)
{
    if (fs::is_directory(o.model)) {
        const Plan plan = ReadPlanOf(o.model, kName);
        const fs::path shown = ShownFolder(plan, o.model);
        EnterBase(plan);
        TransferOptions began = OptionsOf(plan, AddTransferCommand);
        began.pictures = o.pictures;
        began.amplitudes.clear();
        for (const std::string& value : plan.axes.at(0).values)
            began.amplitudes.push_back(std::stod(value));
        return RunPlan(plan, began, o, shown, program, stop);
    }
    CheckFolderGiven(o, o.model, "transfer test");
    CheckJitterOptions(o);
    if (o.frequency) return RunCase(o, command, program.parent_path() / "amisim-worker", stop);
    const auto mask = JitterLink(o, GivenModel(command)).Mask(FrequencyMask::Kind::kTransfer);
    Plan plan = NewJitterPlan(o, command, kName);
    plan.axes = {AmplitudeAxis(o.amplitudes),
                 FrequencyAxis(o.frequencies.empty() ? DefaultFrequencies(o.signal.bitRate, 3, mask)
                                                     : o.frequencies)};
    return RunPlan(plan, o, o, ShownFolder(plan, o.model), program, stop);
}

}  // namespace amisim
