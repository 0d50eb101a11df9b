#include "host/channel/ChannelGrade.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace amisim {
namespace {

/// Power density of a signal of random bits, at a frequency in bit rates; its integral from 0 on
/// is 1/2.
double Density(double x)
{
    const double angle = std::numbers::pi * x;
    return angle == 0.0 ? 1.0 : std::pow(std::sin(angle) / angle, 2);
}

/// Share of the signal's power between two frequencies in bit rates.
double Share(double low, double high)
{
    const double end = std::min(high, 16.0);  // beyond there are 0.6 %, evenly over the decades
    if (!(end > low)) return 0.0;
    const int steps = 2 * static_cast<int>(std::ceil(100.0 * (end - low)));  // Simpson's rule
    const double width = (end - low) / steps;
    double sum = Density(low) + Density(end);
    for (int i = 1; i < steps; ++i) sum += (i % 2 != 0 ? 4.0 : 2.0) * Density(low + i * width);
    return std::min(1.0, 2.0 * sum * width / 3.0);
}

std::string Percent(double share)
{
    return fmt::format("{:.3g} %", 100.0 * share);
}

}  // namespace

std::vector<std::string> ChannelGrade::Faults() const
{
    std::vector<std::string> faults;
    if (band < kLeastBand) {
        faults.push_back(
            fmt::format("{} of the signal's power lies within the frequencies of its data, at "
                        "least {} expected",
                        Percent(band), Percent(kLeastBand)));
    }
    const auto check = [&](double share, double most, const char* what) {
        if (share > most) {
            faults.push_back(
                fmt::format("{} {}, at most {} expected", Percent(share), what, Percent(most)));
        }
    };
    check(passivity, kMostPassivity, "more power comes out than goes in (not passive)");
    check(reciprocity, kMostReciprocity,
          "of the energy differs between the two directions (not reciprocal)");
    check(causality, kMostCausality,
          "of the response's energy comes before it can (not causal) and was removed");
    return faults;
}

std::string ChannelGrade::ToText() const
{
    return fmt::format(
        "graded: {} of the signal's power in the band, {} gained, {} not reciprocal, {} not causal",
        Percent(band), Percent(passivity), Percent(reciprocity), Percent(causality));
}

ChannelGrade Grade(const SParameters& s, const std::vector<double>& gains, double removed,
                   double bitRate)
{
    ChannelGrade grade;
    const auto& f = s.frequency;
    grade.band = Share(f.front() / bitRate, f.back() / bitRate);
    grade.causality = removed;
    double weights = 0.0, gained = 0.0, unlike = 0.0, energy = 0.0;
    for (std::size_t k = 0; k < f.size(); ++k) {
        const double width = f[std::min(k + 1, f.size() - 1)] - f[k == 0 ? 0 : k - 1];
        const double weight = width * Density(f[k] / bitRate);
        weights += weight;
        gained += weight * std::max(0.0, gains[k] * gains[k] - 1.0);
        for (int i = 1; i <= s.ports; ++i) {
            for (int j = 1; j < i; ++j) {
                const auto there = s.At(k, i, j), back = s.At(k, j, i);
                if (there == 0.0 || back == 0.0) continue;
                unlike += weight * std::norm(there - back);
                energy += weight * (std::norm(there) + std::norm(back));
            }
        }
    }
    grade.passivity = weights > 0.0 ? gained / weights : 0.0;
    grade.reciprocity = energy > 0.0 ? unlike / energy : 0.0;
    return grade;
}

}  // namespace amisim
