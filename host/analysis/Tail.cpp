#include "host/analysis/Tail.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace amisim {
namespace {

constexpr double kHighest = 0.05;        // of all events: the outer end of what is fitted
constexpr double kLeastSpan = 4;         // the counts at both ends of the fit differ by this factor
constexpr std::size_t kLeastPoints = 4;  // different counts on the line
constexpr std::size_t kMostPoints = 40;
constexpr double kBetter = 12;  // in deviance: a likelihood ratio of 400

double Density(double x)
{
    return std::exp(-x * x / 2) / std::sqrt(2 * std::numbers::pi);
}

/// Points of a tail in the order of rising counts.
struct Points
{
    std::vector<double> depth;   // distance outwards from the first bin's inner edge
    std::vector<double> events;  // that reach further in
    double trials;
};

struct Line
{
    double mean, sigma;  // in depth
    double deviance;     // of the counts between the points, and inside the first, from the line
};

/// Weighted least squares on the Q scale: a count's variance is itself, passed on through the
/// slope of InverseQ.
std::optional<Line> FitLine(const Points& points, double weight)
{
    double s = 0, sx = 0, sy = 0, sxx = 0, sxy = 0;
    for (std::size_t i = 0; i < points.depth.size(); ++i) {
        const double part = points.events[i] / points.trials / weight;
        if (part > 0.9) return std::nullopt;
        const double y = InverseQ(part);
        const double slope = weight * points.trials * Density(y);
        const double w = slope * slope / points.events[i], x = points.depth[i];
        s += w, sx += w * x, sy += w * y, sxx += w * x * x, sxy += w * x * y;
    }
    const double determinant = s * sxx - sx * sx;
    const double slope = (s * sxy - sx * sy) / determinant;
    if (!(slope < 0) || !std::isfinite(slope)) return std::nullopt;
    Line line{(sx * sxy - sxx * sy) / (s * sxy - sx * sy), -1 / slope, 0};
    // Poisson deviance: twice the logarithm of the likelihood ratio.
    double before = 0, expectedBefore = 0;
    for (std::size_t i = 0; i < points.depth.size(); ++i) {
        const double all = weight * points.trials * Q((line.mean - points.depth[i]) / line.sigma);
        const double expected = all - expectedBefore, events = points.events[i] - before;
        line.deviance +=
            2 * (expected - events + (events > 0 ? events * std::log(events / expected) : 0));
        before = points.events[i];
        expectedBefore = all;
    }
    if (!std::isfinite(line.deviance)) return std::nullopt;
    return line;
}

}  // namespace

double Q(double x)
{
    return std::erfc(x / std::numbers::sqrt2) / 2;
}

double InverseQ(double p)
{
    if (p > 0.5) return -InverseQ(1 - p);
    // Abramowitz and Stegun, 26.2.23, to 4.5e-4; then Halley's method on log Q.
    const double t = std::sqrt(-2 * std::log(p));
    double x = t - (2.515517 + t * (0.802853 + t * 0.010328)) /
                       (1 + t * (1.432788 + t * (0.189269 + t * 0.001308)));
    for (int i = 0; i < 2; ++i) {
        const double error = (Q(x) - p) / Density(x);
        x += error / (1 + x * error / 2);
    }
    return x;
}

Tail::Tail(const std::vector<std::uint64_t>& bins, double first, double step, double trials)
    : first_(first), step_(step), trials_(trials)
{
    inside_.reserve(bins.size() + 1);
    double sum = 0;
    inside_.push_back(0);
    for (const std::uint64_t count : bins) inside_.push_back(sum += static_cast<double>(count));
}

double Tail::CountedRatio(double x) const
{
    const double last = static_cast<double>(inside_.size() - 1);
    const double place = std::clamp((x - first_) / step_, 0.0, last);
    const auto i = std::min(static_cast<std::size_t>(place), inside_.size() - 2);
    const double part = place - static_cast<double>(i);
    return (inside_[i] + (inside_[i + 1] - inside_[i]) * part) / trials_;
}

double Tail::Reach(double events) const
{
    const auto beyond = std::upper_bound(inside_.begin(), inside_.end(), events);
    if (beyond == inside_.end()) return first_ + step_ * static_cast<double>(inside_.size() - 1);
    const double part = (events - beyond[-1]) / (beyond[0] - beyond[-1]);
    return first_ + step_ * (static_cast<double>(beyond - inside_.begin() - 1) + part);
}

std::optional<TailFit> Tail::Fit() const
{
    const auto from = std::lower_bound(inside_.begin(), inside_.end(), kFewest);
    const auto to = std::upper_bound(inside_.begin(), inside_.end(), kHighest * Total());
    if (to - from < static_cast<std::ptrdiff_t>(kLeastPoints)) return std::nullopt;
    const auto span = static_cast<std::size_t>(to - from);
    const std::size_t stride = (span + kMostPoints - 1) / kMostPoints;
    Points points{{}, {}, trials_};
    for (std::size_t i = (span - 1) % stride; i < span; i += stride) {
        points.depth.push_back(static_cast<double>(from - inside_.begin()) +
                               static_cast<double>(i));
        points.events.push_back(from[static_cast<std::ptrdiff_t>(i)]);
    }
    std::vector<double> different = points.events;
    different.erase(std::unique(different.begin(), different.end()), different.end());
    if (different.size() < kLeastPoints || different.back() < kLeastSpan * different.front())
        return std::nullopt;

    // Between one Gaussian and two equal ones, the weight is that at whose mean half of it is
    // counted, which far more events tell than are in the tail. Smaller parts, the outermost of
    // many Gaussians, are for a tail that none of these explains.
    std::optional<Line> best;
    double bestWeight = 0, bestMismatch = 0;
    for (const double part : {1.0, 0.84, 0.71, 0.59, 0.5}) {
        const double weight = part * Total() / trials_;
        const auto line = FitLine(points, weight);
        if (!line) continue;
        const double half = 2 * CountedRatio(first_ + step_ * line->mean) / weight;
        const double mismatch = std::abs(std::log(half));
        if (best && !(mismatch < bestMismatch)) continue;
        best = line;
        bestWeight = weight;
        bestMismatch = mismatch;
    }
    for (const double part : {0.25, 0.125, 0.0625}) {
        const double weight = part * Total() / trials_;
        const auto line = FitLine(points, weight);
        if (!line || (best && line->deviance + kBetter > best->deviance)) continue;
        best = line;
        bestWeight = weight;
    }
    if (!best) return std::nullopt;
    return TailFit{first_ + step_ * best->mean, std::abs(step_) * best->sigma, bestWeight,
                   points.events.back() / trials_, points.events.front() / trials_};
}

double FittedRatio(const TailFit& fit, double inwards, double x)
{
    return fit.weight * Q(inwards * (x - fit.mean) / fit.sigma);
}

double FittedReach(const TailFit& fit, double inwards, double errorRatio)
{
    return fit.mean + inwards * fit.sigma * InverseQ(errorRatio / fit.weight);
}

}  // namespace amisim
