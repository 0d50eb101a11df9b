#include "host/statistical/StatisticalEye.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/InParallel.hpp"
#include "host/analysis/Tail.hpp"
#include "host/statistical/Blur.hpp"
#include "host/statistical/EdgeSum.hpp"

namespace amisim {
namespace {

constexpr int kPhases = 64;  // columns a unit interval, and one more at its end
constexpr int kMiddle = kPhases / 2;
constexpr int kAggressorPhases = 32;
constexpr std::size_t kFewestBins = 512, kMostBins = 16384;
constexpr std::size_t kVoltagePoints = 401;

/// A density with lines in it (few possible values) goes on beyond the highest frequency. Where
/// that is more than kLeft, it is cut off by a Gaussian of this many bins, or it would ring.
constexpr double kLeft = 1e-13, kSmearBins = 2.46;

constexpr double kTotalJitterAt = 1e-12;

/// One phase of the eye: the density of each symbol's voltage.
using Column = std::vector<VoltageDensity>;

/// Makes the columns of one link.
class Columns
{
public:
    explicit Columns(const StatisticalLink& link);

    const EdgeSum& Signal() const { return signal_; }
    const VoltageGrid& Grid() const { return grid_; }
    double Smear() const { return smear_; }

    /// With bins so fine as the density at that time needs.
    void Refine(double time);
    void SetBins(std::size_t bins);
    Column At(double time) const;

private:
    std::vector<Characteristic> SymbolsAt(double time) const;
    double HighestLeft(double time) const;

