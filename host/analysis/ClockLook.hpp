#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace amisim {

/// What clock times look like that are not what they should be: seconds since the first sample of
/// the run, one for each bit.
class ClockLook
{
public:
    /// @param sampleInterval, bitTime  s
    ClockLook(double sampleInterval, double bitTime);

    /// Takes the times of a block of so many samples as the model returned them.
    void Add(std::span<const double> times, std::size_t samples);

    /// "relative to the block", "sample numbers" or whatever it may be; "" for times that are as
    /// they should be, and for such as resemble nothing.
    std::string Remark() const;

private:
    double sampleInterval_, bitTime_;
    std::vector<double> steps_;  // s: the first that the model made
    std::int64_t blocks_ = 0, restarts_ = 0;
    double last_ = 0;  // s
};

}  // namespace amisim
