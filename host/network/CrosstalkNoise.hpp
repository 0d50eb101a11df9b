#pragma once

#include <vector>

#include "host/network/NetworkFigures.hpp"

namespace amisim {

/// What aggressors send: NRZ of random bits.
struct AggressorSignal
{
    double bitRate = 0.0;    ///< bit/s
    double amplitude = 0.0;  ///< V, differential peak to peak
    double riseTime = 0.0;   ///< s, from 20 % to 80 %
};

/// What crosstalk leaves at a receiver, by its power (integrated crosstalk noise, ICN).
struct CrosstalkNoise
{
    double far = 0.0, near = 0.0;    ///< V rms, of the aggressors at either end
    double transmitterCorner = 0.0;  ///< Hz; infinite without a rise time
    double receiverCorner = 0.0;     ///< Hz
    double from = 0.0, to = 0.0;     ///< Hz, of all couplings together

    double Total() const;  ///< V rms, of both
};

/// For each end, in the form of IEEE 802.3 and OIF-CEI:
///
///     ICN^2 = 2 * integral of W(f) * sum |coupling(f)|^2 df, up to the bit rate fb
///     W(f) = A^2 / fb * sinc^2(f / fb) / ((1 + (f / ft)^4) (1 + (f / fr)^8))
///     ft = 0.2365 / rise time, fr = 0.75 fb
///
/// with A half of the peak to peak, so that without both filters all of a random signal's power is
/// A^2. Between frequencies the integrand is taken as straight; outside those of a coupling nothing
/// is added.
CrosstalkNoise NoiseOf(const std::vector<CrosstalkTerm>& crosstalk, const AggressorSignal& signal);

}  // namespace amisim
