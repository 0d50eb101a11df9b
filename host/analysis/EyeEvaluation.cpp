#include "host/analysis/EyeEvaluation.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

constexpr std::size_t kTimePoints = 257;
constexpr std::size_t kVoltagePoints = 401;

/// One side of the eye: counted, and fitted where it can be.
struct Side
{
    explicit Side(Tail counted) : tail(std::move(counted)), fit(tail.Fit()) {}

    struct Place
    {
        double x = kUnknown;
        bool extrapolated = false;
    };
    /// How far out the eye is open on this side at an error ratio. An extrapolation never reaches
    /// further out than what was counted.
    Place At(double errorRatio) const
    {
        if (tail.Total() <= errorRatio * tail.Trials()) return {};
        if (tail.Counts(errorRatio)) return {tail.Reach(errorRatio * tail.Trials()), false};
        if (!fit) return {kUnknown, true};
        const double counted = tail.Reach(Tail::kFewest);
        const double fitted = FittedReach(*fit, tail.Inwards(), errorRatio);
        return {tail.Inwards() > 0 ? std::max(fitted, counted) : std::min(fitted, counted), true};
    }

    Tail tail;
    std::optional<TailFit> fit;
};

/// Both sides of an opening: `low` at the smaller x.
struct Sides
{
    Side low, high;

    struct Gap
    {
        double low = kUnknown, high = kUnknown;
        bool extrapolated = false;
        bool Known() const { return std::isfinite(low) && std::isfinite(high); }
        double Size() const { return Known() ? std::max(0.0, high - low) : kUnknown; }
    };
    Gap At(double errorRatio) const
    {
        const Side::Place a = low.At(errorRatio), b = high.At(errorRatio);
        return {a.x, b.x, a.extrapolated || b.extrapolated};
    }

    Bathtub MakeBathtub(double first, double last, std::size_t points) const
    {
        Bathtub tub;
        tub.low = low.fit;
        tub.high = high.fit;
        for (std::size_t i = 0; i < points; ++i) {
            const double part = static_cast<double>(i) / static_cast<double>(points - 1);
            const double x = first + (last - first) * part;
            tub.x.push_back(x);
            const double counted = low.tail.CountedRatio(x) + high.tail.CountedRatio(x);
            tub.counted.push_back(counted > 0 ? counted : kUnknown);
            const bool fitted = low.fit && high.fit && x >= low.fit->mean && x <= high.fit->mean;
            tub.extrapolated.push_back(
                fitted ? FittedRatio(*low.fit, 1, x) + FittedRatio(*high.fit, -1, x) : kUnknown);
        }
        return tub;
    }
};

/// The transitions on either side of the sampling instant, which is at that phase.
Sides TimeSides(const ThresholdCrossings& crossings, double sampledAt, double trials)
{
    constexpr double kBin = 1.0 / ThresholdCrossings::kBins;
    const auto& before = crossings.LastBefore();
    return {Side(Tail({before.rbegin(), before.rend()}, sampledAt, -kBin, trials)),
            Side(Tail(crossings.FirstAfter(), sampledAt, kBin, trials))};
}

/// Of two neighbouring levels: @param below, above  counts in row r (the lowest first)
/// @param needed  V from the threshold, by which both levels are as good as nearer to each other
template <typename Below, typename Above>
Sides VoltageSides(const VoltageHistogram& scale, double trials, double needed, Below below,
                   Above above)
{
    const std::size_t rows = scale.Rows();
    std::vector<std::uint64_t> low(rows), high(rows);
    for (std::size_t r = 0; r < rows; ++r) {
        high[r] = above(r);
        low[rows - 1 - r] = below(r);
    }
    return {Side(Tail(low, scale.Range() + needed, -scale.BinHeight(), trials)),
            Side(Tail(high, -scale.Range() - needed, scale.BinHeight(), trials))};
}

/// What is left between both sides when at most so many events of each may reach further in; never
/// more than half of a side's, however rare they are.
Opening CountedOpening(const Sides& sides, double events)
{
    const auto edge = [&](const Tail& tail) {
        return tail.Reach(std::min(events, tail.Total() / 2));
    };
    if (sides.low.tail.Total() == 0 || sides.high.tail.Total() == 0) return {};
    const Opening opening{edge(sides.high.tail), edge(sides.low.tail)};
    return opening.high > opening.low ? opening : Opening{};
}

