#include "host/channel/ChannelCurves.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "base/Fft.hpp"
#include "host/channel/ChannelResponse.hpp"

namespace amisim {
namespace {

constexpr std::size_t kFrequencies = 400;
constexpr double kSmallest = 1e-10;                                // gain: 200 dB are none
constexpr std::size_t kBefore = 4, kBehind = 16, kFarthest = 256;  // unit intervals
constexpr double kSettled = 1e-3;                                  // of the pulse's peak

/// Gain at evenly spaced frequencies from 0 up to one, by the taps' transform, whose points are at
/// least eight times as close.
void AddLoss(ChannelCurves& curves, const ChannelResponse& channel, double last)
{
    const double points = 8.0 * kFrequencies / (last * channel.sampleInterval);
    const std::size_t size =
        std::bit_ceil(std::max(channel.taps.size(), static_cast<std::size_t>(points)));
    RealFft::Spectrum spectrum;
    RealFft(size).Forward(channel.taps, spectrum);
    for (std::size_t i = 0; i <= kFrequencies; ++i) {
        const double f = last * static_cast<double>(i) / kFrequencies;
        const auto k = static_cast<std::size_t>(
            std::lround(f * channel.sampleInterval * static_cast<double>(size)));
        curves.frequency.push_back(static_cast<double>(k) /
                                   (channel.sampleInterval * static_cast<double>(size)));
        curves.lossDb.push_back(-20 * std::log10(std::max(std::abs(spectrum[k]), kSmallest)));
    }
}

}  // namespace

ChannelCurves CurvesOf(const ChannelResponse& channel, int samplesPerBit)
{
    ChannelCurves curves;
    const auto unit = static_cast<std::size_t>(samplesPerBit);
    const double bitRate = 1 / (channel.sampleInterval * samplesPerBit);
    AddLoss(curves, channel, bitRate);  // four samples a bit or more: below half their rate

    std::vector<double> step(channel.taps.size() + unit), pulse(step.size());
    double sum = 0;
    for (std::size_t n = 0; n < step.size(); ++n) {
        if (n < channel.taps.size()) sum += channel.taps[n];
        step[n] = sum;
        pulse[n] = sum - (n < unit ? 0.0 : step[n - unit]);
    }
    const auto size = [](double v) { return std::abs(v); };
    const auto peak =
        static_cast<std::size_t>(std::ranges::max_element(pulse, {}, size) - pulse.begin());
    std::size_t end = std::min(pulse.size(), peak + kFarthest * unit);
    while (end > peak + kBehind * unit && size(pulse[end - 1]) < kSettled * size(pulse[peak]))
        --end;
    const std::size_t begin = peak - std::min(peak, kBefore * unit);
    for (std::size_t n = begin; n < end; ++n) {
        curves.time.push_back((static_cast<double>(channel.delay + n) + 0.5) *
                                  channel.sampleInterval -
                              channel.shift);
        curves.pulse.push_back(pulse[n]);
        curves.step.push_back(step[n]);
    }
    return curves;
}

}  // namespace amisim
