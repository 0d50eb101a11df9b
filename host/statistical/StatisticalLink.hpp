#pragma once

#include <vector>

#include "host/statistical/BoundaryJitter.hpp"
#include "host/statistical/SamplingTime.hpp"
#include "host/statistical/StepResponse.hpp"
#include "host/statistical/SymbolTrellis.hpp"

namespace amisim {

/// What an eye is computed from.
struct StatisticalLink
{
    Modulation modulation;
    Deemphasis deemphasis;
    BoundaryJitter jitter;
    StepResponse response;                 // of the signal, V for one unit of the symbols' levels
    std::vector<StepResponse> aggressors;  // of neighbours of the same levels that keep no phase
    double noise = 0;                      // V rms, Gaussian, at the sampler
    double uniformNoise = 0;               // V, half of the peak to peak, there too
    double sensitivity = 0;                // V from a threshold that a decision needs
    SamplingTime sampling;
};

}  // namespace amisim
