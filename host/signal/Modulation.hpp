#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace amisim {

/// A symbol by the number of its level, from 0 for the lowest; of NRZ it is the bit.
using Symbol = std::uint8_t;

inline constexpr int kMostLevels = 16;

/// "NRZ", "PAM4"
inline std::string ModulationName(int levels)
{
    return levels == 2 ? "NRZ" : "PAM" + std::to_string(levels);
}

/// The levels that a symbol may have. NRZ unless told.
struct Modulation
{
    std::vector<double> levels = {-1, 1};  // sent, in units of the amplitude, rising
    std::vector<double> thresholds = {0};  // received, V, rising; one between each two levels

    /// Levels evenly spaced from -1 to 1, and thresholds between them.
    static Modulation Of(int levels)
    {
        Modulation even{{}, {}};
        for (int i = 0; i < levels; ++i) even.levels.push_back(2.0 * i / (levels - 1) - 1);
        for (int i = 0; i + 1 < levels; ++i)
            even.thresholds.push_back((2.0 * i + 1) / (levels - 1) - 1);
        return even;
    }
};

}  // namespace amisim
