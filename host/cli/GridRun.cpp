#include "host/cli/GridRun.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>
#include <thread>

#include "base/TextFile.hpp"
#include "host/cli/Terminal.hpp"
#include "host/sweep/Runner.hpp"
#include "host/sweep/Slurm.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

void CheckFolder(const fs::path& out)
{
    if (fs::exists(out) && !fs::is_directory(out))
        throw Error(ExitCode::kUsage,
                    fmt::format("{}: is a file, expected a folder", out.string()));
}

/// All that is read.
std::vector<fs::path> InputsOf(const Grid& grid, const std::vector<Case>& cases,
                               const Fingerprints& fingerprints)
{
    std::set<fs::path> files(grid.inputs.begin(), grid.inputs.end());
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
                          (record->Ended() || !retryFailed) &&
                          (!record->Ended() || ReadResult(plan.out / c.folder));
        if (!done) remaining.push_back(&c);
    }
    return remaining;
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

/// "sweep": what the user calls to go on.
std::string CommandOf(const Plan& plan)
{
    return plan.command == "run" ? "sweep" : plan.command;
}

ExitCode SubmitGrid(const Plan& plan, const SlurmJob& job,
                    const std::vector<const Case*>& remaining, bool dryRun, OutputFolder& folder,
                    const fs::path& shown)
{
    fs::create_directories(plan.out / "slurm");
    folder.Write("slurm/job.sh", job.Script(remaining));
    if (dryRun)
        Print("{} cases to be run; the script is {}\n", remaining.size(),
              (shown / "slurm" / "job.sh").string());
    else
        Print("{} cases submitted as job {}\n", remaining.size(),
              Submit(plan.out / "slurm" / "job.sh"));
    Print("Collect what has been run, at any time: amisim {} --collect {}\n", CommandOf(plan),
          ShellWord(shown));
    return ExitCode::kOk;
}

}  // namespace