    EdgeSum signal_;
    std::vector<EdgeSum> aggressors_;
    double noise_ = 0, smear_ = 0;  // V rms
    double uniform_ = 0;            // V, half of the peak to peak
    VoltageGrid grid_;
    Characteristic common_;  // of what is added to every symbol at every phase
};

std::vector<EdgeSum> MakeAggressors(const StatisticalLink& link)
{
    std::vector<EdgeSum> aggressors;
    for (const StepResponse& response : link.aggressors) {
        aggressors.emplace_back(SymbolTrellis(link.modulation, {}), response, BoundaryJitter{});
    }
    return aggressors;
}

/// The greatest voltage that all of the sums can reach at any phase, V.
double Peak(const EdgeSum& sum)
{
    double peak = 0;
    for (int phase = 0; phase < kPhases; ++phase) {
        for (const auto& [low, high] : sum.Extremes(static_cast<double>(phase) / kPhases)) {
            peak = std::max({peak, -low, high});
        }
    }
    return peak;
}

Columns::Columns(const StatisticalLink& link)
    : signal_(SymbolTrellis(link.modulation, link.deemphasis), link.response, link.jitter),
      aggressors_(MakeAggressors(link)),
      noise_(link.noise),
      uniform_(link.uniformNoise)
{
    constexpr double kSigmas = 9;
    // With jitter a sum may reach a little further.
    double peak = 1.1 * Peak(signal_) + kSigmas * noise_ + uniform_;
    for (const EdgeSum& aggressor : aggressors_) {
        peak += Peak(aggressor);
    }
    grid_.range = peak;
    SetBins(kFewestBins);
}

void Columns::SetBins(std::size_t bins)
{
    grid_.bins = bins;
    const double step = grid_.FrequencyStep();
    const std::size_t size = grid_.Frequencies();
    common_ = Characteristic(size);
    std::ranges::fill(common_.real, 1.0);
    for (std::size_t n = 1; uniform_ > 0 && n < size; ++n) {
        const double angle = uniform_ * step * static_cast<double>(n);
        common_.real[n] = std::sin(angle) / angle;
    }
    Spread(noise_ * noise_ + smear_ * smear_, step, common_);
    for (const EdgeSum& aggressor : aggressors_) {
        Characteristic mean(size), product(size);
        for (int phase = 0; phase < kAggressorPhases; ++phase) {
            const double time = static_cast<double>(phase) / kAggressorPhases;
            const auto symbols = aggressor.At(time, step, size);
            const double all = static_cast<double>(symbols.size()) * kAggressorPhases;
            for (const Characteristic& symbol : symbols) {
                AddScaled(1.0 / all, symbol, mean);
            }
        }
        AddProduct(1, common_, mean, product);
        common_ = std::move(product);
    }
}

std::vector<Characteristic> Columns::SymbolsAt(double time) const
{
    std::vector<Characteristic> symbols =
        signal_.At(time, grid_.FrequencyStep(), grid_.Frequencies());
    for (Characteristic& symbol : symbols) {
        Characteristic whole(grid_.Frequencies());
        AddProduct(1, symbol, common_, whole);
        symbol = std::move(whole);
    }
    return symbols;
}

double Columns::HighestLeft(double time) const
{
    double left = 0;
    for (const Characteristic& symbol : SymbolsAt(time)) {
        for (std::size_t n = symbol.Size() * 7 / 8; n < symbol.Size(); ++n) {
            left = std::max(left, std::hypot(symbol.real[n], symbol.imaginary[n]));
        }
    }
    return left;
}

void Columns::Refine(double time)
{
    while (HighestLeft(time) > kLeft) {
        if (grid_.bins == kMostBins) {
            smear_ = kSmearBins * grid_.BinHeight();
            SetBins(grid_.bins);
            return;
        }
        SetBins(2 * grid_.bins);
    }
}

Column Columns::At(double time) const
{
    Column column;
    for (const Characteristic& symbol : SymbolsAt(time)) {
        column.emplace_back(grid_, symbol);
    }
    return column;
}

/// Part of the symbols on the wrong side of a threshold that is at that voltage.
double WrongAt(const Column& column, std::size_t which, double volts)
{
    double wrong = 0;
    for (std::size_t symbol = 0; symbol < column.size(); ++symbol) {
        wrong += symbol > which ? column[symbol].Below(volts) : column[symbol].Above(volts);
    }
    return wrong / static_cast<double>(column.size());
}

/// Time at which the symbol that begins at 0 has crossed the middle threshold in half of the cases
/// in which it does; of two middle ones in half of both.
double FindDelay(StatisticalLink link)
{
    // A sine and what is even and odd move the transitions to both sides alike.
    link.jitter.sines.clear();
    link.jitter.evenOdd = 0;
    const Columns columns(link);
    const Modulation& modulation = link.modulation;
    const std::size_t count = modulation.thresholds.size();
    const std::size_t low = (count - 1) / 2, high = count / 2;
    const auto wrong = [&](double time) {
        const Column column = columns.At(time);
        return (WrongAt(column, low, modulation.thresholds[low]) +
                WrongAt(column, high, modulation.thresholds[high])) /
               2;
    };
    // Of independent symbols this part is above the threshold, the one before below it, or the
    // other way round: where half of these have crossed, half of it is on the wrong side.
    const double above = static_cast<double>(low + 1) / static_cast<double>(count + 1);
    const double halfCrossed = above * (1 - above);
    constexpr double kStep = 1.0 / 8;
    constexpr int kSteps = 23;
    double before = columns.Signal().Response().Half() - 1.5;
    double last = wrong(before);
    for (int i = 0; i < kSteps; ++i) {
        const double next = wrong(before + kStep);
        if (last >= halfCrossed && next < halfCrossed) {
            break;
        }
        before += kStep;
        last = next;
    }
    double after = before + kStep;
    constexpr double kExact = 1e-5;
    while (after - before > kExact) {
        const double middle = (before + after) / 2;
        (wrong(middle) >= halfCrossed ? before : after) = middle;
    }
    return (before + after) / 2;
}

/// Halfway between the means of the symbols, around which all that others add is symmetric.
std::vector<double> MiddlesAt(const EdgeSum& signal, double time)
{
    const auto extremes = signal.Extremes(time);
    std::vector<double> middles;
    for (std::size_t i = 1; i < extremes.size(); ++i) {
        middles.push_back(
            (extremes[i - 1].low + extremes[i - 1].high + extremes[i].low + extremes[i].high) / 4);
    }
    return middles;
}

/// What one threshold's eye is made of.
class Evaluation
{
public:
    Evaluation(const std::vector<Column>& columns, const StatisticalLink& link, std::size_t which,
               double range)
        : columns_(columns),
          which_(which),
          threshold_(link.modulation.thresholds[which]),
          share_(static_cast<double>(link.modulation.levels.size())),
          needed_(link.sensitivity),
          range_(range)
    {
    }

