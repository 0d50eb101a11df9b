// Cost of the receiver per sample, over what changes it. "ns_per_sample" is the figure to read;
// the last benchmark runs the plain way and the quick way in turn and reports their ratio.

#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <random>
#include <vector>

#include <malloc.h>

#include "ami/EntryPoints.hpp"
#include "receiver/Retimer_RX_RT.hpp"

namespace {

enum class Phase { Idle, Measuring, Adapting };

/// A receiver and the signal it is fed, block by block.
class Bench
{
public:
    Bench(int iSamplesPerBit, Phase phase, bool bEverything = false,
          const Vantor::InnerProductsVariant* kernel = nullptr)
    {
        // The logs go where nobody looks.
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        m_rx->FireEverything = bEverything;
        if (kernel) m_rx->Kernel = kernel;
        m_rx->SamplesPerSymbol = iSamplesPerBit;
        m_rx->RX_Config = 2;
        m_rx->CTLEAdapt = phase != Phase::Idle;
        if (phase == Phase::Measuring) m_rx->EOMNbits = 1 << 30;  // never done
        m_rx->WaveIn.SetBuffer(m_in, 1, 1, 0);
        m_rx->WaveOut.SetBuffer(m_out, 1, 1, 0);
        m_rx->ClockOut.SetBuffer(m_clock, 1, 1, 0);
        if (!m_rx->Setup() || !m_rx->Initialize()) std::abort();

        std::mt19937 random(1);
        m_wave.resize(4096 * static_cast<size_t>(iSamplesPerBit));
        double dLevel = 0.4, y = 0;
        for (size_t i = 0; i < m_wave.size(); ++i) {
            if (i % static_cast<size_t>(iSamplesPerBit) == 0) dLevel = random() & 1 ? 0.4 : -0.4;
            m_wave[i] = y += (dLevel - y) * 4 / iSamplesPerBit;
        }
        if (!bEverything && phase != Phase::Adapting)  // past start-up, and into the measurement
            for (int i = 0; i < 700 * iSamplesPerBit; i += 1024) Run(1024);
    }

    void Silence() { std::fill(m_wave.begin(), m_wave.end(), 0.0); }

