#include "host/statistical/SamplingTime.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

constexpr int kFurthest = static_cast<int>(Sampler::kFurthest * SamplingTime::kSteps);
constexpr double kSigmas = 8.3;

}  // namespace

void SamplingTime::Convolve(int first, const std::vector<double>& parts)
{
    std::vector<double> all(2 * kFurthest + 1);
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        for (std::size_t k = 0; k < parts.size(); ++k) {
            const int late = first_ + first + static_cast<int>(i + k);
            const int within = std::clamp(late, -kFurthest, kFurthest);
            all[static_cast<std::size_t>(within + kFurthest)] += parts_[i] * parts[k];
        }
    }
    const auto isPart = [](double part) { return part > 0; };
    const auto begin = std::ranges::find_if(all, isPart);
    const auto end = std::find_if(all.rbegin(), all.rend(), isPart).base();
    first_ = static_cast<int>(begin - all.begin()) - kFurthest;
    parts_.assign(begin, end);
}

/// Late and early alike. @param tail  how likely it is later than a time, UI
template <typename Tail>
void SamplingTime::Add(double reach, Tail tail)
{
    const int most = std::min(2 * kFurthest, static_cast<int>(std::ceil(reach * kSteps)));
    std::vector<double> parts;
    for (int late = -most; late <= most; ++late) {
        const double from = (std::abs(late) - 0.5) / kSteps, to = (std::abs(late) + 0.5) / kSteps;
        parts.push_back(late == 0 ? 1 - 2 * tail(to) : tail(from) - tail(to));
    }
    Convolve(-most, parts);
}

/// Between two steps by parts of both.
void SamplingTime::AddMean(double late)
{
    const double steps = std::clamp(late, -1.0, 1.0) * kSteps, before = std::floor(steps);
    const double part = steps - before;
    Convolve(static_cast<int>(before), part > 0 ? std::vector{1 - part, part} : std::vector{1.0});
}

void SamplingTime::AddGaussian(double sigma)
{
    if (sigma == 0) return;
    Add(kSigmas * sigma, [=](double late) { return Q(late / sigma); });
    random_ = std::hypot(random_, sigma);
}

void SamplingTime::AddUniform(double half)
{
    if (half == 0) return;
    Add(half, [=](double late) { return std::clamp((half - late) / (2 * half), 0.0, 1.0); });
}

void SamplingTime::AddSine(double amplitude)
{
    if (amplitude == 0) return;
    Add(amplitude,
        [=](double late) { return std::acos(std::min(late / amplitude, 1.0)) / std::numbers::pi; });
}

void SamplingTime::AddAlternating(double half)
{
    if (half == 0) return;
    Add(half, [=](double late) { return late < half ? 0.5 : 0.0; });
    alternating_ += 2 * half;
}

void SamplingTime::AddHistogram(const Histogram& late)
{
    double all = 0;
    for (const std::uint64_t count : late.counts) all += static_cast<double>(count);
    if (all == 0) return;
    std::vector<double> parts(2 * kFurthest + 2);
    for (std::size_t i = 0; i < late.counts.size(); ++i) {
        const double place = (late.first + late.step * static_cast<double>(i)) * kSteps + kFurthest;
        const double within = std::clamp(place, 0.0, 2.0 * kFurthest);
        const auto before = static_cast<std::size_t>(within);
        const double part = within - static_cast<double>(before);
        parts[before] += (1 - part) * static_cast<double>(late.counts[i]) / all;
        parts[before + 1] += part * static_cast<double>(late.counts[i]) / all;
    }
    Convolve(-kFurthest, parts);
}

void SamplingTime::AddJitter(const SamplerSettings::Jitter& jitter)
{
    AddMean(jitter.mean);
    AddGaussian(jitter.random);
    AddUniform(jitter.uniform);
    AddSine(jitter.sine);
    AddAlternating(jitter.alternating);
}

std::optional<double> TransitionPhase(const EyeFindings& eye)
{
    const std::vector<double>& x = eye.time.x;
    const std::vector<double>& ratio = eye.time.counted;
    const double half = eye.transitionDensity / 2;
    const auto place = [&](std::size_t i) {
        return std::lerp(x[i], x[i + 1], (half - ratio[i]) / (ratio[i + 1] - ratio[i]));
    };
    // Falling from the left, rising to the right.
    for (std::size_t i = 0; i + 1 < x.size() && x[i] < 0.5; ++i) {
        if (ratio[i] >= half && ratio[i + 1] < half) return place(i);
    }
    for (std::size_t i = x.size(); i-- > 1 && x[i] > 0.5;) {
        if (ratio[i] >= half && ratio[i - 1] < half) return place(i - 1) - 1;
    }
    return std::nullopt;
}

SamplingTime SamplingTimeOf(const SamplerSettings& sampler, const ClockFindings& clock,
                            const EyeFindings* eye)
{
    SamplingTime time;
    time.AddJitter(sampler.clock);
    const bool none = clock.ideal || clock.times == 0;
    if (none) time.AddJitter(sampler.recovered);
    if (none || !eye) return time;
    time.AddHistogram(clock.ownHistogram);
    if (const auto phase = TransitionPhase(*eye)) time.AddMean(-*phase);
    return time;
}

}  // namespace amisim
