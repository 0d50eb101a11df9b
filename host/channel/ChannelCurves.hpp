#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace amisim {

struct ChannelResponse;

/// A channel as a signal meets it: curves for people.
struct ChannelCurves
{
    std::vector<double> frequency, lossDb;  ///< Hz; -20 log10 |H|
    std::vector<double> time, pulse, step;  ///< s from the signal's start; V/V: the responses to
                                            ///< one unit interval of 1 V, and to a step to 1 V

    double LossAtHalfRate() const { return lossDb[lossDb.size() / 2]; }
    /// No loss at any frequency but what arithmetic makes.
    bool IsFlat() const
    {
        return std::ranges::all_of(lossDb, [](double db) { return std::abs(db) < 1e-6; });
    }
};

/// Loss at evenly spaced frequencies up to the bit rate. Times from four unit intervals before the
/// pulse's peak, or the response's start, until the pulse stays below a thousandth of its peak, but
/// 16 unit intervals behind it at least, and 256 at most.
ChannelCurves CurvesOf(const ChannelResponse& channel, int samplesPerBit);

}  // namespace amisim
