#include "host/cli/SweepCommand.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/cli/Terminal.hpp"
#include "host/options/LinkFile.hpp"
#include "host/options/RunCommand.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/results/ResultJson.hpp"
#include "host/sweep/RunSyntax.hpp"
#include "host/sweep/SweepReport.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFooter = R"(
Examples:
  amisim sweep retimer.ibs --grid EQ_Level=0:31 --grid loss=6,10,14 -- --bits 20000 -p CTLEAdapt=0
  amisim sweep plan.toml --jobs 4
  amisim sweep sweep --retry-failed            go on with the sweep in the folder "sweep"
  amisim sweep plan.toml --slurm --chunk 10    hand it to Slurm as a job array
  amisim sweep --collect sweep                 table and report of what has been run so far

A plan, with paths relative to its folder:
  model = "retimer.ibs"
  out = "levels"
  [run]                 # options of amisim run, by their long names
  bits = 20000
  model = "RX"          # of an .ibs with several: the [Model]
  [param]               # parameters of the model
  CTLEAdapt = 0
  [grid]                # axes: options or parameters; the last one varies fastest
  loss = [6, 10, 14]
  EQ_Level = "0:31"     # start:stop, or start:step:stop

An axis is an option of amisim run (see its --help), else a parameter of the model; param.NAME is
always a parameter, 2.loss or 1.rx.set.EQ_Level a value of one segment of a link. Waveforms are
saved only with save-wave among the options.

Files in the output folder:
  table.csv, table.json  one row a case: axes, results, status and why it failed
  report.html, sweep.png eye height, eye width and bit errors over the grid
  cases/0001-...         the output folder of each case, with run.log

A case that has been run with the same arguments and files is not run again; failed ones are with
--retry-failed.

Exit codes: those of amisim run, and
  9 some cases failed or, with --collect, are missing
)";

const OutputFolder::Kind& SweepFolder()
{
    static const OutputFolder::Kind kind = {
        "sweep",
        {"plan.json", "table.csv", "table.json", "report.html", "sweep.png", "sweep.svg",
         "sweep.pdf", "slurm/job.sh"}};
    return kind;
}

/// The plan that the options name, with nothing in it checked against the model yet.
Plan MakePlan(const SweepOptions& o)
{
    Plan plan;
    if (fs::is_directory(o.what)) {
        if (!o.grids.empty() || !o.runOptions.empty() || o.out || !o.modelName.empty()) {
            throw Error(ExitCode::kUsage,
                        fmt::format("{}: a sweep goes on with the plan it began with: for another "
                                    "grid, other options or another folder name the model or the "
                                    "plan again",
                                    o.what.string()));
        }
        return ReadPlanOf(o.what, "run");
    }
    if (o.what.extension() == ".toml" && !IsLinkFile(o.what)) {
        plan = ReadPlanFile(o.what);
    } else {
        plan.base = fs::current_path();
        plan.model = o.what.string();
        plan.out = plan.base / "sweep";
    }
    if (!o.modelName.empty()) {
        std::erase_if(plan.fixed, [](const Setting& s) { return s.name == "model"; });
        plan.fixed.push_back({"model", false, {o.modelName}, "--model " + o.modelName});
    }
    if (o.out) plan.out = fs::absolute(*o.out).lexically_normal();
    for (const auto& text : o.grids) plan.SetAxis(ParseGrid(text));
    plan.options.insert(plan.options.end(), o.runOptions.begin(), o.runOptions.end());
    return plan;
}

/// Says how it went and writes table and report.
/// @return kOk, kCasesFailed, or kInput when something could not be written
ExitCode Report(const Table& table, const PictureFormats& pictures, OutputFolder& folder,
                const fs::path& shown)
{
    const int failed = table.Count(Row::Status::kFailed);
    Print("{} cases: {} ok, {} failed, {} missing\n", table.rows.size(),
          table.Count(Row::Status::kOk), failed, table.Count(Row::Status::kMissing));
    if (const std::string unranked = table.Unranked(); !unranked.empty())
        Print("  not ranked: {}\n", unranked);
    if (const int adapting = table.Adapting())
        Print("  adapting in bits that are counted: {}\n", adapting);
    constexpr int kMostListed = 20;
    int listed = 0;
    for (const auto& row : table.rows) {
        if (row.status != Row::Status::kFailed || listed++ >= kMostListed) continue;
        Print("  {} {}: {}\n", row.aCase.number, row.aCase.name, row.reason);
    }
    if (listed > kMostListed) Print("  and {} more: see table.csv\n", listed - kMostListed);
    FlushOutput();
    folder.Put("table.csv", table.ToCsv());
    folder.Put("table.json", ToText(table.ToJson(), 2) + "\n");
    PutReport(folder, "report", SweepPage(table, pictures, {table.Metrics()}), "sweep",
              SweepPicture(table, table.Metrics()), pictures, shown);
    Print("Table:  {}\nReport: {}\n", (shown / "table.csv").string(),
          (shown / "report.html").string());
    return table.Count(Row::Status::kOk) == std::ssize(table.rows) ? ExitCode::kOk
                                                                   : ExitCode::kCasesFailed;
}

}  // namespace

CLI::App* AddSweepCommand(CLI::App& app, SweepOptions& o)
{
    auto* sweep = app.add_subcommand("sweep",
                                     "Run a model over a grid of settings; options of amisim run "
                                     "stand after --");
    sweep->footer(kFooter);
    sweep
        ->add_option(
            "what", o.what,
            "A plan (.toml), a model (.ibs, .ami, .so), a link (.toml), or the folder of a sweep "
            "to go on with")
        ->required()
        ->type_name("PLAN|MODEL|LINK|FOLDER");
    sweep->add_option("run-options", o.runOptions, "After --: options of amisim run for all cases")
        ->type_name("...");
    sweep->add_option("--model", o.modelName, "The [Model] of an .ibs that holds several")
        ->type_name("NAME");
    sweep->add_option("-g,--grid", o.grids, "An axis: a list 6,10,14 or a range 0:31 or 0:2:10")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUES");
    sweep->add_option("-o,--out", o.out, "Output folder [the plan's, else sweep]")
        ->type_name("DIR");
    AddPicturesOption(*sweep, o.pictures);
    AddGridOptions(*sweep, o, "table and report");
    return sweep;
}

ExitCode RunSweep(const SweepOptions& o, const fs::path& program, const std::atomic<bool>& stop)
{
    CheckFolderGiven(o, o.what, "sweep");
    Plan plan = MakePlan(o);
    const fs::path shown = ShownFolder(plan, o.what);
    if (o.collect) {
        OutputFolder folder(plan.out, SweepFolder(), OutputFolder::Use::kWithoutLock, {});
        return Report(Collect(plan, Expand(plan)), o.pictures, folder, shown);
    }

    std::vector<fs::path> inputs;
    if (!fs::is_directory(o.what)) inputs.push_back(fs::absolute(o.what));
    EnterBase(plan);
    const RunSyntax syntax(plan);
    syntax.Check(plan);
    const std::vector<Case> cases = CasesOf(plan, o);
    for (const auto& c : cases) syntax.CheckCase(c.arguments, c.name);
    const Grid grid{
        plan, SweepFolder(), shown, syntax.ModelFiles(), inputs, [&](OutputFolder& folder) {
            return Report(Collect(plan, cases), o.pictures, folder, shown);
        }};
    return RunGrid(grid, cases, o, program, stop);
}

}  // namespace amisim
