#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <string>

#include "host/cli/ChannelCommand.hpp"
#include "host/cli/CheckCommand.hpp"
#include "host/cli/CompareCommand.hpp"
#include "host/cli/ManPage.hpp"
#include "host/cli/ParamsCommand.hpp"
#include "host/cli/SweepCommand.hpp"
#include "host/cli/ToleranceCommand.hpp"
#include "host/cli/TransferCommand.hpp"
#include "host/cli/TuneCommand.hpp"
#include "host/options/RunCommand.hpp"

namespace amisim {

/// The command line of `amisim`: every subcommand with its options. What tells of them - help,
/// completion, the man pages, the Python module - reads these definitions.
class Commands
{
public:
    Commands();
    Commands(const Commands&) = delete;
    Commands& operator=(const Commands&) = delete;

    CLI::App& App() { return app_; }

    /// Does what the command line that App() has parsed asks for.
    /// @param program  amisim itself, with amisim-worker beside it
    /// @param stop     true ends what is under way
    /// @throws Error for what keeps it from being done
    ExitCode Do(const std::filesystem::path& program, const std::atomic<bool>& stop) const;

private:
    CLI::App app_;
    RunOptions runOptions_;
    SweepOptions sweepOptions_;
    ToleranceOptions toleranceOptions_;
    TransferOptions transferOptions_;
    TuneOptions tuneOptions_;
    CheckOptions checkOptions_;
    ChannelOptions channelOptions_;
    CompareOptions compareOptions_;
    ParamsOptions paramsOptions_;
    ManualOptions manualOptions_;
    std::string shell_;
    const CLI::App *sweep_, *tolerance_, *transfer_, *tune_, *check_, *channel_, *compare_,
        *params_, *completion_, *manual_;
};

}  // namespace amisim
