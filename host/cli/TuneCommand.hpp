#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/GridRun.hpp"
#include "host/options/RunOptions.hpp"

namespace amisim {

/// What a search for the best settings is asked for, besides what a run is.
struct TuneOptions : RunOptions, GridOptions
{
    std::vector<std::string> over;
    std::string figure = "height@1e-12";
    int confirm = 3;                          // so many of the best are run bit by bit
    std::optional<std::int64_t> confirmBits;  // absent: 100,000, or --bits if that is more
    std::optional<std::string> adaptation;    // "NAME=OFF,ON", "none"; absent: as known
};

/// Defines `amisim tune`.
CLI::App* AddTuneCommand(CLI::App& app, TuneOptions& options);

/// Runs a grid of settings, then the best of them bit by bit and the model's own adaptation.
/// @param command  as it was parsed
/// @param program  amisim itself; amisim-worker stands beside it
/// @return kOk, kCasesFailed or kInterrupted
/// @throws Error for whatever is found before the first case
ExitCode RunTune(const TuneOptions& options, const CLI::App& command,
                 const std::filesystem::path& program, const std::atomic<bool>& stop);

}  // namespace amisim
