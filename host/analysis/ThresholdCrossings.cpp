#include "host/analysis/ThresholdCrossings.hpp"

#include <algorithm>
#include <numeric>

namespace amisim {

ThresholdCrossings::Halves ThresholdCrossings::Scan(std::span<const double> wave, double first,
                                                    double begin, double end, double threshold)
{
    Halves found;
    for (std::size_t i = 0; i + 1 < wave.size(); ++i) {
        if ((wave[i] > threshold) == (wave[i + 1] > threshold)) continue;
        const double time = first + static_cast<double>(i) - begin +
                            (wave[i] - threshold) / (wave[i] - wave[i + 1]);
        const double phase = time / (end - begin);
        if (phase < 0.5) {
            found.first.Add(phase);
        } else {
            found.second.Add(phase - 1);
        }
    }
    return found;
}

void ThresholdCrossings::Add(std::span<const double> wave, double first, double begin, double end,
                             bool joined, const Draws& draws)
{
    // Each sampling instant has its own noise: a transition between two is seen by both.
    const auto scan = [&](const Sampler::Draw& draw) {
        return Scan(wave, first, begin, end, threshold_ - draw.volts);
    };
    const auto& [before, now, after] = draws;
    const Halves own = scan(now);
    const Crossings ahead = before.volts == now.volts ? own.first : scan(before).first;
    const Crossings behind = after.volts == now.volts ? own.second : scan(after).second;
    if (joined) {
        const auto bin = [](double phase) {
            const double place = (phase + 0.5) * static_cast<double>(kBins);
            return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(kBins - 1)));
        };
        if (before_.any || ahead.any)
            ++firstAfter_[bin((before_.any ? before_.first : ahead.first) - before.late)];
        if (own.first.any || beforeNext_.any)
            ++lastBefore_[bin((own.first.any ? own.first.last : beforeNext_.last) - now.late)];
    }
    before_ = own.second;
    beforeNext_ = behind;
}

std::uint64_t ThresholdCrossings::Transitions() const
{
    return std::accumulate(lastBefore_.begin(), lastBefore_.end(), std::uint64_t{0});
}

}  // namespace amisim
