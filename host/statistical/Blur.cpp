#include "host/statistical/Blur.hpp"

#include <cmath>

namespace amisim {
namespace {

using Tail = std::vector<double>;

void Between(const Tail& from, const Tail& to, double part, Tail& made)
{
    for (std::size_t bin = 0; bin < from.size(); ++bin) {
        const double a = from[bin], b = to[bin];
        made[bin] =
            a > 0 && b > 0 && a != b ? a * std::exp(part * std::log(b / a)) : std::lerp(a, b, part);
    }
}

/// Of one side of the densities.
std::vector<Tail> BlurredTails(std::span<const VoltageDensity> columns,
                               const Tail& (VoltageDensity::*side)() const, int steps,
                               const SamplingTime& when, int before, int count)
{
    const std::size_t bins = (columns[0].*side)().size();
    std::vector<Tail> sums(static_cast<std::size_t>(count), Tail(bins));
    Tail made(bins);
    const auto parts = static_cast<int>(when.Parts().size());
    // Each place between two columns once, for all that look there.
    for (int place = before * steps + when.First();
         place < (before + count - 1) * steps + when.First() + parts; ++place) {
        const auto column = static_cast<std::size_t>(place / steps);
        const bool between = place % steps != 0;
        if (between) {
            Between((columns[column].*side)(), (columns[column + 1].*side)(),
                    static_cast<double>(place % steps) / steps, made);
        }
        const Tail& seen = between ? made : (columns[column].*side)();
        for (int c = 0; c < count; ++c) {
            const int part = place - (before + c) * steps - when.First();
            if (part < 0 || part >= parts) continue;
            const double weight = when.Parts()[static_cast<std::size_t>(part)];
            Tail& sum = sums[static_cast<std::size_t>(c)];
            for (std::size_t bin = 0; weight > 0 && bin < bins; ++bin)
                sum[bin] += weight * seen[bin];
        }
    }
    return sums;
}

}  // namespace

std::vector<VoltageDensity> Blurred(std::span<const VoltageDensity> columns, int steps,
                                    const SamplingTime& when, int before, int count)
{
    auto below = BlurredTails(columns, &VoltageDensity::TailBelow, steps, when, before, count);
    auto above = BlurredTails(columns, &VoltageDensity::TailAbove, steps, when, before, count);
    std::vector<VoltageDensity> blurred;
    for (std::size_t c = 0; c < below.size(); ++c)
        blurred.emplace_back(columns[0].Grid(), std::move(below[c]), std::move(above[c]));
    return blurred;
}

}  // namespace amisim
