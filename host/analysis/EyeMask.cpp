#include "host/analysis/EyeMask.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include "base/Error.hpp"

namespace amisim {
namespace {

EyePlace From(EyePlace origin, EyePlace place)
{
    return {place.x - origin.x, place.y - origin.y};
}

/// Positive where b lies anticlockwise of a.
double Turn(EyePlace a, EyePlace b)
{
    return a.x * b.y - a.y * b.x;
}

/// Levels of zeros and ones: means below and above 0 V in the middle fifth between two crossings.
std::pair<double, double> LevelsOf(const VoltageHistogram& density, double crossing)
{
    double sums[2] = {}, counts[2] = {};
    for (std::size_t c = 0; c < density.Columns(); ++c) {
        const double phase =
            (static_cast<double>(c) + 0.5) / static_cast<double>(density.Columns()) - crossing;
        if (std::abs(phase - std::floor(phase) - 0.5) > 0.1) continue;
        for (std::size_t r = 0; r < density.Rows(); ++r) {
            const auto count = static_cast<double>(density.At(c, r));
            const bool one = r >= density.Rows() / 2;
            counts[one] += count;
            sums[one] += count * (density.Edge(r) + density.BinHeight() / 2);
        }
    }
    return {sums[0] / counts[0], sums[1] / counts[1]};
}

}  // namespace

void EyeMask::Check() const
{
    double all = 0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const EyePlace a = From(Centre(), corners[i]),
                       b = From(Centre(), corners[(i + 1) % corners.size()]);
        const double turn = Turn(a, b);
        if (!(std::abs(turn) > 0) || turn * all < 0) {
            all = 0;
            break;
        }
        all += std::atan2(turn, a.x * b.x + a.y * b.y);
    }
    // Once around, not twice.
    if (std::abs(std::abs(all) - 2 * std::acos(-1)) > 1e-6) {
        throw Error(ExitCode::kUsage,
                    fmt::format("expected three corners or more, in order round the centre of the "
                                "eye at {:g} UI, {:g}{}",
                                Centre().x, Centre().y, normalised ? "" : " V"));
    }
}

double ScaleTo(EyePlace place, const std::vector<EyePlace>& corners, EyePlace centre)
{
    const EyePlace p = From(centre, place);
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const EyePlace a = From(centre, corners[i]),
                       b = From(centre, corners[(i + 1) % corners.size()]);
        // p = along a + beyond b; on the straight line through both corners these make 1.
        const double turn = Turn(a, b), alongA = Turn(p, b) / turn, alongB = Turn(a, p) / turn;
        if (alongA >= 0 && alongB >= 0) return alongA + alongB;
    }
    return 0;  // the centre itself, but for rounding
}

MaskFindings TestMask(const EyeMask& mask, const VoltageHistogram& density, double crossing)
{
    const auto [zero, one] = mask.normalised ? LevelsOf(density, crossing) : std::pair(0.0, 1.0);
    MaskFindings found;
    found.name = mask.name;
    found.allowed = mask.hitRatio;
    if (!(std::isfinite(zero) && one > zero)) return found;
    const auto lay = [&, low = zero, height = one - zero](EyePlace place) {
        return EyePlace{place.x + crossing, low + place.y * height};
    };
    for (const EyePlace corner : mask.corners) found.corners.push_back(lay(corner));
    found.centre = lay(mask.Centre());
    found.low = lay({0, mask.low}).y;
    found.high = lay({0, mask.high}).y;

    std::vector<std::pair<double, std::uint64_t>> cells;  // scale of the mask that reaches it
    for (std::size_t c = 0; c < density.Columns(); ++c) {
        const double phase =
            (static_cast<double>(c) + 0.5) / static_cast<double>(density.Columns());
        const double x = phase - std::floor(phase - crossing);  // from the crossing on
        for (std::size_t r = 0; r < density.Rows(); ++r) {
            const std::uint64_t count = density.At(c, r);
            if (count == 0) continue;
            const double y = density.Edge(r) + density.BinHeight() / 2;
            found.samples += count;
            if (y < found.low || y > found.high) found.beyond += count;
            cells.emplace_back(ScaleTo({x, y}, found.corners, found.centre), count);
        }
    }
    std::ranges::sort(cells);
    std::uint64_t within = 0;
    for (const auto& [scale, count] : cells) {
        if (scale < 1) found.inside += count;
        within += count;
        if (std::isnan(found.scale) && static_cast<double>(within) > found.Budget())
            found.scale = scale;
    }
    return found;
}

}  // namespace amisim
