#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

#include "base/Names.hpp"

namespace base {

/// The straight line of least squares through points that come one by one, by running means
/// (Welford, "Note on a method for calculating corrected sums of squares and products",
/// Technometrics 4, 1962).
class StraightLine
{
public:
    void Add(double x, double y)
    {
        count_ += 1;
        const double dx = x - meanX_, dy = y - meanY_;
        meanX_ += dx / count_;
        meanY_ += dy / count_;
        xx_ += dx * (x - meanX_);
        xy_ += dx * (y - meanY_);
        yy_ += dy * (y - meanY_);
    }
    double Count() const { return count_; }
    double Slope() const { return xy_ / xx_; }
    double At(double x) const { return meanY_ + Slope() * (x - meanX_); }

    /// Sum of the squares of the x about their mean.
    double Spread() const { return xx_; }
    /// Standard deviation of the points about the line.
    double Residual() const
    {
        return std::sqrt(std::max(0.0, yy_ - xy_ * xy_ / xx_) / (count_ - 2));
    }

private:
    double count_ = 0, meanX_ = 0, meanY_ = 0, xx_ = 0, xy_ = 0, yy_ = 0;
};

/// A waveform between its samples, straight from each to the next.
/// @param place  in samples, from 0 and before the last one
inline double StraightAt(std::span<const double> wave, double place)
{
    const auto i = static_cast<std::size_t>(place);
    return wave[i] + (wave[i + 1] - wave[i]) * (place - static_cast<double>(i));
}

}  // namespace base
