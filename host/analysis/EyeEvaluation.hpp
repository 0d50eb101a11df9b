#pragma once

#include <vector>

#include "host/analysis/EyeAnalysis.hpp"
#include "host/analysis/Findings.hpp"

namespace amisim {

/// Turns what was counted of the eye around a threshold into openings, contours, bathtubs and
/// jitter. An output that is sliced gets its density and its decisions only.
/// @param shift  that the clock edges were moved by to centre the eye, UI
/// @param bers   error ratios that openings and contours are asked for
/// @param which  of the thresholds, from the lowest
EyeFindings EvaluateEye(const EyeAnalysis& eye, double shift, const std::vector<double>& bers,
                        std::size_t which = 0);

/// The same of the worst eye of all thresholds, with all of them where there are several.
EyeFindings EvaluateEyes(const EyeAnalysis& eye, double shift, const std::vector<double>& bers);

/// The decisions that count: half a unit interval after the clock edge, or later where the output
/// itself switches there.
inline const EyeAnalysis::Decisions& DecisionsOf(const EyeAnalysis& eye)
{
    return eye.IsSliced() ? eye.AtLater() : eye.AtSampling();
}

}  // namespace amisim
