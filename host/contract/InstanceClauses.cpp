#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

constexpr std::size_t kBits = 300;

/// Memory that the process holds (bytes).
struct Memory
{
    double allocated;  // by the C library's allocator
    double resident;   // in all, by pages
};

Memory MeasureMemory()
{
    const struct mallinfo2 info = mallinfo2();
    double pages = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    return {static_cast<double>(info.uordblks + info.hblkhd),
            resident * static_cast<double>(sysconf(_SC_PAGESIZE))};
}

/// Bytes that each round of `work` leaves behind. Stores that fill up once, and those that double
/// when they are full, are told apart by looking four times.
template <class Work>
double Growth(const Bench& bench, int rounds, Work work)
{
    for (int i = 0; i < rounds / 4; ++i) work();
    std::array<Memory, 5> memory{MeasureMemory()};
    int done = 0, grown = 0;
    for (std::size_t quarter = 1; quarter < memory.size(); ++quarter) {
        for (int i = 0; i < rounds / 4 && (i == 0 || bench.TimeLeft()); ++i, ++done) work();
        memory[quarter] = MeasureMemory();
        grown += memory[quarter].allocated > memory[quarter - 1].allocated ||
                 memory[quarter].resident > memory[quarter - 1].resident;
    }
    const double allocated = memory[4].allocated - memory[0].allocated;
    const double resident = memory[4].resident - memory[0].resident;
    constexpr double kMegabyte = 1 << 20;  // pages come and go
    return grown < 2 ? 0 : std::max(allocated, resident > kMegabyte ? resident : 0) / done;
}

}  // namespace

Verdict Determinism(Bench& bench)
{
    const Start start = Defaults(bench);
    Verdict verdict = Passed("two processes, a second apart");
    verdict.digest = RunOnce(bench, start, MakeWave(bench, kBits, start.samplesPerBit)).Digest();
    return verdict;
}

Verdict InitCloseInit(Bench& bench)
{
    const Start start = Defaults(bench);
    const auto wave = MakeWave(bench, kBits, start.samplesPerBit);
    const Recording first = RunOnce(bench, start, wave), second = RunOnce(bench, start, wave);
    const std::string difference = Difference(first, second, start.bitTime);
    Require(difference.empty(), "AMI_Init",
            "begins anew with what was left by an instance before: {}", difference);
    return Passed();
}

Verdict TwoInstances(Bench& bench)
{
    const Task& task = bench.GetTask();
    constexpr std::size_t kBlock = 1000;
    const char* const names[] = {"first", "second"};
    Start start = Defaults(bench);
    start.blockSamples = kBlock;
    Start starts[] = {start, start};
    if (!task.rangeEnds.list.empty())
        starts[1].parameters = task.rangeEnds.list.back().edit.ApplyTo(task.parameters);

    std::vector<double> waves[2];
    Recording alone[2], together[2];
    for (std::size_t i = 0; i < 2; ++i) {
        waves[i] = MakeWave(bench, kBits, start.samplesPerBit, i);
        alone[i] = RunOnce(bench, starts[i], waves[i], {kBlock});
    }
    bench.SetCircumstance("of two at once");
    Instance instances[] = {{bench, starts[0]}, {bench, starts[1]}};
    for (auto& instance : instances) instance.Init();
    for (std::size_t at = 0; at < waves[0].size(); at += kBlock) {
        for (std::size_t i = 0; i < 2; ++i) {
            const auto part =
                std::span(waves[i]).subspan(at, std::min(kBlock, waves[i].size() - at));
            Block block = instances[i].GetWave(part);
            together[i].output.insert(together[i].output.end(), block.output.begin(),
                                      block.output.end());
            together[i].lists.push_back(std::move(block.clocks));
        }
    }
    for (auto& instance : instances) instance.Close();
    for (std::size_t i = 0; i < 2; ++i) {
        const std::string difference = Difference(alone[i], together[i], start.bitTime);
        Require(difference.empty(), "AMI_GetWave", "of the {} instance is not as it is alone: {}",
                names[i], difference);
    }
    return Passed();
}

Verdict MemoryPerBlock(Bench& bench)
{
    const Start start = Defaults(bench);
    Instance instance(bench, start);
    instance.Init();
    const auto wave = MakeWave(bench, 10, start.samplesPerBit);
    const double bytes = Growth(bench, 400, [&] { instance.GetWave(wave); });
    instance.Close();
    constexpr double kMost = 64;
    Require(bytes <= kMost, "AMI_GetWave", "leaves {:.0f} bytes behind with each call", bytes);
    return Passed(fmt::format("{:.0f} bytes for each call", bytes));
}

Verdict MemoryPerInstance(Bench& bench)
{
    const Start start = Defaults(bench);
    const auto wave = MakeWave(bench, 10, start.samplesPerBit);
    const double bytes = Growth(bench, 64, [&] {
        Instance instance(bench, start);
        instance.Init();
        if (bench.GetTask().HasGetWave()) instance.GetWave(wave);
        instance.Close();
    });
    constexpr double kMost = 1024;
    Require(bytes <= kMost, "AMI_Close", "leaves {:.0f} bytes behind with each instance", bytes);
    return Passed(fmt::format("{:.0f} bytes for each instance", bytes));
}

}  // namespace amisim::contract
