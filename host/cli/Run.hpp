#pragma once

#include <atomic>
#include <filesystem>

#include "base/Error.hpp"
#include "host/options/RunOptions.hpp"

namespace amisim {

/// Runs a simulation, prints what was found and leaves it in the output folder.
/// @param worker  amisim-worker, for the model
/// @param stop    true ends the run; what there was until then is written
/// @throws Error for what keeps it from being begun
ExitCode Run(const RunOptions& options, const std::filesystem::path& worker,
             const std::atomic<bool>& stop);

}  // namespace amisim
