#pragma once

#include <atomic>
#include <filesystem>

#include "host/Error.hpp"
#include "host/cli/RunOptions.hpp"

namespace amisim {

/// `amisim run`: drives the model with the signal asked for, block by block, while the previous
/// blocks are analysed; writes the results into the output folder and the table to standard output.
/// Memory does not depend on the number of bits.
/// @param worker  the program to start as the model's process: amisim itself
/// @param stop    ends the run in good order when it turns true
/// @return kOk, or how the model failed; what it computed until then has been written
/// @throws Error for whatever is found before the model runs
ExitCode Run(const RunOptions& options, const std::filesystem::path& worker,
             const std::atomic<bool>& stop);

}  // namespace amisim
