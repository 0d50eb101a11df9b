#include "host/signal/BitRateEstimate.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "base/Error.hpp"
#include "base/StraightLine.hpp"

namespace amisim {
namespace {

constexpr std::size_t kFirst = 20000;    // crossings for the first estimates
constexpr std::size_t kLeast = 20;       // crossings
constexpr double kHysteresis = 0.2;      // of the signal's deviation, either side of the mean
constexpr double kLargestJitter = 0.15;  // unit intervals rms, of a signal that has a bit rate

/// The crossings of a waveform's mean, one after the other. The signal has crossed when it has come
/// as far as the hysteresis beyond; the crossing is midway between the first and the last of those
/// that noise makes of one edge.
class Crossings
{
public:
    explicit Crossings(WavePoints& points) : points_(points)
    {
        WavePoint point;
        double sum = 0, squares = 0, count = 0;
        for (points_.Rewind(); points_.Next(point);) {
            count += 1;
            sum += point.value;
            squares += point.value * point.value;
        }
        mean_ = sum / count;
        hysteresis_ = kHysteresis * std::sqrt(std::max(0.0, squares / count - mean_ * mean_));
        points_.Rewind();
    }

    bool Next(double& time)
    {
        WavePoint point;
        while (points_.Next(point)) {
            if (!points_.HasTime()) point.time = number_++ * points_.Step().value_or(1);
            const double value = point.value - mean_;
            if ((value > 0) != (before_.value > 0)) {
                last_ = before_.time +
                        (point.time - before_.time) * before_.value / (before_.value - value);
                if (!crossed_) first_ = last_;
                crossed_ = true;
            }
            before_ = {point.time, value, 0};
            const int side = (value > hysteresis_) - (value < -hysteresis_);
            if (side == 0) continue;
            const bool done = crossed_ && side_ != 0 && side != side_;
            crossed_ = false;
            side_ = side;
            if (!done) continue;
            time = 0.5 * (first_ + last_);
            return true;
        }
        return false;
    }

private:
    WavePoints& points_;
    double mean_ = 0, hysteresis_ = 0, number_ = 0;
    WavePoint before_;
    int side_ = 0;  // on which the signal was last beyond the hysteresis
    bool crossed_ = false;
    double first_ = 0, last_ = 0;
};

/// Mean of distance over unit intervals for the distances up to `longest` unit intervals.
double MeanInterval(const std::vector<double>& distances, double interval, double longest)
{
    double sum = 0, count = 0;
    for (const double distance : distances) {
        const double intervals = std::round(distance / interval);
        if (intervals < 1 || intervals > longest) continue;
        sum += distance;
        count += intervals;
    }
    return count > 0 ? sum / count : interval;
}

}  // namespace

BitRateEstimate EstimateBitRate(WavePoints& points)
{
    const auto fail = [&](const std::string& text) {
        throw Error(ExitCode::kInput, fmt::format("{}: {}", points.Path().string(), text));
    };
    if (!points.HasTime() && !points.Step())
        fail("has no times to find a bit rate by; give --wave-step");
    Crossings crossings(points);
    std::vector<double> times(1);
    while (times.size() <= kFirst && crossings.Next(times.back())) times.push_back(0);
    times.pop_back();
    if (times.size() < kLeast) {
        fail(
            fmt::format("crosses its mean {} times only, too few to find a bit rate by; give "
                        "--bit-rate",
                        times.size()));
    }

    std::vector<double> distances;
    for (std::size_t i = 1; i < times.size(); ++i) distances.push_back(times[i] - times[i - 1]);
    auto sorted = distances;
    const auto low = sorted.begin() + std::ssize(sorted) / 8;
    std::ranges::nth_element(sorted, low);
    double interval = *low;
    for (const double longest : {1.0, 1.0, 2.0, 4.0, 8.0, 1e9}) {
        interval = MeanInterval(distances, interval, longest);
    }

    StraightLine line;
    double number = 0, before = times[0];
    const auto add = [&](double time) {
        number += std::round((time - before) / interval);
        before = time;
        line.Add(number, time - times[0]);
    };
    for (const double time : times) add(time);
    interval = line.Slope();
    for (double time = 0; crossings.Next(time);) add(time);

    BitRateEstimate estimate;
    interval = line.Slope();
    estimate.bitRate = 1 / interval;
    estimate.jitter = line.Residual() / interval;
    estimate.uncertainty = line.Residual() / std::sqrt(line.Spread()) / interval * 1e6;
    estimate.crossings = static_cast<std::int64_t>(line.Count());
    if (!(estimate.jitter < kLargestJitter)) {
        fail(
            fmt::format("no bit rate found: the crossings of the mean lie {:.2g} UI rms from even "
                        "intervals; give --bit-rate",
                        estimate.jitter));
    }
    return estimate;
}

}  // namespace amisim
