#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>

#include "host/cli/JitterCommand.hpp"

namespace amisim {

/// What a test of jitter tolerance is asked for.
struct ToleranceOptions : JitterOptions
{
    double ratio = 1e-5;       // bit error ratio that is tested
    double confidence = 0.95;  // of each trial's verdict
    double resolution = 0.03;  // of the amplitude
};

/// Defines `amisim tolerance`.
CLI::App* AddToleranceCommand(CLI::App& app, ToleranceOptions& options);

/// Finds the sinusoidal jitter that a model tolerates, over frequency.
/// @param command  as it was parsed
/// @param program  amisim itself; amisim-worker stands beside it
/// @return kOk, kMaskMissed, kCasesFailed or kInterrupted
/// @throws Error for whatever is found before the first trial
ExitCode RunTolerance(const ToleranceOptions& options, const CLI::App& command,
                      const std::filesystem::path& program, const std::atomic<bool>& stop);

}  // namespace amisim
