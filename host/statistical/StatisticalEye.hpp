#pragma once

#include <cstddef>
#include <vector>

#include "host/analysis/Findings.hpp"
#include "host/statistical/EdgeSum.hpp"

namespace amisim {

/// What an eye is computed from.
struct StatisticalLink
{
    Modulation modulation;
    Deemphasis deemphasis;
    BoundaryJitter jitter;
    StepResponse response;                 // of the signal, V for one unit of the symbols' levels
    std::vector<StepResponse> aggressors;  // of NRZ neighbours that keep no phase with the signal
    double noise = 0;                      // V rms, Gaussian, at the sampler
};

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

    double delay = 0;      // UI from the response's first sample to phase 0
    double binHeight = 0;  // V, of the densities
    double smear = 0;      // V rms that voltages are spread by where few values are possible
};

/// @param bers  error ratios that openings and contours are asked for
StatisticalEye ComputeStatisticalEye(const StatisticalLink& link, const std::vector<double>& bers);

/// The contours of an eye that were counted, and the computed ones (null: there are none) where
/// they would be extrapolated.
std::vector<Contour> BestContours(const EyeFindings& counted, const EyeFindings* computed);

}  // namespace amisim
