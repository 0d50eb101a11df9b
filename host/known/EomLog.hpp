#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

namespace amisim {

/// One eye that the model measured itself and logged: 64 amplitude rows of 64 phase bins.
struct LoggedEye
{
    std::vector<std::uint32_t> hits;  // row by row, the top (highest voltage) first
};

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
