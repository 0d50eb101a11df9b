#include "host/network/CrosstalkNoise.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace amisim {
namespace {

constexpr double kRiseTimesCorner = 0.2365;  // of two poles, times the rise time from 20 % to 80 %
constexpr double kReceiverCorner = 0.75;     // of four poles, of the bit rate

double SquaredSinc(double x)
{
    const double angle = std::numbers::pi * x;
    return x == 0.0 ? 1.0 : std::pow(std::sin(angle) / angle, 2);
}

/// V^2, of one coupling.
double Power(const FrequencyResponse& coupling, const AggressorSignal& signal,
             const CrosstalkNoise& corners)
{
    double sum = 0.0, before = 0.0, last = 0.0;
    for (std::size_t k = 0; k < coupling.frequency.size(); ++k) {
        const double f = std::min(coupling.frequency[k], signal.bitRate);
        const double filters = (1.0 + std::pow(f / corners.transmitterCorner, 4)) *
                               (1.0 + std::pow(f / corners.receiverCorner, 8));
        const double density =
            SquaredSinc(f / signal.bitRate) / filters * std::norm(coupling.value[k]);
        if (k > 0) sum += (f - last) * (density + before) / 2.0;
        before = density;
        last = f;
    }
    return 2.0 * std::pow(signal.amplitude / 2.0, 2) / signal.bitRate * sum;
}

}  // namespace

double CrosstalkNoise::Total() const
{
    return std::hypot(far, near);
}

CrosstalkNoise NoiseOf(const std::vector<CrosstalkTerm>& crosstalk, const AggressorSignal& signal)
{
    CrosstalkNoise noise;
    noise.transmitterCorner = kRiseTimesCorner / signal.riseTime;
    noise.receiverCorner = kReceiverCorner * signal.bitRate;
    noise.from = std::numeric_limits<double>::infinity();
    for (const CrosstalkTerm& term : crosstalk) {
        double& own = term.isNear ? noise.near : noise.far;
        own = std::hypot(own, std::sqrt(Power(term.response, signal, noise)));
        noise.from = std::min(noise.from, term.response.frequency.front());
        noise.to = std::max(noise.to, std::min(term.response.frequency.back(), signal.bitRate));
    }
    return noise;
}

}  // namespace amisim
