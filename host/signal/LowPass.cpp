#include "host/signal/LowPass.hpp"

#include <cmath>
#include <numbers>

namespace amisim {

std::vector<double> LowPass(double frequency)
{
    if (frequency >= 0.5) return {1.0};
    constexpr double kZeros = 16, kBeta = 8;
    const double reach = kZeros / (2 * frequency);  // samples
    const auto half = static_cast<std::ptrdiff_t>(reach);
    std::vector<double> taps;
    double power = 0;
    for (std::ptrdiff_t n = -half; n <= half; ++n) {
        const auto time = static_cast<double>(n);
        const double angle = 2 * std::numbers::pi * frequency * time;
        const double inside = std::sqrt(1 - time / reach * (time / reach));
        const double window = std::cyl_bessel_i(0, kBeta * inside) / std::cyl_bessel_i(0, kBeta);
        taps.push_back((n == 0 ? 1 : std::sin(angle) / angle) * window);
        power += taps.back() * taps.back();
    }
    for (double& tap : taps) tap /= std::sqrt(power);
    return taps;
}

}  // namespace amisim
