#include "host/signal/WaveFile.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/Error.hpp"

namespace amisim {

constexpr double kLongest = 1e12;    // samples on the grid
constexpr double kWhole = 0.01;      // samples that rounded times may lack of a whole one
constexpr double kHighest = 1e30;    // V
constexpr double kShortest = 1e-30;  // s from point to point: what is less gives no finite slope

/// What the times of a file are like.
struct WaveFile::Survey
{
    std::int64_t points = 0;
    double first = 0, last = 0;
    double shortest = 0, longest = 0;  // steps
    double largest = 0;                // magnitude of a time
    int digits = 0;                    // most of any time: fewer are those that end in zeros
    std::string standstill;            // the first place where the time does not go on
    std::int64_t gaps = 0;
    double inGaps = 0, longestGap = 0, longestGapAt = 0;
    std::string longestGapPlace;

    double MeanStep() const
    {
        return (last - first - inGaps) / static_cast<double>(points - 1 - gaps);
    }

    /// The weight of the last digit of the largest times.
    double Resolution() const
    {
        return largest > 0 ? std::pow(10.0, std::floor(std::log10(largest)) - digits + 1) : 0;
    }
};

WaveFile::WaveFile(std::unique_ptr<WavePoints> points, double sampleInterval)
    : points_(std::move(points)), sampleInterval_(sampleInterval)
{
    const std::string name = points_->Path().string();
    for (const std::string& note : points_->Notes()) notes_.push_back(name + ": " + note);
    if (!points_->HasTime()) {
        evenStep_ = points_->Step();
        if (!evenStep_) {
            throw Error(ExitCode::kInput,
                        fmt::format("{}: holds no times, nor a sample interval in a heading; give "
                                    "--wave-step",
                                    name));
        }
    }
    const Survey survey = ReadThrough();
    if (!evenStep_ && IsEvenButForRounding(survey)) {
        evenStep_ = survey.MeanStep();
        evenStart_ = survey.first;
        notes_.push_back(
            fmt::format("{}: the times are rounded to {:.3g} s; taken as even steps of {:.6g} s",
                        name, survey.Resolution(), *evenStep_));
    } else if (!survey.standstill.empty()) {
        throw Error(
            ExitCode::kInput,
            fmt::format("{}: the times must rise; write them with more digits", survey.standstill));
    }
    const double meanStep = survey.MeanStep();
    const bool even = survey.longest - survey.shortest <= 1e-3 * meanStep || evenStep_;
    if (std::abs(meanStep / sampleInterval_ - 1) > 1e-6 || survey.gaps > 0 || !even) {
        notes_.push_back(
            fmt::format("{}: resampled from steps of {} s to {:.6g} s", name,
                        even ? fmt::format("{:.6g}", meanStep)
                             : fmt::format("{:.4g} to {:.4g}", survey.shortest, survey.longest),
                        sampleInterval_));
    }
    if (survey.gaps > 0) {
        notes_.push_back(fmt::format(
            "{}: {} of more than {:g} steps bridged by a straight line, the longest {:.4g} s at "
            "{:.6g} s ({})",
            name, survey.gaps == 1 ? "a gap" : fmt::format("{} gaps", survey.gaps), kGap,
            survey.longestGap, survey.longestGapAt, survey.longestGapPlace));
    }
    const double span = survey.last - survey.first;
    if (!(span / sampleInterval_ < kLongest)) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: spans {:.4g} s, more than 10^12 samples of {:.4g} s; are its "
                                "times in seconds?",
                                name, span, sampleInterval_));
    }
    // The last point of even ones lasts as long as any other, so that no bit is lost at the end.
    const double held = even ? std::max(0.0, meanStep - sampleInterval_) : 0;
    samples_ = static_cast<std::int64_t>(std::floor((span + held) / sampleInterval_ + kWhole)) + 1;

    points_->Rewind();
    number_ = 0;
    start_ = survey.first;
    Next(around_[2]);
    around_[0] = around_[1] = around_[2];
    if (!Next(around_[3])) around_[3] = around_[2];
    Advance();
}

bool WaveFile::Next(WavePoint& point)
{
    if (!points_->Next(point)) return false;
    if (!(std::abs(point.value) < kHighest)) {
        throw Error(ExitCode::kInput, fmt::format("{}: expected voltages in V, found {:g}",
                                                  points_->Place(), point.value));
    }
    if (evenStep_) point.time = evenStart_ + static_cast<double>(number_) * *evenStep_;
    ++number_;
    return true;
}