/// Median of each value and its two neighbours on either side, then a running mean of three: a
/// column's fit that went astray leaves no spike.
std::vector<double> Smoothed(const std::vector<double>& values)
{
    const auto size = static_cast<std::ptrdiff_t>(values.size());
    std::vector<double> median(values), result(values);
    for (std::ptrdiff_t i = 2; i + 2 < size; ++i) {
        std::array<double, 5> near{};
        std::copy_n(values.begin() + i - 2, 5, near.begin());
        std::ranges::sort(near);
        median[static_cast<std::size_t>(i)] = near[2];
    }
    for (std::size_t i = 1; i + 1 < values.size(); ++i)
        result[i] = (median[i - 1] + 2 * median[i] + median[i + 1]) / 4;
    return result;
}

/// The gaps of all phases at one error ratio, from the sampling instant outwards as far as they are
/// open. Nothing when a fit is missing there or in many columns.
std::optional<Contour> MakeContour(const std::vector<Sides>& columns, double sampledAt, double ber)
{
    const auto count = static_cast<std::ptrdiff_t>(columns.size());
    const auto middle = static_cast<std::ptrdiff_t>(sampledAt * static_cast<double>(count));
    const auto phaseOf = [&](std::ptrdiff_t c) {
        return (static_cast<double>(c) + 0.5) / static_cast<double>(count);
    };
    std::vector<Sides::Gap> gaps;
    gaps.reserve(columns.size());
    for (const Sides& sides : columns) gaps.push_back(sides.At(ber));
    Contour contour;
    contour.ber = ber;
    struct Point
    {
        double phase, low, high;
    };
    std::vector<Point> points;
    std::size_t unknown = 0;
    // From the middle to one side; the point where the sides meet closes the line.
    const auto walk = [&](std::ptrdiff_t from, std::ptrdiff_t step) {
        std::optional<Point> last;
        for (std::ptrdiff_t c = from; c >= 0 && c < count; c += step) {
            const Sides::Gap& gap = gaps[static_cast<std::size_t>(c)];
            if (!gap.Known()) {
                ++unknown;
                continue;
            }
            contour.extrapolated |= gap.extrapolated;
            const double open = gap.high - gap.low;
            if (open <= 0) {
                if (last) {
                    const double part = (last->high - last->low) / (last->high - last->low - open);
                    const double meet = last->low + (gap.low - last->low) * part;
                    points.push_back({last->phase + (phaseOf(c) - last->phase) * part, meet, meet});
                }
                return;
            }
            last = Point{phaseOf(c), gap.low, gap.high};
            points.push_back(*last);
        }
    };
    walk(middle - 1, -1);
    std::ranges::reverse(points);
    walk(middle, 1);
    if (unknown > points.size() / 4) return std::nullopt;
    for (const Point& point : points) {
        contour.phase.push_back(point.phase);
        contour.low.push_back(point.low);
        contour.high.push_back(point.high);
    }
    if (contour.extrapolated && points.size() >= 5) {
        contour.low = Smoothed(contour.low);
        contour.high = Smoothed(contour.high);
    }
    return contour;
}

/// Of all thresholds' decisions, so that all bathtubs lie on the same places.
double GreatestOf(const EyeAnalysis::Decisions& decisions)
{
    double greatest = 0;
    for (const EyeAnalysis::Slice& slice : decisions.slices) {
        for (const VoltageHistogram* levels : {&slice.below, &slice.above}) {
            const auto [lowest, top] = OccupiedRows(*levels);
            if (lowest == top) continue;
            greatest =
                std::max({greatest, std::abs(levels->Edge(lowest)), std::abs(levels->Edge(top))});
        }
    }
    return greatest;
}

std::optional<Jitter> MakeJitter(const Sides& time)
{
    if (!time.low.fit || !time.high.fit) return std::nullopt;
    Jitter jitter;
    jitter.random = (time.low.fit->sigma + time.high.fit->sigma) / 2;
    // The clock edges lie at 0 and 1.
    jitter.deterministic = std::max(0.0, time.low.fit->mean - (time.high.fit->mean - 1));
    jitter.total = 1 - (FittedReach(*time.high.fit, -1, jitter.ber) -
                        FittedReach(*time.low.fit, 1, jitter.ber));
    return jitter;
}

}  // namespace

