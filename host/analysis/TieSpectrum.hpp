#pragma once

#include <vector>

#include "host/analysis/Findings.hpp"

namespace amisim {

/// Amplitude spectrum of a sequence of one value a unit interval (Welch's method): segments that
/// overlap by half, each less its mean and under a Hann window, their powers averaged, scaled so
/// that a sine gives its peak amplitude.
class TieSpectrum
{
public:
    static constexpr std::size_t kLongest = std::size_t{1} << 16;  // values a segment
    static constexpr std::size_t kShortest = 256;

    /// @param values        how many there will be: segments are the longest power of two that
    ///                      leaves at least three of them, if they can
    /// @param unitInterval  s
    TieSpectrum(std::size_t values, double unitInterval);

    void Add(double value);
    void Break();  // the next value does not follow the last one: no segment spans that

    /// Empty when there was not one segment.
    Spectrum Find() const;

private:
    void Transform();

    double unitInterval_;
    std::size_t size_;
    std::vector<double> window_, segment_, power_;
    std::int64_t segments_ = 0;
};

}  // namespace amisim
