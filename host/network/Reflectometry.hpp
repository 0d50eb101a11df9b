#pragma once

#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// What a time-domain reflectometer shows at one end of a line.
struct Reflectometry
{
    std::vector<double> time;  ///< s, there and back
    std::vector<double> ohms;  ///< NaN where nearly all is reflected
    double riseTime = 0.0;     ///< s from 10 % to 90 %, of the step that the data's band allows
};

/// Z(t) = Z0 (1 + rho) / (1 - rho), with rho the reflection of a step: the sum of the inverse
/// transform of S11 (or SDD11), weighted with a raised cosine over its band so that the step does
/// not ring. Down to 0 Hz, and through it to S(-f) = conj S(f), a spline goes on. It covers half
/// the time that the data's frequency step resolves, and shows each place of the line by what is
/// reflected there and before, without taking re-reflections out.
/// `reference` in ohm, of the pair for SDD11.
Reflectometry Reflected(const FrequencyResponse& reflection, double reference);

}  // namespace amisim
