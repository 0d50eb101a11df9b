#pragma once

#include <deque>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "host/signal/EdgeJitter.hpp"
#include "host/signal/SignalSource.hpp"
#include "host/signal/SymbolHistory.hpp"
#include "host/signal/SymbolSource.hpp"

namespace amisim {

/// De-emphasis: with s the symbols' levels (+1 for a one and -1 for a zero), symbol k is sent at
///
///     amplitude * (c0 s[k] - sum over i of pre[i-1] s[k+i] - sum over i of post[i-1] s[k-i])
///     c0 = 1 - sum |pre| - sum |post|
///
/// so that the peak stays at the amplitude whatever the cursors: sum |c| = 1.
struct Deemphasis
{
    std::vector<double> pre, post;  // nearest to the main cursor first
    double Sum() const;             // of the cursors' magnitudes, below 1

    /// What each symbol is multiplied by, that of the last one of `pre` first: c0 in the middle.
    std::vector<double> Cursors() const;
};

/// A transmitter that holds each symbol's level, times the amplitude and unless de-emphasised, for
/// a unit interval. Edges are half-cosine ramps centred on the symbol boundaries start + k *
/// unitInterval, or where the symbols' source has them begin, moved by the jitter. They need not
/// fall on samples: the ramp is evaluated at the distance of each sample from the edge. Edges stay
/// in order, at least kClosest apart.
class Transmitter : public SignalSource
{
public:
    struct Settings
    {
        double amplitude = 0.4;  // V, half of peak to peak
        double start = 0;        // samples, where the first symbol begins; the line is idle before
        double unitInterval = 64;      // samples; the transmitter's own, ppm offset included
        double rampTime = 0.366 * 64;  // samples from start to end of an edge
        // Instead of ramps, steps: the sample before one holds as much of it as it lasts of the
        // time until the next, so that a filter behind sees it where it is.
        bool square = false;
        Modulation modulation;
        Deemphasis deemphasis;
        EdgeJitter::Settings jitter;
    };

    /// @param sent    receives every symbol as it is made; may be null
    /// @param random  of the jitter
    Transmitter(const Settings& settings, std::unique_ptr<SymbolSource> symbols,
                SymbolHistory* sent, Random random);

    std::size_t Read(std::span<double> out) override;

    /// What a single edge of the pattern, from the lowest level to the highest, does to the line: V
    /// from sample to sample, from the sample on where it begins. Their sum is the swing times what
    /// the de-emphasis leaves of a constant level. Without jitter; the edge falls on a sample.
    static std::vector<double> EdgeResponse(const Settings& settings);

    /// From 20 % to 80 % of the swing a half-cosine ramp takes this part of its whole length.
    static constexpr double kRise2080 = 0.40966553;

    static constexpr double kClosest = 0.05;  // unit intervals

private:
    struct Edge
    {
        double time;  // samples
        double from, to;
    };
    void TakeSymbol();
    void MakeBoundary();
    double RampTime() const { return settings_.square ? 1 : settings_.rampTime; }
    void AddRamp(const Edge& edge, std::span<double> out, std::size_t begin, std::size_t end) const;

    Settings settings_;
    std::unique_ptr<SymbolSource> symbols_;
    SymbolHistory* sent_;
    EdgeJitter jitter_;
    std::vector<double> cursors_;               // latest symbol first, as levels_
    std::vector<double> levels_;                // of the symbols; 0 before the first
    std::size_t main_;                          // place of the symbol whose boundary is made
    std::deque<std::optional<double>> begins_;  // of the symbols whose boundaries are not made
    double boundary_ = 0;                       // number of the next
    double lastTime_ = -std::numeric_limits<double>::infinity();  // of the last boundary made
    std::deque<Edge> edges_;                                      // not yet over, in order of time
    double level_ = 0;    // after the last boundary made; the line is idle before the first
    double settled_ = 0;  // before the first edge in the queue
    double first_ = 0;    // number of the next sample
};

}  // namespace amisim
