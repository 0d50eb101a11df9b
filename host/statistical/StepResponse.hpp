#pragma once

#include <span>
#include <vector>

namespace amisim {

/// What a step at the transmitter does where the eye is seen, against time in unit intervals.
/// Straight between its samples, as a waveform is drawn; 0 before the first.
class StepResponse
{
public:
    StepResponse() = default;
    /// @param edge            V from sample to sample: what an edge, of a swing of one unit of the
    ///                        symbols' levels, adds (an impulse response times the edge)
    /// @param samplesPerUnit  samples in a unit interval
    StepResponse(std::span<const double> edge, double samplesPerUnit);

    double operator()(double unitIntervals) const;

    double Final() const { return values_.empty() ? 0 : values_.back(); }
    /// Unit intervals until it leaves 0, and until it stays within a part in 1e9 of its peak of the
    /// final value.
    double Begin() const { return begin_; }
    /// Unit intervals until it has gone half as far from 0 as it ever does.
    double Half() const { return half_; }
    double Settled() const { return settled_; }

private:
    double samplesPerUnit_ = 1;
    double begin_ = 0, half_ = 0, settled_ = 0;
    std::vector<double> values_;  // V, from a 0 on, one sample before time 0
};

}  // namespace amisim
