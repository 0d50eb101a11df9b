#include "host/channel/ChannelResponse.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <numeric>

#include "base/Error.hpp"
#include "host/channel/ChannelSpectrum.hpp"
#include "host/channel/SlowTail.hpp"
#include "touchstone/Interpolation.hpp"

namespace amisim {
namespace {

constexpr double kLongestTime = 1 << 19;  // samples
constexpr double kFront = 0.01;      // of the peak: an earlier echo of this size is no artefact
constexpr double kTail = 1e-9;       // of the energy
constexpr double kPassive = 1.001;   // a gain up to here is a matter of measurement
constexpr double kUndecayed = 1e-3;  // of the energy, late
constexpr double kMostRestored =
    0.05;  // of the largest gain: the slow tail of a line, no capacitor

FrequencyResponse Below(const FrequencyResponse& all, double limit)
{
    FrequencyResponse data;
    for (std::size_t k = 0; k < all.frequency.size() && all.frequency[k] <= limit; ++k) {
        data.frequency.push_back(all.frequency[k]);
        data.value.push_back(all.value[k]);
    }
    return data;
}

/// Time that the data's frequency step resolves: they repeat after 1 / step, and what comes within
/// half of that is told from what came before.
double ResolvedTime(const FrequencyResponse& data)
{
    double step = data.frequency[1] - data.frequency[0];
    for (std::size_t k = 2; k < data.frequency.size(); ++k) {
        step = std::min(step, data.frequency[k] - data.frequency[k - 1]);
    }
    return 0.5 / step;
}

double Energy(const double* begin, const double* end)
{
    return std::inner_product(begin, end, begin, 0.0);
}

std::string TailNote(const SlowTail& tail, const ChannelResponse& channel, double resolved)
{
    const std::string end = fmt::format(
        "the response goes on beyond the {:.4g} ns that the data's frequency step "
        "resolves",
        resolved * 1e9);
    if (tail.isRestored) {
        return fmt::format("{}: {:.2g} % of gain at 0 Hz restored", end, 100.0 * tail.missing);
    }
    return fmt::format("{}: what is kept has a gain of {:.4f} at 0 Hz", end,
                       channel.dcGain - tail.missing * channel.peak.gain);
}

/// What a user should know about how the response came about.
std::vector<std::string> Notes(const ChannelResponse& channel, const FrequencyResponse& data,
                               const FrequencyResponse& all, const Extrapolation& outside,
                               const SlowTail& tail, double resolved)
{
    std::vector<std::string> notes;
    const auto& f = data.frequency;
    const double late = std::floor(0.8 * resolved / channel.sampleInterval);
    if (f.front() > 0.0) {
        notes.push_back(
            fmt::format("extrapolated from {:.4g} MHz down to 0 Hz, where the gain is {:.4f}",
                        f.front() * 1e-6, channel.dcGain));
    }
    if (f.size() < all.frequency.size()) {
        notes.push_back(fmt::format("data beyond {:.4g} GHz, half the sampling rate, left out",
                                    0.5e-9 / channel.sampleInterval));
    } else if (2.0 * f.back() * channel.sampleInterval < 1.0) {
        notes.push_back(fmt::format("extrapolated beyond {:.4g} GHz with {:.1f} dB per decade",
                                    f.back() * 1e-9, outside.FallPerDecade()));
    }
    notes.push_back(fmt::format(
        "{:.2g} % of the energy came before the main delay of {:.4g} ns and was removed",
        100.0 * channel.removedFraction,
        static_cast<double>(channel.delay) * channel.sampleInterval * 1e9));
    if (channel.shift > channel.sampleInterval) {
        notes.push_back(
            fmt::format("the data arrive {:.4g} ns before they are sent; moved to time 0",
                        channel.shift * 1e9));
    }
    if (std::abs(tail.missing) > SlowTail::kSettled) {
        notes.push_back(TailNote(tail, channel, resolved));
    }
    const auto& taps = channel.taps;
    if (late < static_cast<double>(taps.size())) {
        const double* const end = taps.data() + taps.size();
        const double share =
            Energy(taps.data() + static_cast<std::size_t>(late), end) / Energy(taps.data(), end);
        if (share > kUndecayed) {
            notes.push_back(fmt::format(
                "the response has not died out after {:.4g} ns, which is all that the data's "
                "frequency step resolves: {:.2g} % of the energy are in the last fifth",
                resolved * 1e9, 100.0 * share));
        }
    }
    return notes;
}

}  // namespace

ChannelResponse MakeChannelResponse(const FrequencyResponse& response, double sampleInterval)
{
    const FrequencyResponse data = Below(response, 0.5 / sampleInterval);
    if (data.frequency.size() < 4) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected four frequencies or more below half the sampling rate "
                                "({:g} Hz), found {}",
                                0.5 / sampleInterval, data.frequency.size()));
    }
    ChannelResponse channel;
    channel.sampleInterval = sampleInterval;
    for (std::size_t k = 0; k < response.value.size(); ++k) {
        if (std::abs(response.value[k]) > channel.peak.gain) {
            channel.peak = {std::abs(response.value[k]), response.frequency[k]};
        }
    }
    if (!(channel.peak.gain > 0.0)) {
        throw Error(ExitCode::kInput, "the channel lets nothing through");
    }

    const Extrapolation outside(data);
    const double resolved = std::min(ResolvedTime(data) / sampleInterval, kLongestTime);
    const auto reach = std::max<std::size_t>(64, static_cast<std::size_t>(resolved));
    const std::size_t half = std::bit_ceil(2 * reach);
    const std::size_t window = 2 * half;
    const double step = 1.0 / (static_cast<double>(window) * sampleInterval);
    if (data.frequency.back() - data.frequency.front() < 4.0 * step) {
        throw Error(ExitCode::kInput,
                    fmt::format("expected data over a wider band than from {:g} to {:g} Hz",
                                data.frequency.front(), data.frequency.back()));
    }
    const ChannelSpectrum spectrum = CompleteSpectrum(data, outside, half, step);
    std::vector<double> time = TimeResponse(spectrum.values);

    // Into the order of time: the front half of the window is what precedes the delay.
    std::rotate(time.begin(), time.begin() + static_cast<std::ptrdiff_t>(half), time.end());
    const double samples = std::max(0.0, std::round(spectrum.delay / sampleInterval));
    const auto delay = static_cast<std::size_t>(samples);
    channel.shift = samples * sampleInterval - spectrum.delay;
    channel.dcGain = spectrum.values.front().real();

    double peak = 0.0;
    for (const double value : time) {
        peak = std::max(peak, std::abs(value));
    }
    std::size_t front = half - std::min(reach, delay);
    while (front < half && std::abs(time[front]) < kFront * peak) {
        ++front;
    }
    const double* const origin = time.data() + half;
    const double energy = Energy(origin - reach, origin + reach);
    channel.removedFraction = Energy(origin - reach, time.data() + front) / energy;
    channel.delay = delay + front - half;

    std::size_t end = half + reach;
    for (double tail = 0.0, sum = 0.0; end > front + 1; --end) {
        tail += time[end - 1] * time[end - 1];
        sum += time[end - 1];
        if (tail > kTail * energy || std::abs(sum) > SlowTail::kSettled * channel.peak.gain) {
            break;
        }
    }
    channel.taps.assign(time.begin() + static_cast<std::ptrdiff_t>(front),
                        time.begin() + static_cast<std::ptrdiff_t>(end));
    const SlowTail tail =
        RestoreSlowTail(channel.taps, channel.dcGain, channel.peak.gain, kMostRestored);
    channel.notes = Notes(channel, data, response, outside, tail, ResolvedTime(data));
    return channel;
}

