#pragma once

#include <cstddef>
#include <vector>

#include "host/analysis/Findings.hpp"
#include "host/statistical/JitterParts.hpp"
#include "host/statistical/StatisticalLink.hpp"

namespace amisim {

/// An eye computed from responses, at any error ratio down to 1e-14 without counting. As where it
/// is counted, symbols are independent and equally likely; phase 0 is where half of the transitions
/// through the middle threshold have happened.
struct StatisticalEye
{
    /// The same members mean the same as in a counted eye; of those only these are filled in:
    /// vertical, left, right, openings, contours, time.counted, voltage.counted.
    /// One for each threshold of the modulation.
    std::vector<EyeFindings> eyes;

    /// Openings at the middle of the eye without noise and jitter, whatever the symbols: peak
    /// distortion. Negative: how far the symbols overlap.
    std::vector<double> worstHeights;  // V

    JitterParts jitter;  // at the middle threshold

    double delay = 0;      // UI from the response's first sample to phase 0
    double binHeight = 0;  // V, of the densities
    double smear = 0;      // V rms that voltages are spread by where few values are possible
};

/// @param link  of no thresholds: they lie halfway between the symbols' mean voltages
/// @param bers  error ratios that openings and contours are asked for
StatisticalEye ComputeStatisticalEye(StatisticalLink link, const std::vector<double>& bers);

/// The contours of an eye that were counted, and the computed ones (null: there are none) where
/// they would be extrapolated.
std::vector<Contour> BestContours(const EyeFindings& counted, const EyeFindings* computed);

}  // namespace amisim
