#include "touchstone/Interpolation.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "base/Error.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

constexpr std::size_t kFewest = 4;  // frequencies that tell anything of a line

Complex Turn(double angle)
{
    return std::polar(1.0, angle);
}

}  // namespace

Spline::Spline(const std::vector<double>& x, const std::vector<Complex>& y)
    : x_(x), y_(y), curvature_(x.size())
{
    const std::size_t n = x.size();
    std::vector<double> upper(n);
    for (std::size_t i = 1; i + 1 < n; ++i) {
        const double before = x[i] - x[i - 1];
        const double after = x[i + 1] - x[i];
        const Complex bend = 6.0 * ((y[i + 1] - y[i]) / after - (y[i] - y[i - 1]) / before);
        const double pivot = 2.0 * (before + after) - before * upper[i - 1];
        upper[i] = after / pivot;
        curvature_[i] = (bend - before * curvature_[i - 1]) / pivot;
    }
    for (std::size_t i = n - 1; i-- > 0;) {
        curvature_[i] -= upper[i] * curvature_[i + 1];
    }
}

Complex Spline::operator()(double at) const
{
    const auto found = std::upper_bound(x_.begin() + 1, x_.end() - 1, at);
    const auto i = static_cast<std::size_t>(found - x_.begin());
    const double h = x_[i] - x_[i - 1];
    const double b = (at - x_[i - 1]) / h;
    const double a = 1.0 - b;
    return a * y_[i - 1] + b * y_[i] +
           h * h / 6.0 * ((a * a * a - a) * curvature_[i - 1] + (b * b * b - b) * curvature_[i]);
}

double MeanDelay(const FrequencyResponse& data)
{
    double sum = 0.0, weights = 0.0;
    for (std::size_t k = 1; k < data.frequency.size(); ++k) {
        const Complex step = data.value[k] * std::conj(data.value[k - 1]);
        const double angle = std::arg(step * Turn(0.75 * pi)) - 0.75 * pi;
        sum -= std::abs(step) * angle / (2.0 * pi);
        weights += std::abs(step) * (data.frequency[k] - data.frequency[k - 1]);
    }
    return weights > 0.0 ? sum / weights : 0.0;
}

std::vector<double> CommonGrid(const std::vector<SParameters>& networks)
{
    double from = 0.0, to = std::numeric_limits<double>::infinity();
    for (const SParameters& s : networks) {
        from = std::max(from, s.frequency.front());
        to = std::min(to, s.frequency.back());
    }
    std::vector<double> grid;
    for (const SParameters& s : networks) {
        const auto first = std::ranges::lower_bound(s.frequency, from);
        const auto last = std::ranges::upper_bound(s.frequency, to);
        if (last - first > std::ssize(grid)) grid.assign(first, last);
    }
    if (grid.size() < kFewest) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected {} frequencies or more that all files of a cascade "
                                "cover: together they reach from {:g} to {:g} Hz",
                                kFewest, from, to));
    }
    if (grid.front() > from) grid.insert(grid.begin(), from);
    if (grid.back() < to) grid.push_back(to);
    return grid;
}

FrequencyResponse OnGrid(FrequencyResponse data, const std::vector<double>& frequency)
{
    const double delay = MeanDelay(data);
    for (std::size_t k = 0; k < data.value.size(); ++k)
        data.value[k] *= Turn(2.0 * pi * data.frequency[k] * delay);
    const Spline spline(data.frequency, data.value);
    FrequencyResponse there{frequency, {}};
    for (const double f : frequency) there.value.push_back(spline(f) * Turn(-2.0 * pi * f * delay));
    return there;
}

SParameters OnGrid(const SParameters& s, const std::vector<double>& frequency)
{
    if (s.frequency == frequency) return s;
    SParameters result = s;
    const auto n = static_cast<std::size_t>(s.ports);
    result.frequency = frequency;
    result.values.resize(frequency.size() * n * n);
    for (std::size_t term = 0; term < n * n; ++term) {
        const FrequencyResponse there = OnGrid(
            s.Term(static_cast<int>(term / n) + 1, static_cast<int>(term % n) + 1), frequency);
        for (std::size_t k = 0; k < frequency.size(); ++k)
            result.values[k * n * n + term] = there.value[k];
    }
    return result;
}

}  // namespace amisim
