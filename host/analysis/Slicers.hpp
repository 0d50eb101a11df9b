#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "host/signal/Modulation.hpp"

namespace amisim {

/// Where a receiver tells symbols apart: one slicer between each two levels, the lowest first.
/// NRZ's unless told.
struct Slicers
{
    std::vector<double> thresholds = {0};  // V, rising
    std::vector<double> late = {0};        // UI behind the instant at which data are sampled

    bool operator==(const Slicers&) const = default;

    double Furthest() const  // of the instants, UI
    {
        double furthest = 0;
        for (const double by : late) furthest = std::max(furthest, std::abs(by));
        return furthest;
    }
};

}  // namespace amisim
