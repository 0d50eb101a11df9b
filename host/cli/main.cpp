#include <fmt/format.h>

#include <atomic>
#include <csignal>
#include <cstring>

#include "host/cli/Run.hpp"
#include "host/cli/RunCommand.hpp"
#include "host/model/ModelWorker.hpp"

using namespace amisim;

namespace {

std::atomic<bool> g_stop{false};

int Report(ExitCode code, const std::string& text)
{
    fmt::print(stderr, "amisim: {}\n", text);
    return static_cast<int>(code);
}

}  // namespace

int main(int argc, char** argv)
{
    // The model's process: this program once more, its socket and memory under fixed descriptors.
    if (argc == 2 && std::strcmp(argv[1], "_model-worker") == 0) return RunModelWorker(3, 4);

    CLI::App app("A channel simulator for IBIS-AMI models", "amisim");
    app.set_version_flag("--version", "amisim " AMISIM_VERSION);
    RunOptions options;
    AddRunCommand(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : static_cast<int>(ExitCode::kUsage);
    }

    if (app.get_subcommands().empty()) {
        fmt::print(stderr, "{}", app.help());
        return static_cast<int>(ExitCode::kUsage);
    }

    struct sigaction action
    {
    };
    action.sa_handler = [](int) { g_stop = true; };
    action.sa_flags = static_cast<int>(SA_RESETHAND);  // the second Ctrl-C ends the program at once
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    try {
        return static_cast<int>(
            Run(options, std::filesystem::read_symlink("/proc/self/exe"), g_stop));
    } catch (const Error& error) {
        return Report(error.Code(), error.what());
    } catch (const std::exception& error) {
        return Report(ExitCode::kInternal, fmt::format("internal error: {}", error.what()));
    }
}
