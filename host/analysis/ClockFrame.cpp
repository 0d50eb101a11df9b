#include "host/analysis/ClockFrame.hpp"

#include <cmath>

namespace amisim {

constexpr double kLongestGap = 8;  // unit intervals

ClockFrame::ClockFrame(double sampleInterval, double bitTime)
    : sampleInterval_(sampleInterval), nominal_(bitTime / sampleInterval)
{
}

void ClockFrame::Add(std::span<const double> times)
{
    for (const double seconds : times) {
        const double time = seconds / sampleInterval_;
        if (times_ > 0 && !(time > last_)) {
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
            for (double k = 1; k < gap; ++k) {
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
    edges_.push_back({time, afterGap});
    if (time < countFrom_) return;
    if (count_ == 0) first_ = time;
    const double deviation = time - first_ - number_ * nominal_;
    count_ += 1;
    const double step = number_ - meanNumber_;
    meanNumber_ += step / count_;
    meanDeviation_ += (deviation - meanDeviation_) / count_;
    numbers2_ += step * (number_ - meanNumber_);
    product_ += step * (deviation - meanDeviation_);
    number_ += 1;
}

double ClockFrame::UnitInterval() const
{
    return numbers2_ > 0 ? (nominal_ + product_ / numbers2_) * sampleInterval_ : 0;
}

}  // namespace amisim
