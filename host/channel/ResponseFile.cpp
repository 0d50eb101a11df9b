#include "host/channel/ResponseFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numeric>

#include "base/Error.hpp"
#include "host/files/WavePoints.hpp"

namespace amisim {
namespace {

constexpr double kLongest = 1 << 20;  // samples
constexpr std::size_t kMostPoints = 1 << 23;
constexpr double kNothing = 1e-12;   // of the energy
constexpr double kSmallest = 1e-4;   // of the taps' magnitudes together: less is in other units
constexpr double kLargest = 1000.0;  // and so is more
constexpr double kRise = 0.1;        // of a step: where its edge begins
constexpr double kFlat = 0.2;        // of the steepest slope: rests
constexpr double kLevel = 1e-3;      // of a step: a baseline worth mention
constexpr double kUnsettled = 0.01;  // of the largest value

std::vector<WavePoint> ReadPoints(const std::filesystem::path& path,
                                  std::vector<std::string>& notes)
{
    const auto file = WavePoints::Open(path, {});
    const auto fail = [&](const std::string& place, const std::string& text) {
        throw Error(ExitCode::kInput, fmt::format("{}: {}", place, text));
    };
    if (!file->HasTime() && !file->Step())
        fail(path.string(), "expected two columns, time in s and value");
    notes = file->Notes();
    std::vector<WavePoint> points;
    for (WavePoint point; file->Next(point); points.push_back(point)) {
        if (!file->HasTime()) point.time = static_cast<double>(points.size()) * *file->Step();
        if (!points.empty() && !(point.time > points.back().time))
            fail(file->Place(), fmt::format("the times must rise, but {:g} follows {:g}",
                                            point.time, points.back().time));
        if (points.size() == kMostPoints)
            fail(file->Place(), "expected at most 8 million points; resample the response");
    }
    if (points.size() < 2) fail(path.string(), "expected two points or more");
    return points;
}

/// The step response's points from those of the impulse response.
std::vector<WavePoint> Integrated(const std::vector<WavePoint>& impulse)
{
    std::vector<WavePoint> step;
    double begin = impulse[0].time - 0.5 * (impulse[1].time - impulse[0].time), sum = 0;
    step.push_back({begin, 0, 0});
    for (std::size_t i = 0; i < impulse.size(); ++i) {
        const std::size_t next = std::min(i + 1, impulse.size() - 1);
        const double after =
            next > i ? impulse[next].time : 2 * impulse[i].time - impulse[i - 1].time;
        const double end = 0.5 * (impulse[i].time + after);
        sum += impulse[i].value * (end - begin);
        step.push_back({end, sum, 0});
        begin = end;
    }
    return step;
}

/// The level that a measured step starts from; 0 for a response that begins at its first point. A
/// record that rests on a level rises later, and more steeply, and by more than that level is.
double Baseline(const std::vector<WavePoint>& step)
{
    const double first = step[0].value, rise = step.back().value - first;
    const auto edge = std::ranges::find_if(step, [&](const WavePoint& p) {
        return std::abs(p.value - first) > kRise * std::abs(rise);
    });
    const auto rest =
        static_cast<std::size_t>(std::max<std::ptrdiff_t>(1, (edge - step.begin()) / 4));
    if (edge == step.end() || rest + 1 >= step.size()) return 0;
    double steepest = 0, sum = 0;
    for (std::size_t i = 1; i < step.size(); ++i) {
        const double slope =
            (step[i].value - step[i - 1].value) / (step[i].time - step[i - 1].time);
        steepest = std::max(steepest, std::abs(slope));
    }
    for (std::size_t i = 0; i < rest; ++i) sum += step[i].value;
    const double level = sum / static_cast<double>(rest);
    const double slope = (step[rest].value - first) / (step[rest].time - step[0].time);
    const bool rests = std::abs(slope) < kFlat * steepest;
    return rests && std::abs(rise) > std::abs(level) && std::abs(level) > kLevel * std::abs(rise)
               ? level
               : 0;
}

/// How much the last tenth of the time still adds, over the largest value.
double Unsettled(const std::vector<WavePoint>& step, double baseline)
{
    const double time = step.back().time - 0.1 * (step.back().time - step[0].time);
    const auto late =
        std::ranges::find_if(step, [&](const WavePoint& p) { return p.time >= time; });
    double largest = 0;
    for (const WavePoint& p : step) largest = std::max(largest, std::abs(p.value - baseline));
    return (step.back().value - late->value) / largest;
}

}  // namespace

ChannelResponse ReadResponse(const std::filesystem::path& path, ResponseKind kind,
                             double sampleInterval)
{
    const bool isStep = kind == ResponseKind::kStep;
    ChannelResponse channel;
    const std::vector<WavePoint> read = ReadPoints(path, channel.notes);
    const std::vector<WavePoint> step = isStep ? read : Integrated(read);
    const auto fail = [&](const std::string& text) {
        throw Error(ExitCode::kInput, fmt::format("{}: {}", path.string(), text));
    };
    // A little less, so that rounding adds no sample to a response on the grid.
    const double count =
        std::ceil((step.back().time - step[0].time) / sampleInterval - 1e-6) + (isStep ? 1 : 0);
    if (count > kLongest) {
        fail(
            fmt::format("lasts {:.4g} s, {:.0f} samples of {:.4g} s; expected a million at most: "
                        "are its times in seconds?",
                        step.back().time - step[0].time, count, sampleInterval));
    }

    // The first tap of a step response is what is there at once, at the time of its first point.
    std::vector<double> taps;
    const double baseline = isStep ? Baseline(read) : 0;
    double before = baseline;
    for (std::size_t n = isStep ? 0 : 1, k = 1; std::ssize(taps) < static_cast<long>(count); ++n) {
        const double time = step[0].time + static_cast<double>(n) * sampleInterval;
        while (k + 1 < step.size() && step[k].time < time) ++k;
        const WavePoint &a = step[k - 1], &b = step[k];
        const double x = std::clamp((time - a.time) / (b.time - a.time), 0.0, 1.0);
        const double value = a.value + (b.value - a.value) * x;
        taps.push_back(value - before);
        before = value;
    }

    const double energy = std::inner_product(taps.begin(), taps.end(), taps.begin(), 0.0);
    double magnitude = 0;
    for (const double tap : taps) magnitude += std::abs(tap);
    if (!(energy > 0)) fail("the channel lets nothing through");
    if (magnitude < kSmallest || magnitude > kLargest) {
        fail(fmt::format("has an area of {:.3g}; expected about 1 with {}", magnitude,
                         isStep ? "a step response in V/V" : "an impulse response in 1/s"));
    }
    // What is silent at either end is not convolved with.
    std::size_t front = 0, back = taps.size();
    for (double sum = 0; (sum += taps[front] * taps[front]) <= kNothing * energy;) ++front;
    for (double sum = 0; (sum += taps[back - 1] * taps[back - 1]) <= kNothing * energy;) --back;
    channel.sampleInterval = sampleInterval;
    channel.dcGain = before - baseline;
    const double first = step[0].time / sampleInterval + (isStep ? 0.0 : 0.5) + 1e-6;
    channel.delay =
        static_cast<std::size_t>(std::max(0.0, std::floor(first + static_cast<double>(front))));
    channel.taps.assign(taps.begin() + static_cast<std::ptrdiff_t>(front),
                        taps.begin() + static_cast<std::ptrdiff_t>(back));
    channel.notes.push_back(
        fmt::format("{} response of {:.4g} ns after a delay of {:.4g} ns, gain at 0 Hz {:.4f}",
                    isStep ? "step" : "impulse",
                    static_cast<double>(channel.taps.size()) * sampleInterval * 1e9,
                    static_cast<double>(channel.delay) * sampleInterval * 1e9, channel.dcGain));
    if (baseline != 0) {
        channel.notes.push_back(fmt::format(
            "a baseline of {:.4g} before the step taken off (it would not be with a first point "
            "of 0)",
            baseline));
    }
    if (const double rest = Unsettled(step, baseline); std::abs(rest) > kUnsettled) {
        channel.notes.push_back(
            fmt::format("has not settled: the last tenth of its time adds {:.2g} %", 100 * rest));
    }
    return channel;
}

}  // namespace amisim