namespace {

/// Between ends that reflect, the response ripples over the lowest frequencies too and does not
/// tell where it leads to at 0 Hz. There a leg is a resistance R in series, which takes from the
/// gain between matched ends what that is extrapolated to: 2 Z0 / (2 Z0 + R). So 0 Hz becomes a
/// point of the data: 2 RL / (RS + R + RL).
void AddSteadyGain(FrequencyResponse& response, const ChannelNetwork& network,
                   const Terminations& ends, std::vector<std::string>& notes)
{
    if (ends.AreMatched() || response.frequency.front() == 0.0) return;
    const double reference = network.s.reference.front();
    FrequencyResponse matched = Through(network, {});
    const double gain = std::exp(Extrapolation(matched)(0.0));
    const double series = 2.0 * reference * std::max(0.0, 1.0 / gain - 1.0);
    const double source = ends.source.value_or(reference), load = ends.load.value_or(reference);
    const auto sign =
        matched.value.front() *
        std::polar(1.0, 2.0 * std::numbers::pi * matched.frequency.front() * MeanDelay(matched));
    const double steady = std::copysign(2.0 * load / (source + series + load), sign.real());
    notes.push_back(
        fmt::format("continued from {:.4g} MHz down to 0 Hz, where the gain is {:.4f} "
                    "between ends of {:g} and {:g} ohm",
                    response.frequency.front() * 1e-6, steady, source, load));
    response.frequency.insert(response.frequency.begin(), 0.0);
    response.value.insert(response.value.begin(), steady);
}

}  // namespace

ChannelResponse ReadChannel(const std::vector<std::filesystem::path>& files,
                            const ChannelReading& reading, double sampleInterval)
{
    return MakeChannel(ReadNetwork(files, reading), NameOf(files), reading, sampleInterval);
}

ChannelResponse MakeChannel(const ChannelNetwork& network, const std::string& name,
                            const ChannelReading& reading, double sampleInterval)
{
    const SParameters& s = network.s;
    try {
        FrequencyResponse response = Through(network, reading.ends);
        std::vector<std::string> notes = network.notes;
        AddSteadyGain(response, network, reading.ends, notes);
        ChannelResponse channel = MakeChannelResponse(response, sampleInterval);
        channel.modes = network.modes;
        channel.ports = network.order;
        channel.notes.insert(channel.notes.begin(), notes.begin(), notes.end());

        const std::vector<double> gains = GreatestGains(s);
        const auto peak = std::ranges::max_element(gains);
        channel.peak = {*peak, s.frequency[static_cast<std::size_t>(peak - gains.begin())]};
        if (channel.peak.gain > kPassive) {
            channel.notes.push_back(fmt::format("not passive: a gain of {:.4f} at {:.4g} GHz",
                                                channel.peak.gain, channel.peak.frequency * 1e-9));
        }
        channel.grade = Grade(s, gains, channel.removedFraction, reading.bitRate);
        channel.notes.push_back(channel.grade->ToText());
        return channel;
    } catch (const Error& error) {
        throw Error(error.Code(), fmt::format("{}: {}", name, error.what()));
    }
}

}  // namespace amisim
