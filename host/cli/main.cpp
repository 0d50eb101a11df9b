#include <atomic>
#include <csignal>
#include <sstream>

#include "host/cli/CheckCommand.hpp"
#include "host/cli/CompareCommand.hpp"
#include "host/cli/Completion.hpp"
#include "host/cli/ParamsCommand.hpp"
#include "host/cli/Run.hpp"
#include "host/cli/SweepCommand.hpp"
#include "host/cli/Terminal.hpp"
#include "host/options/RunCommand.hpp"

using namespace amisim;

namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim params retimer.ibs
  amisim check --run retimer.ibs
  amisim run retimer.ibs --bits 20000 --loss 10 --out result
  amisim sweep retimer.ibs --grid EQ_Level=0:31 --grid loss=6,10,14 --out levels -- -p CTLEAdapt=0
  amisim compare levels/cases/0001-* levels/cases/0096-*
  amisim run --help
)";

std::atomic<bool> g_stop{false};

int Report(ExitCode code, const std::string& text)
{
    PrintError("amisim: {}\n", text);
    return static_cast<int>(code);
}

/// Prints the help that was asked for, or what is wrong with the command line.
ExitCode Answer(const CLI::App& app, const CLI::ParseError& error)
{
    std::ostringstream out, err;
    const int code = app.exit(error, out, err);
    Print("{}", out.str());
    PrintError("{}", base::Shortened(err.str(), kLongestPrinted));
    return code == 0 ? ExitCode::kOk : ExitCode::kUsage;
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): memory may fail while the options are set up
int main(int argc, char** argv)
{
    CLI::App app("A channel simulator for IBIS-AMI models", "amisim");
    app.set_version_flag("--version", "amisim " AMISIM_VERSION);
    app.footer(kFooter);
    app.require_subcommand(0, 1);
    RunOptions runOptions;
    SweepOptions sweepOptions;
    CheckOptions checkOptions;
    CompareOptions compareOptions;
    ParamsOptions paramsOptions;
    std::string shell;
    AddRunCommand(app, runOptions);
    const CLI::App* sweep = AddSweepCommand(app, sweepOptions);
    const CLI::App* check = AddCheckCommand(app, checkOptions);
    const CLI::App* compare = AddCompareCommand(app, compareOptions);
    const CLI::App* params = AddParamsCommand(app, paramsOptions);
    const CLI::App* completion = AddCompletionCommand(app, shell);
    std::optional<ExitCode> answered;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        answered = Answer(app, error);
    }
    if (!answered && app.get_subcommands().empty()) {
        PrintError("{}", app.help());
        answered = ExitCode::kUsage;
    }

    struct sigaction action
    {
    };
    action.sa_handler = [](int) { g_stop = true; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second Ctrl-C ends the program at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    // A file that grows past the limit set for files is one that cannot be written. A handler,
    // other than ignoring, is not handed on to the programs that are started.
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGXFSZ, &action, nullptr);
    try {
        const auto program = std::filesystem::read_symlink("/proc/self/exe");
        const auto worker = program.parent_path() / "amisim-worker";
        ExitCode code = ExitCode::kOk;
        if (answered)
            code = *answered;
        else if (sweep->parsed())
            code = RunSweep(sweepOptions, program, g_stop);
        else if (check->parsed())
            code = RunCheck(checkOptions, worker, g_stop);
        else if (compare->parsed())
            code = Compare(compareOptions);
        else if (params->parsed())
            code = ListParameters(paramsOptions);
        else if (completion->parsed())
            Print("{}", CompletionScript(app, shell));
        else
            code = Run(runOptions, worker, g_stop);
        CheckOutput();
        return static_cast<int>(code);
    } catch (const Error& error) {
        return Report(error.Code(), error.what());
    } catch (const std::exception& error) {
        return Report(ExitCode::kInternal, fmt::format("internal error: {}", error.what()));
    }
}
