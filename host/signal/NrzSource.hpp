#pragma once

#include <deque>

#include "host/signal/BitHistory.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/SignalSource.hpp"

namespace amisim {

/// A non-return-to-zero transmitter: +amplitude for 1, -amplitude for 0. Edges are half-cosine
/// ramps centred on the bit boundaries start + k * unitInterval, which need not fall on samples:
/// the ramp is evaluated at the distance of each sample from the boundary.
class NrzSource : public SignalSource
{
public:
    struct Settings
    {
        double amplitude = 0.4;    // V peak
        double start = 0;          // samples, where the first bit begins; the line is idle before
        double unitInterval = 64;  // samples; the transmitter's own, ppm offset included
        double rampTime = 0.366 * 64;  // samples from start to end of an edge
    };

    /// @param sent  receives every bit as it is made
    NrzSource(const Settings& settings, Prbs bits, BitHistory& sent);

    std::size_t Read(std::span<double> out) override;

    /// From 20 % to 80 % of the swing a half-cosine ramp takes this part of its whole length.
    static constexpr double kRise2080 = 0.40966553;

private:
    struct Edge
    {
        double time;  // samples
        double from, to;
    };
    void QueueEdge();

    Settings settings_;
    Prbs bits_;
    BitHistory& sent_;
    std::deque<Edge> edges_;  // begun or yet to begin, in order of time
    double level_ = 0;        // after the last edge queued; the line is idle before the first bit
    double settled_ = 0;      // before the first edge in the queue
    double nextSample_ = 0;
};

}  // namespace amisim
