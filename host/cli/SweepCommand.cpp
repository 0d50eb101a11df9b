#include "host/cli/SweepCommand.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <thread>

#include "host/cli/Terminal.hpp"
#include "host/options/RunCommand.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/results/ResultJson.hpp"
#include "host/sweep/RunSyntax.hpp"
#include "host/sweep/Runner.hpp"
#include "host/sweep/Slurm.hpp"
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
always a parameter. Waveforms are saved only with save-wave among the options.

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
        return ReadSweepFolder(o.what);
    }
    if (o.what.extension() == ".toml") {
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

void CheckFolder(const fs::path& out)
{
    if (fs::exists(out) && !fs::is_directory(out))
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: is a file, expected a folder", out.string()));
}

/// All that the sweep reads.
std::vector<fs::path> InputsOf(const fs::path& what, const std::vector<Case>& cases,
                               const Fingerprints& fingerprints)
{
    std::set<fs::path> files;
    if (!fs::is_directory(what)) files.insert(what);
    for (const auto& c : cases) {
        const auto read = fingerprints.FilesOf(c);
        files.insert(read.begin(), read.end());
    }
    return {files.begin(), files.end()};
}

/// The cases still to be run.
std::vector<const Case*> Remaining(const Plan& plan, const std::vector<Case>& cases,
                                   Fingerprints& fingerprints, bool retryFailed)
{
    std::vector<const Case*> remaining;
    for (const auto& c : cases) {
        const auto record = ReadRecord(plan.out / c.folder, c);
        const bool done = record && record->inputs == fingerprints.Of(c) &&
                          (record->exitCode == 0 || !retryFailed) &&
                          (record->exitCode != 0 || ReadResult(plan.out / c.folder));
        if (!done) remaining.push_back(&c);
    }
    return remaining;
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
    folder.Put("report.html", SweepPage(table, pictures));
    for (const PictureFormat format : kPictureFormats) {
        const std::string name = fmt::format("sweep.{}", Name(format));
        if (std::ranges::find(pictures, format) != pictures.end())
            folder.Put(name, SweepPicture(table).File(format));
        else
            folder.Remove(name);
    }
    if (const std::string dropped = folder.Dropped(); !dropped.empty())
        throw Error(ExitCode::kInput, fmt::format("{}: not written: {}", shown.string(), dropped));
    Print("Table:  {}\nReport: {}\n", (shown / "table.csv").string(),
          (shown / "report.html").string());
    return table.Count(Row::Status::kOk) == std::ssize(table.rows) ? ExitCode::kOk
                                                                   : ExitCode::kCasesFailed;
}

std::string ShellWord(const fs::path& path)
{
    const std::string text = path.string();
    const bool plain = text.find_first_not_of(
                           "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                           "0123456789_./+-=") == std::string::npos;
    return plain ? text : Quoted(text);
}

int CpuCount()
{
    return static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
}

}  // namespace

CLI::App* AddSweepCommand(CLI::App& app, SweepOptions& o)
{
    auto* sweep = app.add_subcommand("sweep",
                                     "Run a model over a grid of settings; options of amisim run "
                                     "stand after --");
    sweep->footer(kFooter);
    sweep
        ->add_option("what", o.what,
                     "A plan (.toml), a model (.ibs, .ami, .so), or the folder of a sweep to go "
                     "on with")
        ->required()
        ->type_name("PLAN|MODEL|FOLDER");
    sweep->add_option("run-options", o.runOptions, "After --: options of amisim run for all cases")
        ->type_name("...");
    sweep->add_option("--model", o.modelName, "The [Model] of an .ibs that holds several")
        ->type_name("NAME");
    sweep->add_option("-g,--grid", o.grids, "An axis: a list 6,10,14 or a range 0:31 or 0:2:10")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUES");
    sweep->add_option("-o,--out", o.out, "Output folder [the plan's, else sweep]")
        ->type_name("DIR");
    sweep->add_option("-j,--jobs", o.jobs, "Cases at a time [all cores; in a Slurm task 1]")
        ->check(CLI::Range(1, 4096).description(""))
        ->type_name("N");
    AddPicturesOption(*sweep, o.pictures);
    sweep->add_flag("--retry-failed", o.retryFailed, "Run failed cases again");
    sweep->add_flag("--dry-run", o.dryRun,
                    "Check everything and list the cases (with --slurm: write the script), but "
                    "run nothing");
    auto* collect = sweep->add_flag("--collect", o.collect,
                                    "Write table and report of what has been run in FOLDER so far");

    const char* const group = "Slurm";
    auto* slurm = sweep->add_flag("--slurm", o.slurm, "Submit the cases as a job array");
    slurm->group(group)->excludes(collect);
    sweep->add_option("--chunk", o.chunk, "Cases a task")
        ->check(CLI::Range(1, 100'000).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(group);
    sweep->add_option("--partition", o.partition, "Partition to submit to")
        ->needs(slurm)
        ->type_name("NAME")
        ->group(group);
    sweep
        ->add_option("--sbatch-option", o.sbatchOptions,
                     "A further option of sbatch, such as --sbatch-option=--mem=2G; may be "
                     "repeated")
        ->allow_extra_args(false)
        ->needs(slurm)
        ->type_name("OPTION")
        ->group(group);
    sweep->add_option("--task", o.task, "Run the cases of this task of FOLDER, as the script does")
        ->check(CLI::Range(1, 100'000).description(""))
        ->excludes(slurm)
        ->excludes(collect)
        ->type_name("ID")
        ->group(group);
    return sweep;
}

ExitCode RunSweep(const SweepOptions& o, const fs::path& program, const std::atomic<bool>& stop)
{
    if ((o.collect || o.task) && !fs::is_directory(o.what)) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: {} needs the folder of a sweep", o.what.string(),
                                o.collect ? "--collect" : "--task"));
    }
    Plan plan = MakePlan(o);
    // As the user would name it from where the command was given.
    const fs::path out =
        fs::is_directory(o.what) ? o.what : plan.out.lexically_proximate(fs::current_path());

    if (o.collect) {
        OutputFolder folder(plan.out, SweepFolder(), OutputFolder::Use::kWithoutLock, {});
        return Report(Collect(plan, Expand(plan)), o.pictures, folder, out);
    }

    const fs::path what = fs::absolute(o.what);
    std::error_code error;
    fs::current_path(plan.base, error);
    if (error) {
        throw Error(ExitCode::kInput, fmt::format("{}: the folder that the sweep's paths start "
                                                  "from: {}",
                                                  plan.base.string(), error.message()));
    }
    const RunSyntax syntax(plan);
    syntax.Check(plan);
    std::vector<Case> cases = Expand(plan);
    if (o.task) {
        std::erase_if(cases,
                      [&](const Case& c) { return (c.number - 1) / o.chunk + 1 != *o.task; });
    }
    for (const auto& c : cases) syntax.CheckCase(c.arguments, c.name);
    Fingerprints fingerprints(syntax.ModelFiles());

    if (o.dryRun && !o.slurm) {
        for (const auto& c : cases) Print("{} {}\n", c.number, c.name);
        const auto remaining = Remaining(plan, cases, fingerprints, o.retryFailed);
        Print("{} cases, {} of them to be run in {}\n", cases.size(), remaining.size(),
              out.string());
        return ExitCode::kOk;
    }

    const SlurmJob job{program,       plan.base,   plan.out,       o.chunk, o.jobs.value_or(1),
                       o.retryFailed, o.partition, o.sbatchOptions};
    if (o.slurm) job.Check();
    CheckFolder(plan.out);
    using Use = OutputFolder::Use;
    OutputFolder folder(plan.out, SweepFolder(), o.task ? Use::kBesideOthers : Use::kAlone,
                        InputsOf(what, cases, fingerprints));
    Runner runner({program, plan.model, plan.out, o.jobs.value_or(o.task ? 1 : CpuCount())},
                  fingerprints, stop);
    if (o.task) {
        const int failed = runner.Run(Remaining(plan, cases, fingerprints, o.retryFailed));
        return stop ? ExitCode::kInterrupted : failed > 0 ? ExitCode::kCasesFailed : ExitCode::kOk;
    }

    folder.Write("plan.json", ToJson(plan).dump(2) + "\n");
    if (const int strangers = AdoptEarlierCases(plan.out, cases)) {
        Print("{} folders in {} belong to an earlier plan and are left as they are\n", strangers,
              (out / "cases").string());
    }
    const auto remaining = Remaining(plan, cases, fingerprints, o.retryFailed);
    if (o.slurm && !remaining.empty()) {
        fs::create_directories(plan.out / "slurm");
        folder.Write("slurm/job.sh", job.Script(remaining));
        if (o.dryRun)
            Print("{} cases to be run; the script is {}\n", remaining.size(),
                  (out / "slurm" / "job.sh").string());
        else
            Print("{} cases submitted as job {}\n", remaining.size(),
                  Submit(plan.out / "slurm" / "job.sh"));
        Print("Collect what has been run, at any time: amisim sweep --collect {}\n",
              ShellWord(out));
        return ExitCode::kOk;
    }
    if (remaining.size() < cases.size()) {
        Print("{} of {} cases have been run before\n", cases.size() - remaining.size(),
              cases.size());
    }
    FlushOutput();
    runner.Run(remaining);
    const ExitCode code = Report(Collect(plan, cases), o.pictures, folder, out);
    if (!stop) return code;
    Print("Interrupted. To go on: amisim sweep {}\n", ShellWord(out));
    return ExitCode::kInterrupted;
}

}  // namespace amisim
