#include "host/network/Reflectometry.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/Error.hpp"
#include "host/channel/ChannelSpectrum.hpp"
#include "touchstone/Interpolation.hpp"

namespace amisim {
namespace {

constexpr std::size_t kFiner = 4;        // points in time for each that the band allows
constexpr double kMostReflected = 0.98;  // beyond, the impedance says nothing
constexpr std::size_t kMostPoints = 1 << 18;

}  // namespace

Reflectometry Reflected(const FrequencyResponse& reflection, double reference)
{
    const auto& f = reflection.frequency;
    if (f.size() < 4) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected four frequencies or more, found {}", f.size()));
    }
    std::vector<double> x;
    std::vector<std::complex<double>> y;
    for (std::size_t k = f.size(); k-- > 0;) {
        if (f[k] == 0.0) continue;
        x.push_back(-f[k]);
        y.push_back(std::conj(reflection.value[k]));
    }
    x.insert(x.end(), f.begin(), f.end());
    y.insert(y.end(), reflection.value.begin(), reflection.value.end());
    const Spline spline(x, y);

    double step = f.back() - f.front();
    for (std::size_t k = 1; k < f.size(); ++k) step = std::min(step, f[k] - f[k - 1]);
    const auto points = std::min(kMostPoints, static_cast<std::size_t>(std::ceil(f.back() / step)));
    step = f.back() / static_cast<double>(points);
    std::vector<std::complex<double>> spectrum(kFiner * points + 1);
    for (std::size_t k = 0; k < points; ++k) {
        const double part = static_cast<double>(k) / static_cast<double>(points);
        spectrum[k] =
            spline(static_cast<double>(k) * step) * 0.5 * (1.0 + std::cos(std::numbers::pi * part));
    }
    const std::vector<double> impulse = TimeResponse(spectrum);

    Reflectometry result;
    const double interval = 0.5 / (f.back() * kFiner);
    // The step's transition takes so long on either side of its middle, which is time 0.
    const std::size_t lead = 2 * kFiner;
    result.riseTime = 0.9 / f.back();
    double sum = 0.0;
    for (std::size_t n = impulse.size() / 2; n < impulse.size() - lead; ++n) sum += impulse[n];
    for (std::size_t n = 0; n < impulse.size() / 2; ++n) {
        sum += impulse[(n + impulse.size() - lead) % impulse.size()];
        result.time.push_back((static_cast<double>(n) - static_cast<double>(lead)) * interval);
        result.ohms.push_back(std::abs(sum) < kMostReflected ? reference * (1.0 + sum) / (1.0 - sum)
                                                             : NAN);
    }
    return result;
}

}  // namespace amisim
