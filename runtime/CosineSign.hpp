#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "mathematics/Mathematics.hpp"

namespace Vantor {

/// Whether cos(t) > 0, as the maths library would answer, mostly without asking it.
///
/// With r = t / pi and q the integer nearest to r, the cosine has the sign (-1)^q wherever r is not
/// close to halfway between two integers. The rounding errors of t / pi stay far below the margin
/// of 1e-7 while |t| < 1e8; within the margin, beyond that range and for NaN the library decides.
inline bool CosineIsPositive(double t)
{
    constexpr double dPi = 3.141592653589793;
    constexpr double dRounder = 0x1.8p52;  // adding it leaves the nearest integer in the low bits
    constexpr double dMargin = 0.4999999;

    const double r = t / dPi;
    const double dShifted = r + dRounder;
    const double q = dShifted - dRounder;
    if (!(std::fabs(t) < 1e8) || std::fabs(r - q) > dMargin) return Mathematics::Cos(t) > 0.0;
    return (std::bit_cast<std::uint64_t>(dShifted) & 1U) == 0;
}

}  // namespace Vantor
