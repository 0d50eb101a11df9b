#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace amisim {

/// Turns the clock times that a model returns into a sequence of edges, one for each unit interval.
///
/// Clock times are the edges half a unit interval before the data are sampled. A model may return
/// fewer than there were, since a block's list has room for one a bit: a gap of about k unit
/// intervals is filled with k - 1 edges evenly spaced. A gap of more than eight counts as an
/// interruption and is left open.
class ClockFrame
{
public:
    /// @param sampleInterval  s
    /// @param bitTime         nominal, s
    ClockFrame(double sampleInterval, double bitTime);

    /// Takes the times of a block, in seconds from the first sample of the run.
    void Add(std::span<const double> times);

    struct Edge
    {
        double time;            // samples
        bool afterGap = false;  // the time since the edge before is no unit interval
        double number = 0;      // unit intervals since the first edge
    };
    /// Edges in order of time that nobody has taken yet; clear it when they have been used.
    std::vector<Edge>& Edges() { return edges_; }

    std::int64_t Times() const { return times_; }
    std::int64_t Filled() const { return filled_; }
    /// Times that were no numbers, later than any run ends, or not later than the one before: left
    /// out.
    std::int64_t Backward() const { return backward_; }

private:
    void Push(double time, bool afterGap);

    double sampleInterval_;
    double nominal_;  // samples
    double last_ = 0;
    std::vector<Edge> edges_;
    std::int64_t times_ = 0, filled_ = 0, backward_ = 0;
    double number_ = 0;  // of the next edge
};

}  // namespace amisim
