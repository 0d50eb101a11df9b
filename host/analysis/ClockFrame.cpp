#include "host/analysis/ClockFrame.hpp"

#include <cmath>

namespace amisim {

constexpr double kLongestGap = 8;  // unit intervals

// Samples: more than any run has, and few enough to be counted one by one in a double.
constexpr double kLatest = 0x1p52;

ClockFrame::ClockFrame(double sampleInterval, double bitTime)
    : sampleInterval_(sampleInterval), nominal_(bitTime / sampleInterval)
{
}

void ClockFrame::Add(std::span<const double> times)
{
    for (const double seconds : times) {
        const double time = seconds / sampleInterval_;
        if (!(std::abs(time) < kLatest) || (times_ > 0 && !(time > last_))) {
            ++backward_;
            continue;
        }
        if (times_++ > 0) {
            const double gap = std::round((time - last_) / nominal_);
            if (gap > kLongestGap) {
                number_ += gap - 1;
                Push(time, true);
                last_ = time;
                continue;
            }
            for (int k = 1; k < static_cast<int>(gap); ++k) {
                Push(last_ + (time - last_) * k / gap, false);
                ++filled_;
            }
        }
        Push(time, times_ == 1);
        last_ = time;
    }
}

void ClockFrame::Push(double time, bool afterGap)
{
    edges_.push_back({time, afterGap, number_});
    number_ += 1;
}

}  // namespace amisim
