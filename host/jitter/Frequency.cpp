#include "host/jitter/Frequency.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

/// The nearest of 1, 2, 3, 5 times a power of ten.
double Rounded(double frequency)
{
    const double decade = std::pow(10, std::floor(std::log10(frequency)));
    double best = decade;
    for (const double figure : {1.0, 2.0, 3.0, 5.0, 10.0}) {
        const double there = figure * decade;
        if (std::abs(std::log(there / frequency)) < std::abs(std::log(best / frequency)))
            best = there;
    }
    return best;
}

}  // namespace

std::string FrequencyText(double frequency)
{
    for (const auto& [unit, name] : {std::pair{1e9, "GHz"}, {1e6, "MHz"}, {1e3, "kHz"}}) {
        if (frequency >= 0.9995 * unit) return fmt::format("{:.4g} {}", frequency / unit, name);
    }
    return fmt::format("{:.4g} Hz", frequency);
}

std::vector<double> DefaultFrequencies(double bitRate, int perDecade,
                                       const std::optional<FrequencyMask>& mask)
{
    std::vector<double> frequencies;
    const double low = Rounded(bitRate / 1e5), high = Rounded(bitRate / 1e2);
    for (double f = low; f < high * 1.01; f *= std::pow(10, 1.0 / perDecade))
        frequencies.push_back(Rounded(f));
    if (mask) {
        for (const double corner : mask->Corners()) {
            if (corner >= low && corner <= high) frequencies.push_back(corner);
        }
    }
    std::ranges::sort(frequencies);
    const auto same = [](double a, double b) { return b < a * 1.01; };
    frequencies.erase(std::unique(frequencies.begin(), frequencies.end(), same), frequencies.end());
    return frequencies;
}

}  // namespace amisim
