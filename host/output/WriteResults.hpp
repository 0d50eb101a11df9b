#pragma once

#include <filesystem>

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// Removes what an earlier run has left in the folder: its results, and the model's logs, which
/// models append to.
void RemoveResults(const std::filesystem::path& folder);

/// Writes whatever shows the result into the output folder: pictures, tables, the page, and last
/// result.json, by renaming, so that its presence means that the rest is complete. Adds the names
/// of all result files in the folder, the model's logs included, to `result.files`.
/// @throws Error (kInput) when a file cannot be written
void WriteResults(RunResult& result, const RunOptions& options, const ModelSource& model);

}  // namespace amisim
