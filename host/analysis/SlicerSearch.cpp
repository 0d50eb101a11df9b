#include "host/analysis/SlicerSearch.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace amisim {
namespace {

constexpr int kMostRounds = 100;
constexpr double kRare = 0.01;  // of the voltages, beyond the outermost levels to begin with

std::vector<double> Between(const std::vector<double>& levels)
{
    std::vector<double> middles;
    for (std::size_t i = 1; i < levels.size(); ++i)
        middles.push_back((levels[i - 1] + levels[i]) / 2);
    return middles;
}

/// The levels, moved to the means of the voltages that are nearest to them. @param sorted  rising
std::vector<double> Moved(std::vector<double> levels, const std::vector<double>& sorted)
{
    const std::vector<double> middles = Between(levels);
    auto from = sorted.begin();
    for (std::size_t i = 0; i < levels.size(); ++i) {
        const auto to =
            i < middles.size() ? std::upper_bound(from, sorted.end(), middles[i]) : sorted.end();
        if (from != to) levels[i] = std::accumulate(from, to, 0.0) / static_cast<double>(to - from);
        from = to;
    }
    return levels;
}

std::vector<double> EvenLevels(int count, double lowest, double highest)
{
    std::vector<double> levels;
    for (int i = 0; i < count; ++i) levels.push_back(lowest + (highest - lowest) * i / (count - 1));
    return levels;
}

Slicers At(const std::vector<double>& levels)
{
    return {Between(levels), std::vector<double>(levels.size() - 1)};
}

}  // namespace

Slicers EvenSlicers(int levels, double amplitude)
{
    return At(EvenLevels(levels, -amplitude, amplitude));
}

Slicers SlicersBetween(std::vector<double> voltages, int levels)
{
    std::erase_if(voltages, [](double v) { return !std::isfinite(v); });
    std::ranges::sort(voltages);
    if (std::ssize(voltages) < levels || voltages.front() == voltages.back())
        return EvenSlicers(levels, 1);
    const auto rare = static_cast<std::size_t>(kRare * static_cast<double>(voltages.size()));
    std::vector<double> means =
        EvenLevels(levels, voltages[rare], voltages[voltages.size() - 1 - rare]);
    for (int round = 0; round < kMostRounds; ++round) {
        std::vector<double> next = Moved(means, voltages);
        if (next == means) break;
        means = std::move(next);
    }
    return At(means);
}

}  // namespace amisim
