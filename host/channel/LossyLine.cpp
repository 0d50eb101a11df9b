#include "host/channel/LossyLine.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>

#include "base/Fft.hpp"
#include "base/InParallel.hpp"
#include "host/channel/SlowTail.hpp"

namespace amisim {

double LossyLine::GainDb(double frequency) const
{
    const double x = frequency / halfBitRate;
    return -lossDb * (skinPart * std::sqrt(x) + (1 - skinPart) * x);
}

std::vector<double> LossyLine::Impulse(double sampleInterval) const
{
    if (lossDb == 0) return {1.0};

    // Minimum phase from the real cepstrum (Oppenheim and Schafer): the cepstrum of ln|H| is even;
    // twice its causal half is the cepstrum of the minimum-phase response. The grid is long against
    // the response, so that what wraps around in time is negligible.
    const double bit = 0.5 / halfBitRate / sampleInterval;  // samples
    const std::size_t length = std::bit_ceil(static_cast<std::size_t>(256 * bit) + 1);
    const std::size_t grid = 16 * length;
    RealFft fft(grid);
    RealFft::Spectrum spectrum(grid / 2 + 1);
    InParts(spectrum.size(), [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k) {
            const double frequency =
                static_cast<double>(k) / (static_cast<double>(grid) * sampleInterval);
            spectrum[k] = GainDb(frequency) * std::numbers::ln10 / 20;
        }
    });
    std::vector<double> response;
    fft.Inverse(spectrum, response);
    for (std::size_t n = 1; n < grid / 2; ++n) response[n] *= 2;
    fft.Forward(std::span(response).first(grid / 2 + 1), spectrum);
    InParts(spectrum.size(), [&](std::size_t from, std::size_t to) {
        for (std::size_t k = from; k < to; ++k) spectrum[k] = std::exp(spectrum[k]);
    });
    fft.Inverse(spectrum, response);

    response.resize(length);
    const std::size_t fade = length / 4;
    for (std::size_t i = 0; i < fade; ++i) {
        const double x = (static_cast<double>(i) + 0.5) / static_cast<double>(fade);
        response[length - 1 - i] *= 0.5 - 0.5 * std::cos(std::numbers::pi * x);
    }
    RestoreSlowTail(response, 1.0, 1.0, 1.0);
    return response;
}

}  // namespace amisim