void AddGridOptions(CLI::App& command, GridOptions& o, const std::string& collected)
{
    command.add_option("-j,--jobs", o.jobs, "Cases at a time [all cores; in a Slurm task 1]")
        ->check(CLI::Range(1, 4096).description(""))
        ->type_name("N");
    command.add_flag("--retry-failed", o.retryFailed, "Run failed cases again");
    command.add_flag("--dry-run", o.dryRun,
                     "Check everything and list the cases (with --slurm: write the script), but "
                     "run nothing");
    auto* collect =
        command.add_flag("--collect", o.collect,
                         fmt::format("Write {} of what has been run in FOLDER so far", collected));

    const char* const group = "Slurm";
    auto* slurm = command.add_flag("--slurm", o.slurm, "Submit the cases as a job array");
    slurm->group(group)->excludes(collect);
    command.add_option("--chunk", o.chunk, "Cases a task")
        ->check(CLI::Range(1, 100'000).description(""))
        ->capture_default_str()
        ->type_name("N")
        ->group(group);
    command.add_option("--partition", o.partition, "Partition to submit to")
        ->needs(slurm)
        ->type_name("NAME")
        ->group(group);
    command
        .add_option("--sbatch-option", o.sbatchOptions,
                    "A further option of sbatch, such as --sbatch-option=--mem=2G; may be "
                    "repeated")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->needs(slurm)
        ->type_name("OPTION")
        ->group(group);
    command
        .add_option("--task", o.task, "Run the cases of this task of FOLDER, as the script does")
        ->check(CLI::Range(1, 100'000).description(""))
        ->excludes(slurm)
        ->excludes(collect)
        ->type_name("ID")
        ->group(group);
}

std::set<std::string> GridOptionNames()
{
    CLI::App app;
    GridOptions options;
    AddGridOptions(app, options, "");
    std::set<std::string> names;
    for (const CLI::Option* option : app.get_options())
        names.insert(option->get_lnames().begin(), option->get_lnames().end());
    return names;
}

Plan ReadPlanOf(const fs::path& folder, const std::string& command)
{
    Plan plan = ReadSweepFolder(folder);
    if (plan.command == command) return plan;
    throw Error(ExitCode::kUsage,
                fmt::format("{}: is the folder of amisim {}, which goes on with it",
                            folder.string(), CommandOf(plan)));
}

std::vector<std::string> GivenOptions(const CLI::App& command, const std::set<std::string>& without)
{
    std::vector<std::string> given;
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* option : command.parse_order()) {
        if (option->get_lnames().empty() || without.contains(option->get_lnames()[0])) continue;
        const std::string name = "--" + option->get_lnames()[0];
        const std::size_t number = taken[option]++;
        if (option->get_items_expected_max() == 0)
            given.push_back(name);
        else if (option->get_delimiter() == '\0')
            given.push_back(name + "=" + option->results().at(number));
        else if (number == 0)  // a list, whose values stand one by one
            given.push_back(name + "=" + Joined(option->results(), ","));
    }
    return given;
}

fs::path GivenModel(const CLI::App& command)
{
    return command.get_option("model")->results().at(0);
}

void CheckFolderGiven(const GridOptions& o, const fs::path& what, const std::string& grid)
{
    if ((!o.collect && !o.task) || fs::is_directory(what)) return;
    throw Error(ExitCode::kInput, fmt::format("{}: {} needs the folder of a {}", what.string(),
                                              o.collect ? "--collect" : "--task", grid));
}

fs::path ShownFolder(const Plan& plan, const fs::path& what)
{
    return fs::is_directory(what) ? what : plan.out.lexically_proximate(fs::current_path());
}

void EnterBase(const Plan& plan)
{
    std::error_code error;
    fs::current_path(plan.base, error);
    if (!error) return;
    throw Error(ExitCode::kInput,
                fmt::format("{}: the folder that the sweep's paths start from: {}",
                            plan.base.string(), error.message()));
}

std::vector<Case> CasesOf(const Plan& plan, const GridOptions& o)
{
    std::vector<Case> cases = Expand(plan);
    if (o.task) {
        std::erase_if(cases,
                      [&](const Case& c) { return (c.number - 1) / o.chunk + 1 != *o.task; });
    }
    return cases;
}

ExitCode RunGrid(const Grid& grid, const std::vector<Case>& cases, const GridOptions& o,
                 const fs::path& program, const std::atomic<bool>& stop)
{
    const Plan& plan = grid.plan;
    Fingerprints fingerprints(grid.modelFiles);
    if (o.dryRun && !o.slurm) {
        for (const auto& c : cases) Print("{} {}\n", c.number, c.name);
        const auto remaining = Remaining(plan, cases, fingerprints, o.retryFailed);
        Print("{} cases, {} of them to be run in {}\n", cases.size(), remaining.size(),
              grid.shown.string());
        return ExitCode::kOk;
    }
    const SlurmJob job{program,       CommandOf(plan), plan.base,
                       plan.out,      o.chunk,         o.jobs.value_or(1),
                       o.retryFailed, o.partition,     o.sbatchOptions};
    if (o.slurm) job.Check();
    CheckFolder(plan.out);
    using Use = OutputFolder::Use;
    OutputFolder folder(plan.out, grid.kind, o.task ? Use::kBesideOthers : Use::kAlone,
                        InputsOf(grid, cases, fingerprints));
    Runner runner(
        {program, plan.command, plan.model, plan.out, o.jobs.value_or(o.task ? 1 : CpuCount())},
        fingerprints, stop);
    if (o.task) {
        const int failed = runner.Run(Remaining(plan, cases, fingerprints, o.retryFailed));
        return stop ? ExitCode::kInterrupted : failed > 0 ? ExitCode::kCasesFailed : ExitCode::kOk;
    }

    folder.Write("plan.json", ToJson(plan).dump(2) + "\n");
    if (const int strangers = AdoptEarlierCases(plan.out, cases)) {
        Print("{} folders in {} belong to an earlier plan and are left as they are\n", strangers,
              (grid.shown / "cases").string());
    }
    const auto remaining = Remaining(plan, cases, fingerprints, o.retryFailed);
    if (o.slurm && !remaining.empty())
        return SubmitGrid(plan, job, remaining, o.dryRun, folder, grid.shown);
    if (remaining.size() < cases.size()) {
        Print("{} of {} cases have been run before\n", cases.size() - remaining.size(),
              cases.size());
    }
    FlushOutput();
    runner.Run(remaining);
    const ExitCode code = grid.report(folder);
    if (!stop) return code;
    const std::string folders = fmt::format("amisim {} {}", CommandOf(plan), ShellWord(grid.shown));
    Print("Interrupted. To go on: {}\n", grid.goOn.empty() ? folders : grid.goOn);
    return ExitCode::kInterrupted;
}

void PutReport(OutputFolder& folder, const std::string& page, const std::string& text,
               const std::string& picture, const Picture& drawn, const PictureFormats& formats,
               const fs::path& shown)
{
    folder.Put(page + ".html", text);
    for (const PictureFormat format : kPictureFormats) {
        const std::string file = fmt::format("{}.{}", picture, Name(format));
        if (std::ranges::find(formats, format) != formats.end())
            folder.Put(file, drawn.File(format));
        else
            folder.Remove(file);
    }
    if (const std::string dropped = folder.Dropped(); !dropped.empty())
        throw Error(ExitCode::kInput, fmt::format("{}: not written: {}", shown.string(), dropped));
}

}  // namespace amisim
