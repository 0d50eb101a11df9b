#include "host/contract/Recording.hpp"

#include <algorithm>
#include <bit>
#include <cmath>

#include "host/signal/Prbs.hpp"
#include "host/signal/Transmitter.hpp"

namespace amisim::contract {
namespace {

constexpr double kSameVoltage = 1e-9;  // of the greatest voltage
constexpr double kSameTime = 1e-6;     // unit intervals

bool Same(double a, double b, double tolerance)
{
    return a == b || (std::isnan(a) && std::isnan(b)) || std::abs(a - b) <= tolerance;
}

double Greatest(std::span<const double> values)
{
    double greatest = 0;
    for (const double v : values)
        greatest = std::isfinite(v) ? std::max(greatest, std::abs(v)) : greatest;
    return greatest;
}

/// Index of the first pair that differs, or the common size.
std::size_t FirstDifference(std::span<const double> a, std::span<const double> b, double tolerance)
{
    const auto differ =
        std::ranges::mismatch(a, b, [=](double x, double y) { return Same(x, y, tolerance); });
    return static_cast<std::size_t>(differ.in1 - a.begin());
}

}  // namespace

std::vector<double> MakeWave(const Bench& bench, std::size_t bits, double samplesPerBit,
                             std::uint64_t stream)
{
    Transmitter::Settings settings;
    settings.unitInterval = samplesPerBit;
    settings.rampTime = 0.5 * samplesPerBit;
    Transmitter source(settings, std::make_unique<Prbs>(15, bench.GetTask().seed + stream), nullptr,
                       bench.MakeRandom(3 * stream + 1));
    NoiseSource noisy(source, 0.005, bench.MakeRandom(3 * stream + 2));
    std::vector<double> wave(
        static_cast<std::size_t>(std::ceil(static_cast<double>(bits) * samplesPerBit)));
    noisy.Read(wave);
    return wave;
}

std::vector<double> Recording::Clocks() const
{
    std::vector<double> clocks;
    for (const auto& list : lists)
        clocks.insert(clocks.end(), list.times.begin(), list.times.end());
    return clocks;
}

std::uint64_t Recording::Digest() const
{
    std::uint64_t hash = 0xcbf29ce484222325;  // FNV-1a over words
    const auto add = [&hash](double value) {
        hash = (hash ^ std::bit_cast<std::uint64_t>(value)) * 0x100000001b3;
        hash ^= hash >> 29;
    };
    std::ranges::for_each(output, add);
    std::ranges::for_each(Clocks(), add);
    return hash;
}

Recording Record(Instance& instance, std::span<const double> wave,
                 const std::vector<std::size_t>& sizes)
{
    Recording recording;
    for (std::size_t i = 0; !wave.empty(); ++i) {
        const std::size_t size = std::min(sizes[std::min(i, sizes.size() - 1)], wave.size());
        Block block = instance.GetWave(wave.first(size));
        recording.output.insert(recording.output.end(), block.output.begin(), block.output.end());
        recording.lists.push_back(std::move(block.clocks));
        wave = wave.subspan(size);
    }
    return recording;
}

Recording RunOnce(Bench& bench, const Start& start, std::span<const double> wave,
                  const std::vector<std::size_t>& sizes)
{
    Start sized = start;
    sized.blockSamples = std::min(std::ranges::max(sizes), wave.size());
    Instance instance(bench, sized);
    instance.Init();
    Recording recording = Record(instance, wave, sizes);
    instance.Close();
    return recording;
}

std::string DifferenceOfOutputs(const Recording& a, const Recording& b)
{
    const std::size_t at = FirstDifference(a.output, b.output, kSameVoltage * Greatest(a.output));
    if (at == a.output.size()) return "";
    return fmt::format("the output differs at sample {} first, there {:.6g} V and {:.6g} V", at,
                       a.output[at], b.output[at]);
}

std::string DifferenceOfClocks(const Recording& a, const Recording& b, double bitTime)
{
    const auto left = a.Clocks(), right = b.Clocks();
    const std::size_t at = FirstDifference(left, right, kSameTime * bitTime);
    if (at < std::min(left.size(), right.size()))
        return fmt::format("clock time {} differs first, {:.6g} s and {:.6g} s", at, left[at],
                           right[at]);
    if (left.size() != right.size())
        return fmt::format("there are {} clock times and {}", left.size(), right.size());
    return "";
}

std::string Difference(const Recording& a, const Recording& b, double bitTime)
{
    const std::string outputs = DifferenceOfOutputs(a, b);
    return outputs.empty() ? DifferenceOfClocks(a, b, bitTime) : outputs;
}

std::size_t FirstNotFinite(std::span<const double> values)
{
    const auto at = std::ranges::find_if_not(values, [](double v) { return std::isfinite(v); });
    return static_cast<std::size_t>(at - values.begin());
}

}  // namespace amisim::contract
