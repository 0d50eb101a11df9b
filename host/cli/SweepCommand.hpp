#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/cli/GridRun.hpp"
#include "host/pictures/Picture.hpp"

namespace amisim {

/// What a sweep is asked for.
struct SweepOptions : GridOptions
{
    std::filesystem::path what;  // a plan, a model, or the folder of a sweep
    std::string modelName;       // of the [Model] in an .ibs; empty: its only one
    std::vector<std::string> grids, runOptions;
    std::optional<std::filesystem::path> out;
    PictureFormats pictures = {PictureFormat::kPng};  // of the sweep itself
};

/// Defines `amisim sweep`.
CLI::App* AddSweepCommand(CLI::App& app, SweepOptions& options);

/// Runs a grid of cases, or hands them to Slurm, or collects what has been run of them.
/// @param program  amisim itself, which every case is run with
/// @param stop     ends the sweep in good order when it turns true
/// @return kOk, kCasesFailed or kInterrupted
/// @throws Error for whatever is found before the first case runs
ExitCode RunSweep(const SweepOptions& options, const std::filesystem::path& program,
                  const std::atomic<bool>& stop);

}  // namespace amisim
