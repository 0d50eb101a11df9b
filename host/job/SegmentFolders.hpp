#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <vector>

#include "host/results/OutputFolder.hpp"

namespace amisim {

/// The model may write these at any time. Where there is no room even for the list, the numbers are
/// still to be told.
void ClaimLogs(OutputFolder& folder);

/// A segment that others follow leaves what a run of its own would, in a folder of its own below
/// the run's. Makes these, in the link's order; what an earlier run has left there goes, and so
/// does that of more segments.
/// @param inputs  that no file may be written over
std::vector<std::unique_ptr<OutputFolder>> MakeSegmentFolders(
    const std::filesystem::path& folder, std::size_t count,
    const std::vector<std::filesystem::path>& inputs);

}  // namespace amisim
