#pragma once

#include "host/statistical/EdgeSum.hpp"
#include "host/statistical/StatisticalLink.hpp"

namespace amisim {

/// Where the width of a computed eye has gone, by its causes, UI.
struct JitterParts
{
    double random = 0;  // RJ, rms: of edges and sampling instants, and noise over the slope
    double dataDependent =
        0;                 // DDJ, peak to peak whatever the symbols: 1 where that closes the eye
    double dutyCycle = 0;  // DCD: of rising from falling edges, and of even from odd ones
    double total = 0;      // TJ at `ber`: 1 less the width there
    double deterministic = 0;  // DJ: what TJ has that RJ alone would not (dual-Dirac)
    double ber = 0;
};

/// @param delay  UI to phase 0
/// @param width  of the eye at `ber`, UI
JitterParts FindJitterParts(const StatisticalLink& link, const EdgeSum& signal, double delay,
                            double width, double ber);

}  // namespace amisim
