#include "host/statistical/StepResponse.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {

StepResponse::StepResponse(std::span<const double> edge, double samplesPerUnit)
    : samplesPerUnit_(samplesPerUnit), values_{0.0}
{
    double peak = 0;
    for (const double added : edge) {
        values_.push_back(values_.back() + added);
        peak = std::max(peak, std::abs(values_.back()));
    }
    const auto isAway = [](double from, double far) {
        return [from, far](double value) { return std::abs(value - from) > far; };
    };
    const auto first = std::ranges::find_if(values_, isAway(0, 1e-9 * peak));
    const auto half = std::ranges::find_if(values_, isAway(0, 0.5 * peak));
    const auto last = std::find_if(values_.rbegin(), values_.rend(), isAway(Final(), 1e-9 * peak));
    begin_ = (static_cast<double>(first - values_.begin()) - 2) / samplesPerUnit;
    half_ = (static_cast<double>(half - values_.begin()) - 1) / samplesPerUnit;
    settled_ = static_cast<double>(values_.rend() - last) / samplesPerUnit;
}

double StepResponse::operator()(double unitIntervals) const
{
    const double at = unitIntervals * samplesPerUnit_ + 1;  // the first value stands before 0
    if (!(at > 0)) {
        return 0;
    }
    const auto before = static_cast<std::size_t>(at);
    if (before + 1 >= values_.size()) {
        return Final();
    }
    return std::lerp(values_[before], values_[before + 1], at - static_cast<double>(before));
}

}  // namespace amisim
