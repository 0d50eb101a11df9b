#pragma once

#include <deque>
#include <limits>
#include <memory>
#include <vector>

#include "host/signal/BitHistory.hpp"
#include "host/signal/BitSource.hpp"
#include "host/signal/EdgeJitter.hpp"
#include "host/signal/SignalSource.hpp"

namespace amisim {

/// De-emphasis: with s = +1 for a one and -1 for a zero, bit k is sent at the level
///
///     amplitude * (c0 s[k] - sum over i of pre[i-1] s[k+i] - sum over i of post[i-1] s[k-i])
///     c0 = 1 - sum |pre| - sum |post|
///
/// so that the peak stays at the amplitude whatever the cursors: sum |c| = 1.
struct Deemphasis
{
    std::vector<double> pre, post;  // nearest to the main cursor first
    double Sum() const;             // of the cursors' magnitudes, below 1
};

/// A non-return-to-zero transmitter: +amplitude for 1, -amplitude for 0, unless de-emphasised.
/// Edges are half-cosine ramps centred on the bit boundaries start + k * unitInterval, moved by the
/// jitter. They need not fall on samples: the ramp is evaluated at the distance of each sample from
/// the edge. Edges stay in order, at least kClosest apart.
class NrzSource : public SignalSource
{
public:
    struct Settings
    {
        double amplitude = 0.4;    // V, half of peak to peak
        double start = 0;          // samples, where the first bit begins; the line is idle before
        double unitInterval = 64;  // samples; the transmitter's own, ppm offset included
        double rampTime = 0.366 * 64;  // samples from start to end of an edge
        Deemphasis deemphasis;
        EdgeJitter::Settings jitter;
    };

    /// @param sent    receives every bit as it is made; may be null
    /// @param random  of the jitter
    NrzSource(const Settings& settings, std::unique_ptr<BitSource> bits, BitHistory* sent,
              Random random);

    std::size_t Read(std::span<double> out) override;

    /// From 20 % to 80 % of the swing a half-cosine ramp takes this part of its whole length.
    static constexpr double kRise2080 = 0.40966553;

    static constexpr double kClosest = 0.05;  // unit intervals

private:
    struct Edge
    {
        double time;  // samples
        double from, to;
    };
    void TakeBit();
    void MakeBoundary();
    void AddRamp(const Edge& edge, std::span<double> out, std::size_t begin, std::size_t end) const;

    Settings settings_;
    std::unique_ptr<BitSource> bits_;
    BitHistory* sent_;
    EdgeJitter jitter_;
    std::vector<double> cursors_;  // latest bit first, as symbols_
    std::vector<double> symbols_;  // +1, -1, and 0 before the first bit
    std::size_t main_;             // place of the bit whose boundary is made
    double boundary_ = 0;          // number of the next
    double lastTime_ = -std::numeric_limits<double>::infinity();  // of the last boundary made
    std::deque<Edge> edges_;                                      // not yet over, in order of time
    double level_ = 0;    // after the last boundary made; the line is idle before the first bit
    double settled_ = 0;  // before the first edge in the queue
    double first_ = 0;    // number of the next sample
};

}  // namespace amisim
