#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace amisim {

/// A symbol by the number of its level, from 0 for the lowest; of NRZ it is the bit.
using Symbol = std::uint8_t;

/// The levels that a symbol may have, and where a receiver tells them apart. NRZ unless told.
struct Modulation
{
    std::vector<double> levels = {-1, 1};  // sent, in units of the amplitude, rising
    std::vector<double> thresholds = {0};  // received, V, rising; one between each two levels

    Symbol Decide(double voltage) const
    {
        const auto above = [voltage](double threshold) { return voltage > threshold; };
        return static_cast<Symbol>(std::ranges::count_if(thresholds, above));
    }
};

}  // namespace amisim
