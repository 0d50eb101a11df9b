#include <atomic>
#include <csignal>
#include <optional>
#include <sstream>

#include "host/cli/Commands.hpp"
#include "host/cli/Heap.hpp"
#include "host/cli/Terminal.hpp"

using namespace amisim;

namespace {

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
    PrepareHeap();
    Commands commands;
    CLI::App& app = commands.App();
    std::optional<ExitCode> answered;
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        answered = Answer(app, error);
    } catch (const Error& error) {
        return Report(error.Code(), error.what());
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
        const ExitCode code = answered ? *answered : commands.Do(program, g_stop);
        CheckOutput();
        return static_cast<int>(code);
    } catch (const Error& error) {
        return Report(error.Code(), error.what());
    } catch (const std::exception& error) {
        return Report(ExitCode::kInternal, fmt::format("internal error: {}", error.what()));
    }
}