    void Run(size_t iBlock)
    {
        if (m_iAt + iBlock > m_wave.size()) m_iAt = 0;
        m_block.assign(&m_wave[m_iAt], &m_wave[m_iAt] + iBlock);
        m_iAt += iBlock;
        m_rx->Announce(m_block.data(), iBlock);
        for (size_t i = 0; i < iBlock; ++i) {
            i += m_rx->RunAtRest(&m_block[i], iBlock - i);
            if (i == iBlock) break;
            m_in[0] = m_block[i];
            m_rx->Run();
            m_block[i] = m_out[0];
        }
        benchmark::DoNotOptimize(m_block.back());
        m_rx->Announce(nullptr, 0);
    }

private:
    std::unique_ptr<Retimer_RX_RT> m_rx = std::make_unique<Retimer_RX_RT>();
    double m_in[1] = {}, m_out[1] = {}, m_clock[1] = {};
    std::vector<double> m_wave, m_block;
    size_t m_iAt = 0;
};

void CountSamples(benchmark::State& state, size_t iSamplesPerIteration)
{
    const auto iSamples = state.iterations() * static_cast<long>(iSamplesPerIteration);
    state.counters["ns_per_sample"] =
        benchmark::Counter(static_cast<double>(iSamples) * 1e-9,
                           benchmark::Counter::kIsRate | benchmark::Counter::kInvert |
                               benchmark::Counter::kAvgThreads);
}

void Measure(benchmark::State& state, Bench& bench, size_t iBlock)
{
    for (auto _ : state) bench.Run(iBlock);
    CountSamples(state, iBlock);
}

void BlockSize(benchmark::State& state)
{
    Bench bench(64, Phase::Idle);
    Measure(state, bench, static_cast<size_t>(state.range(0)));
}
BENCHMARK(BlockSize)->Arg(1)->Arg(8)->Arg(64)->Arg(1024)->Arg(65536);

/// As a simulator calls it.
void GetWave(benchmark::State& state)
{
    const auto iBlock = static_cast<size_t>(state.range(0));
    char parameters[] = "(Retimer_RX_RT (CTLEAdapt 0))", *message = nullptr;
    void* memory = nullptr;
    const double dBitTime = 9.7e-11;
    AMI_Init(nullptr, 0, 0, dBitTime / 64, dBitTime, parameters, nullptr, &memory, &message);
    std::vector<double> wave(iBlock), times(iBlock / 64 + 1);
    std::mt19937 random(1);
    size_t i = 0;
    double dLevel = 0.4, y = 0;
    for (auto _ : state) {
        for (double& sample : wave) {
            if (i++ % 64 == 0) dLevel = random() & 1 ? 0.4 : -0.4;
            sample = y += (dLevel - y) / 16;
        }
        AMI_GetWave(wave.data(), static_cast<long>(iBlock), times.data(), nullptr, memory);
    }
    CountSamples(state, iBlock);
    AMI_Close(memory);
}
BENCHMARK(GetWave)->Arg(1)->Arg(8)->Arg(64)->Arg(1024);

void SamplesPerBit(benchmark::State& state)
{
    Bench bench(static_cast<int>(state.range(0)), Phase::Idle);
    Measure(state, bench, 4096);
}
BENCHMARK(SamplesPerBit)->Arg(32)->Arg(64)->Arg(128)->Arg(256);

void EyeMeasurement(benchmark::State& state)
{
    Bench bench(64, Phase::Measuring);
    Measure(state, bench, 4096);
}
BENCHMARK(EyeMeasurement);

void AdaptingRun(benchmark::State& state)
{
    constexpr size_t iSamples = 20000 * 64;
    for (auto _ : state) {
        state.PauseTiming();
        Bench bench(64, Phase::Adapting);
        state.ResumeTiming();
        for (size_t i = 0; i < iSamples; i += 4096) bench.Run(4096);
    }
    CountSamples(state, iSamples);
}
BENCHMARK(AdaptingRun)->Unit(benchmark::kMillisecond);

void InstancePerThread(benchmark::State& state)
{
    Bench bench(64, Phase::Idle);
    Measure(state, bench, 4096);
}
BENCHMARK(InstancePerThread)->ThreadRange(1, 2)->UseRealTime();

void SilenceAfterData(benchmark::State& state)
{
    Bench bench(64, Phase::Idle);
    bench.Silence();
    Measure(state, bench, 4096);
}
BENCHMARK(SilenceAfterData);

void InstructionSet(benchmark::State& state)
{
    const auto& kernel = Vantor::InnerProductsVariants[state.range(0)];
    state.SetLabel(kernel.Name);
    if (!kernel.IsSupported()) {
        state.SkipWithError("not on this machine");
        return;
    }
    Bench bench(64, Phase::Idle, false, &kernel);
    Measure(state, bench, 4096);
}
BENCHMARK(InstructionSet)->DenseRange(0, Vantor::NumberOfInnerProductsVariants - 1);

void SetUp(benchmark::State& state)
{
    for (auto _ : state) {
        const size_t iBefore = mallinfo2().uordblks + mallinfo2().hblkhd;
        const auto rx = std::make_unique<Retimer_RX_RT>();
        benchmark::DoNotOptimize(rx->Setup() && rx->Initialize());
        state.counters["MB"] =
            static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd - iBefore) * 1e-6;
    }
}
BENCHMARK(SetUp)->Unit(benchmark::kMillisecond);

void QuickOverPlain(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    Bench plain(64, Phase::Idle, true);
    Bench quick(64, Phase::Idle);
    std::chrono::duration<double, std::nano> plainTime{}, quickTime{};
    for (auto _ : state) {
        const auto start = Clock::now();
        plain.Run(1024);
        const auto middle = Clock::now();
        for (int i = 0; i < 100; ++i) quick.Run(1024);
        quickTime += (Clock::now() - middle) / 100;
        plainTime += middle - start;
    }
    const double dSamples = static_cast<double>(state.iterations()) * 1024;
    state.counters["plain_ns_per_sample"] = plainTime.count() / dSamples;
    state.counters["quick_ns_per_sample"] = quickTime.count() / dSamples;
    state.counters["times_faster"] = plainTime / quickTime;
}
BENCHMARK(QuickOverPlain)->Unit(benchmark::kMillisecond);

}  // namespace
