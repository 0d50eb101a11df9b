#pragma once

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/output/RunResult.hpp"

namespace amisim {

/// Error ratio of a Gaussian tail.
inline double TailRatio(const TailFit& fit, double x)
{
    return fit.weight * 0.5 * std::erfc((x - fit.mean) / fit.sigma / std::numbers::sqrt2);
}

/// An eye of Gaussian noise and jitter with the bathtubs, openings and contours that belong to it.
inline EyeFindings MadeUpEye(double swing, double noise, double jitter)
{
    EyeFindings eye;
    eye.density = VoltageHistogram(256, 512);
    eye.density.Fit(swing + 6 * noise);
    for (std::size_t c = 0; c < 256; ++c) {
        const double phase = (static_cast<double>(c) + 0.5) / 256;
        for (int i = 0; i < 4000; ++i) {
            // Quantiles of the normal distribution, roughly, in a scrambled order.
            const double u = (std::fmod(i * 0.6180339887 + phase, 1.0) + 1e-5) / 1.00002;
            const double normal = std::log(u / (1 - u)) / 1.702;
            const double edge =
                0.5 + 0.5 * std::tanh((std::min(phase, 1 - phase) + jitter * normal) * 12);
            const double level = i % 4 < 2 ? (i % 2 ? 1 : -1) : (i % 2 ? 1 : -1) * (2 * edge - 1);
            eye.density.Count(c, swing * level + noise * normal);
        }
    }
    eye.vertical = {swing - 3.1 * noise, -swing + 3.1 * noise};
    eye.left = eye.right = 0.5 - 3.1 * jitter;
    eye.unitIntervals = 10000;
    eye.transitionDensity = 0.5;
    eye.time.low = TailFit{0.02, jitter, 0.25, 1e-2, 3e-4};
    eye.time.high = TailFit{-0.98, jitter, 0.25, 1e-2, 3e-4};
    for (int i = 0; i <= 512; ++i) {
        const double x = i / 512.0, ratio = std::max(TailRatio(*eye.time.low, x),
                                                     TailRatio({-0.98, jitter, 0.25, 0, 0}, -x));
        eye.time.x.push_back(x);
        eye.time.counted.push_back(std::floor(ratio * 10000) / 10000);
        eye.time.extrapolated.push_back(ratio);
    }
    eye.voltage.low = TailFit{-swing, noise, 0.5, 1e-2, 3e-4};
    eye.voltage.high = TailFit{-swing, noise, 0.5, 1e-2, 3e-4};
    for (int i = -200; i <= 200; ++i) {
        const double v = i / 200.0 * (swing + 4 * noise);
        const double ratio =
            std::max(TailRatio(*eye.voltage.low, v), TailRatio(*eye.voltage.high, -v));
        eye.voltage.x.push_back(v);
        eye.voltage.counted.push_back(std::floor(ratio * 10000) / 10000);
        eye.voltage.extrapolated.push_back(ratio);
    }
    for (const double ber : {1e-3, 1e-6, 1e-9, 1e-12}) {
        const double q = std::sqrt(-2 * std::log(ber)) - 0.7;  // roughly Q^-1
        const double height = swing - q * noise, half = 0.5 - q * jitter;
        eye.openings.push_back({ber, 2 * height, 2 * half, ber < 1e-3, ber < 1e-3});
        Contour contour{ber, ber < 1e-3, {}, {}, {}};
        for (int i = -60; i <= 60; ++i) {
            const double x = i / 60.0 * half;
            contour.phase.push_back(0.5 + x);
            contour.high.push_back(height * std::sqrt(std::max(0.0, 1 - std::pow(x / half, 4))));
            contour.low.push_back(-contour.high.back());
        }
        eye.contours.push_back(contour);
    }
    eye.jitter = Jitter{jitter, 0.04, 1 - eye.openings.back().width, 1e-12};
    return eye;
}

/// A run of 20,000 bits in which everything is known.
inline RunResult MadeUpResult()
{
    RunResult r;
    r.bits = 20000;
    r.ignoredBits = 10000;
    r.comparison = BitComparison{9998, 0, 2, 0, 17, false};
    r.bitTime = 1 / 10.3125e9;
    r.eye = MadeUpEye(0.55, 0.025, 0.012);
    r.inputEye = MadeUpEye(0.25, 0.022, 0.035);
    r.inputEye->shift = 0.137;
    ClockFindings& clock = r.clock;
    clock.times = 19990;
    clock.filled = 3;
    clock.unitInterval = r.bitTime / 1.0001;
    clock.ppm = 100;
    clock.settledAtBit = 2700;
    clock.tieRms = 0.0093;
    clock.tiePeakToPeak = 0.051;
    for (int i = 0; i < 1000; ++i) {
        const double bit = 20 * i + 10;
        const double pull = 0.9 * std::exp(-bit / 900), wave = 0.01 * std::sin(bit * 0.011);
        clock.tie.bit.push_back(bit);
        clock.tie.mean.push_back(pull + wave);
        clock.tie.least.push_back(pull + wave - 0.012);
        clock.tie.greatest.push_back(pull + wave + 0.012);
        clock.period.bit.push_back(bit);
        clock.period.mean.push_back(100 - 900 * pull + 4000 * wave);
        clock.period.least.push_back(clock.period.mean.back() - 90);
        clock.period.greatest.push_back(clock.period.mean.back() + 90);
        clock.tieSpectrum.frequency.push_back((i + 1) * 5e6);
        const double tone = i == 17 ? 0.01 : i == 101 ? 0.003 : 0;
        clock.tieSpectrum.amplitude.push_back(
            2e-4 * (1.3 + std::sin(i * 12.9898)) / (1 + i / 200.0) + tone);
    }
    clock.tieSpectrum.segments = 9;
    clock.tieSpectrum.floor = 1.1e-4;
    clock.tieSpectrum.tones = {{90e6, 0.01}, {510e6, 0.003}};
    clock.tieHistogram.first = -0.03;
    clock.tieHistogram.step = 0.001;
    for (int i = -30; i <= 30; ++i)
        clock.tieHistogram.counts.push_back(
            static_cast<std::uint64_t>(430 * std::exp(-i * i / 172.0)));
    r.eqLevel = 12;
    r.adaptation.emplace();
    for (int i = 0; i < 14; ++i) {
        const int level = i < 4 ? 2 * i : std::min(i + 2, 12);
        r.adaptation->measurements.push_back({level, {}, 4 + 2 * i, 8 + 4 * i, i / 5, i < 4});
        LoggedEye eye;
        for (int row = 0; row < 64; ++row) {
            for (int column = 0; column < 64; ++column) {
                const double x = (column - 32) / (10.0 + i), y = (row - 31.5) / (12.0 + i);
                eye.hits.push_back(static_cast<std::uint32_t>(std::abs(x * x + y * y - 1) < 0.4
                                                                  ? 3 + (row * column) % 7
                                                              : row % 63 ? 0
                                                                         : 180));
            }
        }
        r.loggedEyes.push_back(eye);
    }
    r.adaptation->requests = 14;
    r.adaptation->finished = true;
    r.modelMessage = "Retimer receiver 0.1";
    r.parametersOut = "(Retimer_RX_RT)";
    r.seconds = 0.94;
    r.modelSeconds = 0.63;
    r.notes = {
        "the model asks for 10000 bits to be ignored; of 12000 only the first half is: give more "
        "--bits"};
    return r;
}

}  // namespace amisim
