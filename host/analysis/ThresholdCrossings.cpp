#include "host/analysis/ThresholdCrossings.hpp"

#include <algorithm>
#include <numeric>

namespace amisim {

void ThresholdCrossings::Add(std::span<const double> wave, double first, double begin, double end,
                             bool joined)
{
    Crossings firstHalf, secondHalf;
    for (std::size_t i = 0; i + 1 < wave.size(); ++i) {
        if ((wave[i] > threshold_) == (wave[i + 1] > threshold_)) continue;
        const double time = first + static_cast<double>(i) - begin +
                            (wave[i] - threshold_) / (wave[i] - wave[i + 1]);
        const double phase = time / (end - begin);
        if (phase < 0.5) {
            firstHalf.Add(phase);
        } else {
            secondHalf.Add(phase - 1);
        }
    }
    if (joined && (before_.any || firstHalf.any)) {
        const auto bin = [](double phase) {
            const double place = (phase + 0.5) * static_cast<double>(kBins);
            return static_cast<std::size_t>(std::clamp(place, 0.0, static_cast<double>(kBins - 1)));
        };
        ++firstAfter_[bin(before_.any ? before_.first : firstHalf.first)];
        ++lastBefore_[bin(firstHalf.any ? firstHalf.last : before_.last)];
    }
    before_ = secondHalf;
}

std::uint64_t ThresholdCrossings::Transitions() const
{
    return std::accumulate(lastBefore_.begin(), lastBefore_.end(), std::uint64_t{0});
}

}  // namespace amisim
