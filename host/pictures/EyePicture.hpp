#pragma once

#include <vector>

#include "host/analysis/Findings.hpp"
#include "host/pictures/Plot.hpp"

namespace amisim {

/// Draws an eye density two unit intervals wide around the sampling instant: brightness is the
/// logarithm of how often the trace passed, so that rare ones show too.
struct EyePicture
{
    plot::Heading heading;
    double sampledAt = 0.5;  // unit intervals after the clock edge
    Opening opening;         // marked at the sampling instant
    double left = 0,
           right = 0;  // horizontal opening on either side of it, unit intervals, marked at 0 V
    std::vector<Contour> contours;

    Canvas Draw(const VoltageHistogram& density) const;
};

}  // namespace amisim
