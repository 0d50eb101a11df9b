#include "host/analysis/EyeTrend.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace amisim {
namespace {

constexpr std::size_t kFewestPoints = 16;
constexpr double kEndPart = 0.25;     // of the run, that shows how open the eye is at the end
constexpr double kSettledPart = 0.1;  // of the run, at least
constexpr double kAlike = 0.1;        // relative
constexpr double kSpreads = 6;        // standard deviations of a normal distribution

double MedianOf(std::vector<double> values)
{
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::ranges::nth_element(values, middle);
    return *middle;
}

}  // namespace

void EyeTrend::Add(double bit, double distance)
{
    end_ = bit + 1;
    window_.push_back(distance);
    if (window_.size() == kWindow) CloseWindow();
}

void EyeTrend::CloseWindow()
{
    // A mean rather than a quantile, which leaps where the levels of a pattern leave a gap.
    constexpr std::size_t kQuarter = kWindow / 4;
    std::ranges::nth_element(window_, window_.begin() + kQuarter);
    sum_ += std::accumulate(window_.begin(), window_.begin() + kQuarter, 0.0) / kQuarter;
    window_.clear();
    if (++inPoint_ < perPoint_) return;
    points_.push_back({end_, sum_ / static_cast<double>(perPoint_)});
    sum_ = 0;
    inPoint_ = 0;
    if (points_.size() < kMostPoints) return;
    for (std::size_t i = 0; 2 * i < points_.size(); ++i) {
        const Point &a = points_[2 * i], &b = points_[2 * i + 1];
        points_[i] = {b.end, (a.open + b.open) / 2};
    }
    points_.resize(points_.size() / 2);
    perPoint_ *= 2;
}

double EyeTrend::SettledAt() const
{
    if (points_.size() < kFewestPoints) return NAN;
    const auto size = static_cast<double>(points_.size());
    std::vector<double> last;
    for (auto i = static_cast<std::size_t>(size * (1 - kEndPart)); i < points_.size(); ++i)
        last.push_back(points_[i].open);
    const double end = MedianOf(last);
    for (double& open : last) open = std::abs(open - end);
    // 1.48 median deviations of a normal distribution are its standard deviation.
    const double near = std::max(kAlike * end, kSpreads * 1.48 * MedianOf(last));
    const auto differs = [&](std::size_t i) { return std::abs(points_[i].open - end) > near; };
    // A burst is soon over; two in a row are another state.
    std::size_t settled = 0;
    for (std::size_t i = 1; i < points_.size(); ++i) {
        if (differs(i - 1) && differs(i)) settled = i + 1;
    }
    if (static_cast<double>(settled) > size * (1 - kSettledPart)) return NAN;
    return settled == 0 ? 0 : points_[settled - 1].end;
}

}  // namespace amisim
