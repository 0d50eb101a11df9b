#include "host/analysis/ClockAnalysis.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>

#include "base/Error.hpp"
#include "base/StraightLine.hpp"
#include "host/analysis/TieSpectrum.hpp"

namespace amisim {
namespace {

constexpr double kTrendPoints = 2000;
constexpr double kPeriodWindow = 256;  // unit intervals: long enough for clocks on the sample grid
constexpr double kSettledWithin = 0.15;  // UI
constexpr double kSettledPart = 0.1;     // of the run, at least
constexpr double kSettleBlock = 32;      // edges, whose mean is looked at
constexpr double kSettleEnd = 256;       // edges, whose mean is the end
constexpr double kMovedEdges = 4096;     // at most, whose mean is taken at either end
constexpr std::size_t kHistogramRows = 4096, kHistogramBins = 256;

/// Mean, least and greatest of consecutive values in so many points of equal length.
class Thinning
{
public:
    Thinning(double first, double length, double least)
        : first_(first), size_(std::max(least, std::ceil(length / kTrendPoints)))
    {
    }
    void Add(double number, double value)
    {
        const double point = std::floor((number - first_) / size_);
        if (point != point_) Flush();
        point_ = point;
        ++count_;
        sum_ += value;
        least_ = std::min(least_, value);
        greatest_ = std::max(greatest_, value);
    }
    Trend Take(double bitOffset)
    {
        Flush();
        for (double& bit : trend_.bit) bit += bitOffset;
        return std::move(trend_);
    }

private:
    void Flush()
    {
        if (count_ > 0) {
            trend_.bit.push_back(first_ + (point_ + 0.5) * size_);
            trend_.mean.push_back(sum_ / count_);
            trend_.least.push_back(least_);
            trend_.greatest.push_back(greatest_);
        }
        count_ = sum_ = 0;
        least_ = HUGE_VAL;
        greatest_ = -HUGE_VAL;
    }
    double first_, size_;
    double point_ = 0, count_ = 0, sum_ = 0, least_ = HUGE_VAL, greatest_ = -HUGE_VAL;
    Trend trend_;
};

/// The rows that hold anything, merged until there are few enough to draw.
Histogram Trimmed(const VoltageHistogram& counted)
{
    auto [from, to] = OccupiedRows(counted);
    std::size_t merged = 1;
    while ((to - from) / merged > kHistogramBins) merged *= 2;
    Histogram result;
    from -= from % merged;
    const auto width = static_cast<double>(merged) * counted.BinHeight();
    result.step = width;
    result.first = counted.Edge(from) + width / 2;
    for (std::size_t row = from; row < to; row += merged) {
        std::uint64_t sum = 0;
        for (std::size_t k = row; k < std::min(row + merged, to); ++k) sum += counted.At(0, k);
        result.counts.push_back(sum);
    }
    return result;
}

/// How far the last of so many values, by their mean, are from the first.
class Movement
{
public:
    explicit Movement(double count) : count_(count), part_(std::min(kMovedEdges, count / 4)) {}
    void Add(double value)
    {
        if (number_ < part_) first_ += value;
        if (number_ >= count_ - part_) last_ += value;
        ++number_;
    }
    double Find() const { return part_ < 1 ? kUnknown : (last_ - first_) / std::ceil(part_); }

private:
    double count_, part_, number_ = 0, first_ = 0, last_ = 0;
};

/// How much of a sequence goes with a sine.
class Follower
{
public:
    explicit Follower(double frequency) : turn_(2 * std::numbers::pi * frequency) {}
    void Add(double time, double value)
    {
        if (count_++ == 0) first_ = time;
        last_ = time;
        sum_.sine += value * std::sin(turn_ * time);
        sum_.cosine += value * std::cos(turn_ * time);
    }
    /// Nothing where the sine has too few periods to be told from a trend.
    ClockFindings::Followed Find() const
    {
        constexpr double kFewestTurns = 4 * 2 * std::numbers::pi;
        if (!(turn_ * (last_ - first_) > kFewestTurns)) return {};
        return {2 * sum_.sine / count_, 2 * sum_.cosine / count_};
    }
    double At(double time) const
    {
        const ClockFindings::Followed found = Find();
        return found.sine * std::sin(turn_ * time) + found.cosine * std::cos(turn_ * time);
    }

private:
    double turn_, count_ = 0, first_ = 0, last_ = 0;
    ClockFindings::Followed sum_;
};

}  // namespace

ClockAnalysis::ClockAnalysis(Settings settings)
    : settings_(std::move(settings)),
      nominal_(settings_.bitTime / settings_.sampleInterval),
      spool_(settings_.folder)
{
}

void ClockAnalysis::Add(std::span<const ClockFrame::Edge> edges)
{
    for (const ClockFrame::Edge& edge : edges) {
        // A number that is not the next one stands before its edge, negative.
        const double entries[] = {-edge.number, edge.time};
        const bool next = edge.number == lastNumber_ + 1;
        spool_.Add(std::span(entries).last(next ? 1 : 2));
        if (edges_++ == 0) firstTime_ = edge.time;
        lastNumber_ = edge.number;
    }
}

template <typename Take>
void ClockAnalysis::Replay(Take take)
{
    double number = 0;
    bool gap = false;
    spool_.Replay([&](std::span<const double> entries) {
        for (const double entry : entries) {
            if (entry < 0) {
                number = -entry;
                gap = true;
                continue;
            }
            take(number, entry, gap);
            number += 1;
            gap = false;
        }
    });
}

ClockFindings ClockAnalysis::Find(std::span<const double> sines)
{
    ClockFindings found;
    // Deviations from the nominal clock, which are small numbers.
    const auto deviation = [this](double number, double time) {
        return time - firstTime_ - number * nominal_;
    };
    StraightLine line, window;
    double windowStart = 0;
    Thinning period(0, lastNumber_ + 1, kPeriodWindow);
    const auto closeWindow = [&] {
        if (window.Count() >= kPeriodWindow / 2) {
            period.Add(windowStart + kPeriodWindow / 2, window.Slope() / nominal_ * 1e6);
        }
        window = {};
    };
    Replay([&](double number, double time, bool) {
        if (time >= settings_.countFrom) line.Add(number, deviation(number, time));
        if (number >= windowStart + kPeriodWindow) {
            closeWindow();
            windowStart = std::floor(number / kPeriodWindow) * kPeriodWindow;
        }
        window.Add(number, deviation(number, time));
    });
    closeWindow();
    const double offset = firstTime_ / nominal_;
    found.period = period.Take(offset);
    if (line.Count() < 2) return found;

    const double unitInterval = nominal_ + line.Slope();
    found.unitInterval = unitInterval * settings_.sampleInterval;
    found.ppm = (nominal_ / unitInterval - 1) * 1e6;
    const auto tieOf = [&](double number, double time) {
        return (deviation(number, time) - line.At(number)) / unitInterval;
    };

    double end = 0, endCount = 0;
    std::vector<Follower> followers(sines.begin(), sines.end());
    Replay([&](double number, double time, bool) {
        for (Follower& follower : followers) {
            if (time >= settings_.countFrom) follower.Add(time, tieOf(number, time));
        }
        if (number + kSettleEnd <= lastNumber_) return;
        end += tieOf(number, time);
        ++endCount;
    });
    end /= endCount;

    Thinning tie(0, lastNumber_ + 1, 1);
    VoltageHistogram histogram(1, kHistogramRows), own(1, kHistogramRows);
    TieSpectrum spectrum(static_cast<std::size_t>(line.Count()), found.unitInterval);
    Movement movement(line.Count());
    double least = HUGE_VAL, greatest = -HUGE_VAL, squares = 0;
    double blockSum = 0, blockCount = 0, unsettled = 0;
    Replay([&](double number, double time, bool gap) {
        const double value = tieOf(number, time);
        tie.Add(number, value);
        blockSum += value - end;
        if (++blockCount == kSettleBlock) {
            if (std::abs(blockSum / blockCount) > kSettledWithin) unsettled = number + 1;
            blockSum = blockCount = 0;
        }
        if (time < settings_.countFrom) return;
        least = std::min(least, value);
        greatest = std::max(greatest, value);
        squares += value * value;
        histogram.Fit(std::abs(value));
        histogram.Count(0, value);
        double left = value;
        for (const Follower& follower : followers) left -= follower.At(time);
        // Of the line, too, what the sent unit intervals are not.
        movement.Add(left + (line.At(number) + (nominal_ - settings_.sentUnitInterval) * number) /
                                unitInterval);
        own.Fit(std::abs(left));
        own.Count(0, left);
        if (gap) spectrum.Break();
        spectrum.Add(value);
    });
    found.tie = tie.Take(offset);
    if (unsettled < (1 - kSettledPart) * lastNumber_) found.settledAtBit = offset + unsettled;
    found.tieHistogram = Trimmed(histogram);
    found.ownHistogram = Trimmed(own);
    for (const Follower& follower : followers) found.followed.push_back(follower.Find());
    if (settings_.sentUnitInterval > 0) found.moved = movement.Find();
    found.tieRms = std::sqrt(squares / line.Count());
    found.tiePeakToPeak = greatest - least;
    found.tieSpectrum = spectrum.Find();
    return found;
}

}  // namespace amisim