EyeFindings EvaluateEye(const EyeAnalysis& eye, double shift, const std::vector<double>& bers,
                        std::size_t which)
{
    const auto trials = static_cast<double>(eye.UnitIntervals());
    const auto boundaries = static_cast<double>(eye.Boundaries());
    const ThresholdCrossings& crossings = eye.Crossings()[which];
    const auto& decisions = DecisionsOf(eye);
    const EyeAnalysis::Slice& slice = decisions.slices[which];
    const Slicers& slicers = eye.LastSlicers();
    const double late = slicers.late[which], sampledAt = 0.5 + late;
    EyeFindings found;
    found.density = eye.Density();
    found.shift = shift;
    found.sampledAt = decisions.offset + late;
    found.threshold = slicers.thresholds[which];
    found.which = which;
    found.sliced = eye.IsSliced();
    found.unitIntervals = eye.UnitIntervals();
    found.notFinite = eye.NotFinite();
    found.firstNotFinite = eye.FirstNotFinite();
    if (boundaries > 0)
        found.transitionDensity = static_cast<double>(crossings.Transitions()) / boundaries;
    found.wild = eye.Wild();
    const Sides levels = VoltageSides(
        slice.below, trials, eye.Sensitivity(), [&](std::size_t r) { return slice.below.At(0, r); },
        [&](std::size_t r) { return slice.above.At(0, r); });
    found.vertical = CountedOpening(levels, kEyeProbability * trials);
    const Sides time = TimeSides(crossings, sampledAt, boundaries);
    const double allowed = kEyeProbability * boundaries;
    const auto width = [&](const Tail& tail) {
        return tail.Total() > allowed ? std::abs(tail.Reach(allowed) - sampledAt) : 0.5;
    };
    if (eye.MeanCrossing()) {
        found.left = width(time.low.tail);
        found.right = width(time.high.tail);
    }
    if (found.sliced) return found;
    found.settledAtBit = eye.Trend().SettledAt();

    found.time = time.MakeBathtub(late, 1 + late, kTimePoints);
    const double greatest = GreatestOf(decisions);
    found.voltage = levels.MakeBathtub(-greatest, greatest, kVoltagePoints);
    found.jitter = MakeJitter(time);

    // Where more decisions than that were wrong, the eye is closed, however its picture looks.
    const auto& symbols = eye.AtSampling().symbols;
    const auto errors = static_cast<double>(eye.AtSampling().slices[which].errors);
    const auto closed = [&](double ber) {
        return errors >= Tail::kFewest && errors > ber * static_cast<double>(symbols->Compared());
    };
    std::vector<Sides> columns;
    const VoltageHistogram &below = eye.Decided()[which], &above = eye.Decided()[which + 1];
    for (std::size_t c = 0; c < EyeAnalysis::kLevelColumns; ++c) {
        columns.push_back(VoltageSides(
            below, trials, eye.Sensitivity(), [&](std::size_t r) { return below.At(c, r); },
            [&](std::size_t r) { return above.At(c, r); }));
    }
    for (const double ber : bers) {
        if (closed(ber)) {
            found.openings.push_back({ber, 0, 0, false, false});
            found.contours.push_back({.ber = ber});
            continue;
        }
        const Sides::Gap tall = levels.At(ber), wide = time.At(ber);
        found.openings.push_back(
            {ber, tall.Size(), wide.Size(), tall.extrapolated, wide.extrapolated});
        if (auto contour = MakeContour(columns, sampledAt, ber))
            found.contours.push_back(*std::move(contour));
    }
    return found;
}

EyeFindings EvaluateEyes(const EyeAnalysis& eye, double shift, const std::vector<double>& bers)
{
    std::vector<EyeFindings> eyes;
    for (std::size_t which = 0; which < eye.Crossings().size(); ++which)
        eyes.push_back(EvaluateEye(eye, shift, bers, which));
    return WorstOf(std::move(eyes));
}

}  // namespace amisim
