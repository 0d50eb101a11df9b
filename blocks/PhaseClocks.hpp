#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

/// Levels of the eye monitor's 64 phase clocks, bit k for clock k, as the monitor finds them from
/// the sines cos(t) of this firing and cos(s) of the one before, mostly without those sines. False
/// where the sines must be asked.
///
/// In bins, 64 to a period, the sine's phase is p = 32 t / pi + 16; clock k lags it by k bins and
/// is high for half a period, so that clocks floor(p) - 31 to floor(p) are. The monitor knows the
/// phase from an arcsine, on the rising or falling side as the sine has moved:
///
///     cos(t) - cos(s) = -2 sin((t + s) / 2) sin((t - s) / 2),
///
/// that is, with t - s below half a period, on the side that t and s have their middle on. Where t
/// is past an extreme and the middle is not, the monitor sees the phase mirrored, 32 - p.
///
/// The answer is plain away from whole bins, which the extremes are among, and with the middle away
/// from an extreme: rounding errors, the arcsine's next to an extreme included (1.5e-7 bins), stay
/// far below both margins while |t| < 1e8.
inline bool PhaseClocksFromPhase(double t, double s, std::uint64_t& iLevels)
{
    constexpr double dPi = 3.141592653589793;
    constexpr double dRounder = 0x1.8p52;  // adding it leaves the nearest integer in the low bits
    constexpr double dBinMargin = 0.49999;
    constexpr double dMiddleMargin = 0.4999999;

    const double dBins = t * (32 / dPi) + 15.5;  // p - 1/2, which rounds to floor(p)
    const double dBinsShifted = dBins + dRounder;
    const double dHalfPeriods = (t + s) * (0.5 / dPi) - 0.5;  // of the middle, likewise
    const double dHalfPeriodsShifted = dHalfPeriods + dRounder;
    const double dStep = t - s;
    if (!(std::fabs(t) < 1e8 && dStep > 1e-3 && dStep < 3.0 &&
          std::fabs(dBins - (dBinsShifted - dRounder)) < dBinMargin &&
          std::fabs(dHalfPeriods - (dHalfPeriodsShifted - dRounder)) < dMiddleMargin))
        return false;

    const auto iBin = std::bit_cast<std::uint64_t>(dBinsShifted);
    const auto iHalfPeriod = std::bit_cast<std::uint64_t>(dHalfPeriodsShifted);
    const bool bMirrored = (((iBin - 16) >> 5 ^ iHalfPeriod) & 1U) != 0;
    const std::uint64_t iHighest = bMirrored ? 31 - iBin : iBin;
    iLevels = std::rotl(std::uint64_t{0xffffffff}, static_cast<int>((iHighest - 31) & 63U));
    return true;
}