WaveFile::Survey WaveFile::ReadThrough()
{
    // What step is usual is judged by the median of the first ones.
    constexpr std::size_t kFirst = 1000;
    std::vector<double> steps;
    WavePoint point, before;
    points_->Rewind();
    while (steps.size() < kFirst && Next(point)) {
        if (number_ > 1) steps.push_back(point.time - before.time);
        before = point;
    }
    if (steps.empty()) {
        throw Error(ExitCode::kInput, fmt::format("{}: expected two points or more, found {}",
                                                  points_->Path().string(), number_));
    }
    std::ranges::nth_element(steps, steps.begin() + std::ssize(steps) / 2);
    const double usual = steps[steps.size() / 2];

    Survey survey;
    points_->Rewind();
    number_ = 0;
    Next(point);
    survey.first = survey.last = point.time;
    const auto noteDigits = [&] {
        survey.largest = std::max(survey.largest, std::abs(point.time));
        survey.digits = std::max(survey.digits, point.digits);
    };
    noteDigits();
    survey.shortest = usual;
    for (survey.points = 1; Next(point); ++survey.points) {
        const double step = point.time - survey.last;
        if (step < 0) {
            throw Error(ExitCode::kInput,
                        fmt::format("{}: the times must rise, but {:g} follows {:g}",
                                    points_->Place(), point.time, survey.last));
        }
        if (step < kShortest && survey.standstill.empty()) survey.standstill = points_->Place();
        noteDigits();
        if (usual > 0 && step > kGap * usual) {
            ++survey.gaps;
            survey.inGaps += step;
            if (step > survey.longestGap) {
                survey.longestGap = step;
                survey.longestGapAt = survey.last;
                survey.longestGapPlace = points_->Place();
            }
        } else {
            survey.shortest = std::min(survey.shortest, step);
            survey.longest = std::max(survey.longest, step);
        }
        survey.last = point.time;
    }
    longest_ = survey.longest;
    return survey;
}

bool WaveFile::IsEvenButForRounding(const Survey& survey)
{
    const double limit = 1.01 * survey.Resolution(), step = survey.MeanStep();
    const double spread = survey.longest - survey.shortest;
    if (survey.points < 3 || survey.gaps > 0 || step < kShortest || spread < 1e-6 * step ||
        spread > 2 * limit)
        return false;
    points_->Rewind();
    number_ = 0;
    for (WavePoint point; Next(point);) {
        const double even = survey.first + static_cast<double>(number_ - 1) * step;
        if (std::abs(point.time - even) > limit) return false;
    }
    return true;
}

void WaveFile::Advance()
{
    std::shift_left(around_.begin(), around_.end(), 1);
    if (!ended_ && !Next(around_[3])) ended_ = true;
    if (ended_) around_[3] = around_[2];
}

double WaveFile::Slope(const WavePoint& before, const WavePoint& at, const WavePoint& after) const
{
    const double h0 = at.time - before.time, h1 = after.time - at.time;
    const auto usable = [&](double h) { return h > 0 && h <= longest_; };
    if (!usable(h0)) return (after.value - at.value) / h1;
    if (!usable(h1)) return (at.value - before.value) / h0;
    return ((at.value - before.value) / h0 * h1 + (after.value - at.value) / h1 * h0) / (h0 + h1);
}

std::size_t WaveFile::Read(std::span<double> out)
{
    const auto& [before, left, right, after] = around_;
    std::size_t done = 0;
    for (; done < out.size() && read_ < samples_; ++done, ++read_) {
        const double time = start_ + static_cast<double>(read_) * sampleInterval_;
        while (right.time < time && !(ended_ && right.time == after.time)) Advance();
        const double step = right.time - left.time;
        if (time >= right.time || step <= 0) {
            out[done] = right.value;
            continue;
        }
        const double x = (time - left.time) / step, rise = right.value - left.value;
        out[done] = left.value + rise * x;
        if (step > longest_) continue;  // a gap
        const double bend0 = Slope(before, left, right) * step - rise;
        const double bend1 = rise - Slope(left, right, after) * step;
        out[done] += x * (1 - x) * ((1 - x) * bend0 + x * bend1);
    }
    return done;
}

}  // namespace amisim
