#pragma once

#include <vector>

#include "host/analysis/EyeAnalysis.hpp"
#include "host/analysis/Findings.hpp"

namespace amisim {

/// Turns what was counted of the eye around a threshold into openings, contours, bathtubs and
/// jitter. An output that is sliced gets its density and its decisions only.
/// @param shift  that the clock edges were moved by to centre the eye, UI
/// @param bers   error ratios that openings and contours are asked for
/// @param which  of the modulation's thresholds
EyeFindings EvaluateEye(const EyeAnalysis& eye, double shift, const std::vector<double>& bers,
                        std::size_t which = 0);

/// The decisions that count: half a unit interval after the clock edge, or later where the output
/// itself switches there.
inline const EyeAnalysis::Decisions& DecisionsOf(const EyeAnalysis& eye)
{
    return eye.IsSliced() ? eye.AtLater() : eye.AtSampling();
}

/// Wrong decisions and, where the receiver needs more than a threshold, those that lacked that.
inline std::int64_t ErrorsOf(const EyeAnalysis::Decisions& decisions)
{
    return decisions.symbols->Errors() + decisions.unsure;
}

}  // namespace amisim
