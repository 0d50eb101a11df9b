#include "host/sweep/MetricScale.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {

MetricScale::MetricScale(const Metric& metric, const Table& table)
    : metric_(metric), from_(INFINITY), to_(-INFINITY)
{
    for (const auto& row : table.rows) {
        const auto value = metric.Of(row);
        if (!value) continue;
        from_ = std::min(from_, *value);
        to_ = std::max(to_, *value);
    }
    if (metric.counts && !IsEmpty()) from_ = 0;
}

Colour MetricScale::At(double value) const
{
    if (metric_.counts) return AtPlace(to_ > 0 ? std::log1p(value) / std::log1p(to_) : 0);
    return AtPlace(to_ > from_ ? (value - from_) / (to_ - from_) : 1);
}

Colour MetricScale::AtPlace(double place) const
{
    return (metric_.counts ? colours::Errors() : colours::Openings()).At(place);
}

Colour MetricScale::Ink(const Colour& c)
{
    const auto linear = [](double v) { return std::pow(v, 2.2); };
    const double luminance = 0.2126 * linear(c[0]) + 0.7152 * linear(c[1]) + 0.0722 * linear(c[2]);
    // Where black and white stand out alike (WCAG 2.1, relative luminance and contrast ratio).
    return luminance > 0.179 ? Colour{0, 0, 0} : Colour{1, 1, 1};
}

}  // namespace amisim
