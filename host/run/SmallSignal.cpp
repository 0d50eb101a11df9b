#include "host/run/SmallSignal.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

#include "base/AddMultiple.hpp"
#include "host/signal/Random.hpp"

namespace amisim {
namespace {

constexpr std::size_t kWindowBits = 512;  // in which a response has to end; as much to settle in
constexpr double kPulse = 0.125;          // of the signal's peak
constexpr double kEnded = 1e-11;  // of a response's peak: rounding, of large numbers' difference

double Peak(std::span<const double> values)
{
    double peak = 0;
    for (const double value : values) peak = std::max(peak, std::abs(value));
    return peak;
}

double SquareSum(std::span<const double> values)
{
    return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

/// A random pattern at a receiver's input, from a long run of the lowest level on.
std::vector<double> Pattern(std::span<const double> edge, std::size_t bits, std::size_t bitSamples)
{
    constexpr std::uint64_t kSeed = 1;
    Random random(kSeed);
    std::vector<double> wave(bits * bitSamples);
    wave[0] = -0.5 * std::accumulate(edge.begin(), edge.end(), 0.0);
    bool last = false;
    for (std::size_t bit = 0; bit < bits; ++bit) {
        const bool next = (random.Bits() >> 63) != 0;
        const double change = static_cast<double>(next) - static_cast<double>(last);
        last = next;
        if (change != 0) AddMultiple(change, edge, std::span(wave).subspan(bit * bitSamples));
    }
    std::partial_sum(wave.begin(), wave.end(), wave.begin());
    return wave;
}

std::vector<double> OutputOf(const ModelStart& start, const ModelProcess::Settings& settings,
                             std::span<const double> input)
{
    ModelProcess process(start, settings);
    process.Init();
    std::vector<double> output;
    while (!input.empty() || process.Busy()) {
        while (!input.empty() && process.SlotFree()) {
            const std::size_t samples = std::min(start.blockSamples, input.size());
            std::ranges::copy(input.first(samples), process.NextInput().begin());
            process.Submit(samples);
            input = input.subspan(samples);
        }
        const auto block = process.Wait().output;
        output.insert(output.end(), block.begin(), block.end());
    }
    process.Close();
    return output;
}

}  // namespace

SmallSignal MeasureSmallSignal(const ModelStart& start, const ModelProcess::Settings& settings,
                               std::span<const double> edge)
{
    const auto bitSamples =
        static_cast<std::size_t>(std::llround(start.bitTime / start.sampleInterval));
    const std::size_t window = kWindowBits * bitSamples;
    std::vector<double> input = Pattern(edge, 3 * kWindowBits, bitSamples);
    const std::vector<double> without = OutputOf(start, settings, input);
    const double pulse = kPulse * Peak(input);
    input[window] += pulse;
    input[2 * window] -= 2 * pulse;
    std::vector<double> change = OutputOf(start, settings, input);
    std::ranges::transform(change, without, change.begin(), std::minus());

    const auto small = std::span(change).subspan(window, window);
    const auto large = std::span(change).subspan(2 * window, window);
    SmallSignal found;
    found.response.assign(large.begin(), large.end());
    for (double& value : found.response) value /= -2 * pulse;
    const double peak = Peak(found.response);
    const auto isSeen = [peak](double value) { return std::abs(value) > kEnded * peak; };
    const auto end = std::find_if(found.response.rbegin(), found.response.rend(), isSeen).base();
    double apart = SquareSum(std::span(change).first(window));  // before the pulses nothing happens
    for (std::size_t n = 0; n < window; ++n) {
        const double difference = small[n] / pulse - found.response[n];
        apart += difference * difference;
    }
    if (end != found.response.begin())
        found.nonlinearity = std::sqrt(apart / SquareSum(found.response));
    found.response.erase(end, found.response.end());
    return found;
}

double Unexplained(std::span<const double> response, std::span<const double> input,
                   std::span<const double> output, std::size_t last, bool begin)
{
    const std::size_t known = begin || response.empty() ? 0 : response.size() - 1;
    const std::size_t from =
        std::min(std::max(known, output.size() - std::min(last, output.size())), output.size());
    const auto seen = output.subspan(from);
    // Tap by tap, so that the samples are worked on side by side.
    std::vector<double> made(seen.size());
    for (std::size_t k = 0; k < std::min(response.size(), output.size()); ++k) {
        const std::size_t first = k - std::min(k, from);
        AddMultiple(response[k], input.subspan(from + first - k), std::span(made).subspan(first));
    }
    double left = 0, all = 0;
    for (std::size_t n = 0; n < seen.size(); ++n) {
        left += (seen[n] - made[n]) * (seen[n] - made[n]);
        all += seen[n] * seen[n];
    }
    return all > 0 ? std::sqrt(left / all) : 1;
}

}  // namespace amisim
