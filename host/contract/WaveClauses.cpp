#include <algorithm>
#include <fstream>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

/// Blocks of 1 to `most` samples that add up to `total`.
std::vector<std::size_t> RandomSplit(Random& random, std::size_t total, std::size_t most)
{
    std::vector<std::size_t> sizes;
    for (std::size_t left = total; left > 0; left -= sizes.back())
        sizes.push_back(std::min(left, 1 + random.Bits() % most));
    return sizes;
}

/// Most memory that this process ever held. What getrusage tells includes the time before exec.
std::int64_t PeakBytes()
{
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::int64_t kilobytes = 0;
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes * 1024;
    }
    return 0;
}

struct Cut
{
    std::string label;
    std::vector<std::size_t> sizes;
};

/// The whole at once, sample by sample at first, and at random.
std::vector<Cut> MakeCuts(const Bench& bench, std::size_t total)
{
    std::vector<Cut> cuts = {{"as one block", {total}},
                             {"sample by sample", std::vector<std::size_t>(300, 1)}};
    cuts[1].sizes.push_back(3000);
    Random random = bench.MakeRandom(2000);
    for (const std::size_t most : {200u, 1500u, 9000u})
        cuts.push_back({"in random blocks of up to " + std::to_string(most) + " samples",
                        RandomSplit(random, total, most)});
    return cuts;
}

using Comparison = std::string (*)(const Recording&, const Recording&, double bitTime);

Verdict TryCuts(Bench& bench, Comparison difference)
{
    const Start start = Defaults(bench);
    const auto wave = MakeWave(bench, 300, start.samplesPerBit);
    const Recording expected = RunOnce(bench, start, wave, {4096});
    const auto cuts = MakeCuts(bench, wave.size());
    for (const auto& [label, sizes] : cuts) {
        bench.SetCircumstance(label);
        const std::string text =
            difference(expected, RunOnce(bench, start, wave, sizes), start.bitTime);
        Require(text.empty(), "AMI_GetWave",
                "depends on how the waveform is cut: in blocks of 4096 samples and {} {}", label,
                text);
    }
    return Passed(fmt::format("{} ways to cut {} samples", cuts.size() + 1, wave.size()));
}

}  // namespace

Verdict WaveAnswers(Bench& bench)
{
    const Start start = Defaults(bench);
    Instance instance(bench, start);
    instance.Init();
    const auto wave = MakeWave(bench, 1000, start.samplesPerBit);
    Record(instance, wave, {4096});
    instance.Close();
    Verdict verdict = Passed();
    verdict.figures.secondsPerSample = instance.WaveSeconds() / static_cast<double>(wave.size());
    verdict.figures.peakBytes = PeakBytes();
    return verdict;
}

Verdict FiniteOutput(Bench& bench)
{
    const Start start = Defaults(bench);
    const auto wave = MakeWave(bench, 1000, start.samplesPerBit);
    const Recording recording = RunOnce(bench, start, wave);
    const std::size_t at = FirstNotFinite(recording.output);
    Require(at == wave.size(), "AMI_GetWave", "returned {} V at sample {}",
            recording.output[std::min(at, wave.size() - 1)], at);
    return Passed(fmt::format("{} samples", wave.size()));
}

Verdict GuardWave(Bench& bench)
{
    const Start start = Defaults(bench);
    Instance instance(bench, start);
    instance.Init();
    const auto wave = MakeWave(bench, 200, start.samplesPerBit);
    for (const std::size_t size : {1u, 7u, 64u, 1000u, 4096u, 5u}) {
        instance.GetWave(std::span(wave).first(size));
        const std::string damage = instance.WaveGuard().Damage();
        Require(damage.empty(), "AMI_GetWave", "{}", damage);
    }
    instance.Close();
    return Passed();
}

Verdict BlockSplit(Bench& bench)
{
    return TryCuts(bench, [](const Recording& a, const Recording& b, double) {
        return DifferenceOfOutputs(a, b);
    });
}

Verdict ClockSplit(Bench& bench)
{
    return TryCuts(bench, DifferenceOfClocks);
}

Verdict SamplesPerBit(Bench& bench)
{
    for (const double samplesPerBit : {8, 12, 16, 20, 32, 40, 64, 100, 128}) {
        bench.SetCircumstance(fmt::format("at {} samples per bit", samplesPerBit));
        Start start = Defaults(bench);
        start.samplesPerBit = samplesPerBit;
        const auto wave = MakeWave(bench, 100, samplesPerBit);
        const Recording recording = RunOnce(bench, start, wave, {1000});
        Require(FirstNotFinite(recording.output) == wave.size(), "AMI_GetWave",
                "returned values that are not finite{}", After(bench));
    }
    return Passed();
}

}  // namespace amisim::contract
