#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

#include "host/analysis/Findings.hpp"

namespace amisim {

/// The eye histograms that a model logged in its working folder as "EOM.txt", in the order in which
/// it made them.
struct EomLog
{
    std::vector<LoggedEye> eyes;
    bool more = false;  // there were more than are kept
};

/// Reads the log: for each eye a heading and 64 lines of 64 counts, the highest voltage first. One
/// that is cut off is left out. No eyes when there is no such file or nothing of this kind in it.
/// @param most  eyes to keep
EomLog ReadEomLog(const std::filesystem::path& path, std::size_t most);

}  // namespace amisim
