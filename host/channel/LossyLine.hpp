#pragma once

#include <cstddef>
#include <vector>

namespace amisim {

/// A line with skin-effect and dielectric loss: loss in dB at frequency f, with x = f / f_N,
///
///     L(f) = loss * (skinPart * sqrt(x) + (1 - skinPart) * x)
///
/// where f_N, half the bit rate, is where `loss` is stated. The phase is the minimum phase that
/// belongs to this magnitude, so that the response starts at time 0; a delay common to all
/// frequencies is left out.
struct LossyLine
{
    double lossDb = 10;
    double skinPart = 0.5;
    double halfBitRate = 5.15625e9;  // Hz

    /// Impulse response sampled every `sampleInterval` seconds, as filter weights: their sum is the
    /// gain at DC. 256 to 512 bits long, of which the last quarter fades out. The skin effect's
    /// tail never ends: what is left out would take about 0.2 dB from the gain at DC for 10 dB of
    /// skin effect, and is restored there (see SlowTail.hpp). A line without loss gives the single
    /// weight 1.
    std::vector<double> Impulse(double sampleInterval) const;

    /// |H| in dB, negative, at a frequency in Hz.
    double GainDb(double frequency) const;
};

}  // namespace amisim
