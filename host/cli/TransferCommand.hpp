#pragma once

#include <CLI/CLI.hpp>
#include <atomic>
#include <filesystem>
#include <optional>
#include <vector>

#include "host/cli/JitterCommand.hpp"

namespace amisim {

/// What a measurement of jitter transfer is asked for.
struct TransferOptions : JitterOptions
{
    std::vector<double> amplitudes = {0.1};  // UI peak
    std::vector<double> band = {5e4, 8e7};   // Hz, of the jitter generation
};

/// Defines `amisim transfer`.
CLI::App* AddTransferCommand(CLI::App& app, TransferOptions& options);

/// Finds what a model's recovered clock makes of sinusoidal jitter, over frequency.
/// @param command  as it was parsed
/// @param program  amisim itself; amisim-worker stands beside it
/// @return kOk, kMaskMissed, kCasesFailed or kInterrupted
/// @throws Error for whatever is found before the first trial
ExitCode RunTransfer(const TransferOptions& options, const CLI::App& command,
                     const std::filesystem::path& program, const std::atomic<bool>& stop);

}  // namespace amisim
