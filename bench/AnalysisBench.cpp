// Cost of what the host computes for each sample of a run: making the signal and looking at it.
// "s_per_sample" is the figure to read.

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <unsupported/Eigen/FFT>
#include <vector>

#include "base/Fft.hpp"
#include "host/analysis/Analyses.hpp"
#include "host/channel/LossyLine.hpp"
#include "host/signal/SignalChain.hpp"
#include "host/statistical/StatisticalEye.hpp"

namespace amisim {
namespace {

constexpr std::int64_t kBlockBits = 1000, kBits = 20000;

/// Calls work(first sample) for each block of a run and tells what a sample of it costs.
template <typename Work>
void MeasureBlocks(benchmark::State& state, int samplesPerBit, Work work)
{
    for (auto _ : state) {
        for (std::int64_t bit = 0; bit < kBits; bit += kBlockBits)
            work(static_cast<std::size_t>(bit * samplesPerBit));
    }
    state.counters["s_per_sample"] = benchmark::Counter(
        static_cast<double>(kBits * samplesPerBit),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

SignalOptions Options(int samplesPerBit)
{
    SignalOptions options;
    options.samplesPerBit = samplesPerBit;
    options.bits = kBits;
    options.noise = 0.002;
    return options;
}

/// Both eyes, the comparison with what was sent, and the clock.
void Looking(benchmark::State& state)
{
    const int samplesPerBit = static_cast<int>(state.range(0));
    const SignalOptions options = Options(samplesPerBit);
    SignalChain chain(options, kBits);
    std::vector<double> wave(static_cast<std::size_t>(kBits * samplesPerBit));
    chain.Output().Read(wave);
    Analyses::Settings settings;
    settings.samplesPerBit = samplesPerBit;
    settings.sampleInterval = options.SampleInterval();
    settings.sentUnitInterval = chain.SentUnitInterval();
    settings.sent = chain.Sent();
    settings.folder = std::filesystem::temp_directory_path();
    Analyses analyses(settings);
    const std::size_t size = static_cast<std::size_t>(kBlockBits * samplesPerBit);
    double end = 0, edge = 0.3;
    MeasureBlocks(state, samplesPerBit, [&](std::size_t at) {
        const auto block = std::span(wave).subspan(at, size);
        end += static_cast<double>(size);
        std::vector<double> times;
        while (edge * settings.sentUnitInterval < end) {
            times.push_back(edge * settings.sentUnitInterval * settings.sampleInterval);
            edge += 1;
        }
        analyses.Add(block, block, times);
    });
}
BENCHMARK(Looking)->Arg(32)->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);

/// Transmitter, line and noise.
void Sending(benchmark::State& state)
{
    const int samplesPerBit = static_cast<int>(state.range(0));
    SignalOptions options = Options(samplesPerBit);
    if (state.range(1) == 0) options.noise = 0;
    const SignalChain chain(options, 0);
    std::vector<double> block(static_cast<std::size_t>(kBlockBits * samplesPerBit));
    MeasureBlocks(state, samplesPerBit, [&](std::size_t) { chain.Output().Read(block); });
}
BENCHMARK(Sending)
    ->ArgNames({"samples_per_bit", "noise"})
    ->Args({64, 1})
    ->Args({64, 0})
    ->Unit(benchmark::kMillisecond);

/// An eye from the response of the 10 dB line, with jitter at random and, if told, a sine, whose
/// phases are 24 such eyes.
void Computing(benchmark::State& state)
{
    StatisticalLink link;
    link.modulation = Modulation::Of(static_cast<int>(state.range(0)));
    link.modulation.thresholds.clear();
    link.jitter.randomRms = 0.01;
    if (state.range(1) == 1) link.jitter.sines = {{.amplitude = 0.1, .frequency = 5e-4}};
    const SignalOptions options = Options(64);
    link.response =
        StepResponse(LossyLine{10, 0.5, options.bitRate / 2}.Impulse(options.SampleInterval()), 64);
    for (auto _ : state) benchmark::DoNotOptimize(ComputeStatisticalEye(link, {1e-12}));
}
BENCHMARK(Computing)
    ->ArgNames({"levels", "sine"})
    ->ArgsProduct({{2, 4}, {0, 1}})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

/// The transforms of a line's response as a run makes them, tables and all, beside the same by
/// Eigen: "times_faster" is the figure to read.
void TransformOverEigens(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    const auto size = static_cast<std::size_t>(state.range(0));
    std::vector<double> values(size);
    for (std::size_t n = 0; n < size; ++n) values[n] = 1 / static_cast<double>(n + 1);
    RealFft::Spectrum spectrum;
    Clock::duration own{}, eigens{};
    for (auto _ : state) {
        const auto start = Clock::now();
        RealFft fft(size);
        fft.Forward(values, spectrum);
        fft.Inverse(spectrum, values);
        const auto middle = Clock::now();
        Eigen::FFT<double> eigen;
        eigen.SetFlag(Eigen::FFT<double>::HalfSpectrum);
        eigen.fwd(spectrum, values);
        eigen.inv(values, spectrum, static_cast<Eigen::Index>(size));
        eigens += Clock::now() - middle;
        own += middle - start;
    }
    state.counters["times_faster"] =
        std::chrono::duration<double>(eigens) / std::chrono::duration<double>(own);
}
BENCHMARK(TransformOverEigens)
    ->Arg(1 << 10)
    ->Arg(1 << 15)
    ->Arg(1 << 19)
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace amisim
