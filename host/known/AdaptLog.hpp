#pragma once

#include <filesystem>
#include <optional>
#include <vector>

namespace amisim {

/// The adaptation log that a model leaves in its working folder as "Adapt.txt": a line for each eye
/// measurement, and one for the beginning and end of each phase.
struct AdaptLog
{
    struct Measurement
    {
        int level;
        int taps[5];
        int horizontal, vertical, range;  // HEO, VEO and range index
        bool lockPhase;                   // made while adapting until the clock locks
    };
    std::vector<Measurement> measurements;
    int requests = 0;       // eye measurements asked for, the one still under way included
    bool finished = false;  // the last measurement asked for no other

    /// The level that the last measurement was made at.
    std::optional<int> Level() const;
};

/// Reads the log; nothing if there is no such file, if it is empty or if it is not of this kind.
std::optional<AdaptLog> ReadAdaptLog(const std::filesystem::path& path);

}  // namespace amisim