    EyeFindings Find(const std::vector<double>& bers) const;
    double Width(double ratio) const { return Reach(ratio, -1) + Reach(ratio, 1); }  // UI

private:
    static double PhaseOf(int column) { return static_cast<double>(column) / kPhases; }
    const Column& At(int column) const { return columns_[static_cast<std::size_t>(column)]; }

    /// Between the two symbols beside the threshold: may be upside down.
    Opening OpeningAt(int column, double ratio) const
    {
        return {At(column)[which_ + 1].LowestWith(ratio * share_) - needed_,
                At(column)[which_].HighestWith(ratio * share_) + needed_};
    }

    double Reach(double ratio, int direction) const;
    Contour MakeContour(double ber) const;
    Bathtub TimeBathtub() const;
    Bathtub VoltageBathtub() const;

    const std::vector<Column>& columns_;
    std::size_t which_;
    double threshold_, share_, needed_, range_;
};

/// How far from the middle the threshold may be sampled with that error ratio, UI. Straight on the
/// Q scale from column to column.
double Evaluation::Reach(double ratio, int direction) const
{
    // Below is rounding, which is not to say where a vertical side stands.
    constexpr double kLeast = 1e-15;
    double last = WrongAt(At(kMiddle), which_, threshold_);
    if (last > ratio) {
        return 0;
    }
    for (int away = 1; away <= kMiddle; ++away) {
        const double next = WrongAt(At(kMiddle + direction * away), which_, threshold_);
        if (next > ratio) {
            const double from = InverseQ(std::max(last, kLeast)), to = InverseQ(next);
            const double part = (from - InverseQ(ratio)) / (from - to);
            return PhaseOf(away - 1) + part / kPhases;
        }
        last = next;
    }
    return 0.5;
}

Contour Evaluation::MakeContour(double ber) const
{
    const Contour nothing{.ber = ber, .computed = true};
    Contour contour = nothing;
    for (int column = 0; column <= kPhases; ++column) {
        const Opening open = OpeningAt(column, ber);
        if (open.Height() > 0) {
            contour.phase.push_back(PhaseOf(column));
            contour.high.push_back(open.high);
            contour.low.push_back(open.low);
        } else if (column > kMiddle) {
            break;
        } else {
            contour = nothing;  // what was open before is another eye's
        }
    }
    return contour;
}

Bathtub Evaluation::TimeBathtub() const
{
    Bathtub tub;
    for (int column = 0; column <= kPhases; ++column) {
        tub.x.push_back(PhaseOf(column));
        tub.counted.push_back(WrongAt(At(column), which_, threshold_));
        tub.extrapolated.push_back(kUnknown);
    }
    return tub;
}

Bathtub Evaluation::VoltageBathtub() const
{
    Bathtub tub;
    for (std::size_t i = 0; i < kVoltagePoints; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(kVoltagePoints - 1);
        const double volts = range_ * (2 * part - 1);
        tub.x.push_back(volts);
        tub.counted.push_back((At(kMiddle)[which_ + 1].Below(volts + needed_) +
                               At(kMiddle)[which_].Above(volts - needed_)) /
                              share_);
        tub.extrapolated.push_back(kUnknown);
    }
    return tub;
}

EyeFindings Evaluation::Find(const std::vector<double>& bers) const
{
    EyeFindings found;
    found.threshold = threshold_;
    found.which = which_;
    const Opening tall = OpeningAt(kMiddle, kEyeProbability);
    found.vertical = tall.Height() > 0 ? tall : Opening{};
    found.left = Reach(kEyeProbability, -1);
    found.right = Reach(kEyeProbability, 1);
    for (const double ber : bers) {
        found.openings.push_back(
            {ber, std::max(0.0, OpeningAt(kMiddle, ber).Height()), Width(ber), false, false});
        found.contours.push_back(MakeContour(ber));
    }
    found.time = TimeBathtub();
    found.voltage = VoltageBathtub();
    return found;
}

/// The columns of a unit interval and its end, as the receiver's clock sees them.
std::vector<Column> SeenColumns(const Columns& columns, const SamplingTime& when, double delay)
{
    constexpr int kSteps = SamplingTime::kSteps / kPhases;
    const int last = when.First() + static_cast<int>(when.Parts().size()) - 1;
    const int before = std::max(0, (kSteps - 1 - when.First()) / kSteps);
    const int after = std::max(0, (last + kSteps - 1) / kSteps);
    std::vector<Column> all(static_cast<std::size_t>(before + kPhases + 1 + after));
    InParallel(static_cast<int>(all.size()), [&](int column) {
        all[static_cast<std::size_t>(column)] =
            columns.At(delay + static_cast<double>(column - before) / kPhases);
    });
    if (when.IsStill()) return all;
    std::vector<Column> seen(kPhases + 1);
    for (std::size_t symbol = 0; symbol < all[0].size(); ++symbol) {
        std::vector<VoltageDensity> own;
        for (const Column& column : all) own.push_back(column[symbol]);
        const auto blurred = Blurred(own, kSteps, when, before, kPhases + 1);
        for (std::size_t column = 0; column < seen.size(); ++column)
            seen[column].push_back(blurred[column]);
    }
    return seen;
}

/// Has the clock's share of the sines stand against the phase that they have at a boundary, which
/// arrives so many UI later.
StatisticalLink SeenFromBoundary(StatisticalLink link, double delay)
{
    for (BoundaryJitter::Sine& sine : link.jitter.sines) {
        const double late = 2 * std::numbers::pi * sine.frequency * delay;
        const double own = sine.clockSine, other = sine.clockCosine;
        sine.clockSine = own * std::cos(late) - other * std::sin(late);
        sine.clockCosine = other * std::cos(late) + own * std::sin(late);
    }
    return link;
}

}  // namespace

std::vector<Contour> BestContours(const EyeFindings& counted, const EyeFindings* computed)
{
    if (!computed) {
        return counted.contours;
    }
    std::vector<Contour> best;
    for (const Contour& line : computed->contours) {
        const auto same = std::ranges::find(counted.contours, line.ber, &Contour::ber);
        best.push_back(same != counted.contours.end() && !same->extrapolated ? *same : line);
    }
    return best;
}

StatisticalEye ComputeStatisticalEye(StatisticalLink link, const std::vector<double>& bers)
{
    StatisticalEye eye;
    const bool told = !link.modulation.thresholds.empty();
    if (!told) {
        link.modulation.thresholds = MiddlesAt(Columns(link).Signal(), link.response.Half() + 0.5);
    }
    eye.delay = FindDelay(link);
    if (!told) link.modulation.thresholds = MiddlesAt(Columns(link).Signal(), eye.delay + 0.5);
    Columns columns(SeenFromBoundary(link, eye.delay));
    columns.Refine(eye.delay + 0.5);
    eye.binHeight = columns.Grid().BinHeight();
    eye.smear = columns.Smear();

    const std::vector<Column> all = SeenColumns(columns, link.sampling, eye.delay);
    const auto extremes = columns.Signal().Extremes(eye.delay + 0.5);
    const std::size_t middle = (link.modulation.thresholds.size() - 1) / 2;
    for (std::size_t which = 0; which < link.modulation.thresholds.size(); ++which) {
        const Evaluation evaluation(all, link, which, columns.Grid().range);
        eye.eyes.push_back(evaluation.Find(bers));
        eye.worstHeights.push_back(extremes[which + 1].low - extremes[which].high);
        if (which == middle) {
            eye.jitter = FindJitterParts(link, columns.Signal(), eye.delay,
                                         evaluation.Width(kTotalJitterAt), kTotalJitterAt);
        }
    }
    return eye;
}

}  // namespace amisim
