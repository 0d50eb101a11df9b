#pragma once

#include <complex>
#include <span>
#include <vector>

namespace amisim {

/// The sine of a known frequency in values over time: least squares of
///
///     value = offset + slope * time + a sin(2 pi f time) + b cos(2 pi f time)
///
/// all four at once: a line taken off first would take part of a sine of few periods with it.
/// @param time       s, rising; need not be even
/// @return a + i b: magnitude and phase against sin(2 pi f time); a sine that comes late has a
///         negative phase
/// @pre at least four values
std::complex<double> FitSine(std::span<const double> time, std::span<const double> value,
                             double frequency);

/// Jitter within a band of frequencies.
struct BandJitter
{
    double rms = 0, peakToPeak = 0;  // in the values' unit
};

/// Of evenly spaced values, less the line through them, what lies within the band: all within
/// counts whole, nothing outside counts. The last values beyond a power of two are left out, so
/// that frequencies come in steps of rate / values. A sixteenth at either end is filtered and not
/// counted: there the spectrum joins the last value to the first.
/// @param rate  of the values, Hz
BandJitter JitterInBand(std::span<const double> values, double rate, double low, double high);

}  // namespace amisim
