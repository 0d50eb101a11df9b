#include "host/analysis/ClockLook.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

constexpr std::size_t kSteps = 1024;  // the first ones, of which the median is looked at
constexpr double kAlike = 0.02;       // relative

bool Alike(double a, double b)
{
    return std::abs(a - b) < kAlike * std::abs(b);
}

}  // namespace

ClockLook::ClockLook(double sampleInterval, double bitTime)
    : sampleInterval_(sampleInterval), bitTime_(bitTime)
{
}

void ClockLook::Add(std::span<const double> times, std::size_t samples)
{
    if (times.empty()) return;
    for (std::size_t i = 1; i < times.size() && steps_.size() < kSteps; ++i)
        steps_.push_back(times[i] - times[i - 1]);
    const double length = static_cast<double>(samples) * sampleInterval_;
    const bool within = std::ranges::all_of(
        times, [&](double time) { return time > -bitTime_ && time < length + bitTime_; });
    if (blocks_++ > 0 && times.front() < last_ && within) ++restarts_;
    last_ = times.back();
}

std::string ClockLook::Remark() const
{
    if (blocks_ > 2 && restarts_ == blocks_ - 1)
        return "begin anew in every block, as if they were relative to the block";
    if (steps_.empty()) return "";
    std::vector<double> steps = steps_;
    const auto middle = steps.begin() + std::ssize(steps) / 2;
    std::ranges::nth_element(steps, middle);
    const double step = *middle, ratio = bitTime_ / step;
    if (Alike(step, bitTime_ / sampleInterval_))
        return fmt::format("lie {:g} s apart, as if they were sample numbers", step);
    if (Alike(step, 1)) return "lie 1 s apart, as if they were numbers of bits";
    constexpr std::pair<double, const char*> kUnits[] = {
        {1e3, "milliseconds"}, {1e6, "microseconds"}, {1e9, "nanoseconds"}, {1e12, "picoseconds"}};
    for (const auto& [factor, unit] : kUnits) {
        if (Alike(step, bitTime_ * factor))
            return fmt::format("lie {:g} s apart, as if they were in {}", step, unit);
    }
    if (ratio > 1.5 && Alike(ratio, std::round(ratio)))
        return fmt::format("come at {:.0f} times the bit rate", ratio);
    return "";
}

}  // namespace amisim
