#include <algorithm>
#include <cmath>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

/// Far enough off that no host's clock recovery could be meant.
constexpr double kMeanTolerance = 0.01;

constexpr std::size_t kSizes[] = {64, 1, 32, 96, 640, 2131, 12800, 63, 65, 1, 6400};  // samples

Recording RunSomeBits(Bench& bench, std::size_t bits)
{
    const Start start = Defaults(bench);
    return RunOnce(bench, start, MakeWave(bench, bits, start.samplesPerBit), {2048, 100, 4096});
}

bool HasClocks(const Recording& recording)
{
    return std::ranges::any_of(recording.lists,
                               [](const ClockList& list) { return !list.times.empty(); });
}

Verdict NoClocks()
{
    return NotApplicable("the model returns no clock times");
}

/// AMI_GetWave in blocks of many sizes; `look` judges after each call.
template <class Look>
Verdict ForBlocksOfManySizes(Bench& bench, Look look)
{
    const Start start = Defaults(bench);
    Instance instance(bench, start);
    instance.Init();
    const auto wave = MakeWave(bench, 200, start.samplesPerBit);
    bool any = false;
    for (const std::size_t size : kSizes) {
        const Block block = instance.GetWave(std::span(wave).first(size));
        any = any || block.clocks.written;
        look(instance, block, size);
    }
    instance.Close();
    return any ? Passed() : NoClocks();
}

}  // namespace

Verdict ClockFinite(Bench& bench)
{
    const Recording recording = RunSomeBits(bench, 600);
    if (!HasClocks(recording)) return NoClocks();
    const auto clocks = recording.Clocks();
    const std::size_t at = FirstNotFinite(clocks);
    Require(at == clocks.size(), "AMI_GetWave", "returned {} s as clock time {}",
            clocks[std::min(at, clocks.size() - 1)], at);
    return Passed(fmt::format("{} clock times", clocks.size()));
}

Verdict ClockRising(Bench& bench)
{
    const Recording recording = RunSomeBits(bench, 600);
    if (!HasClocks(recording)) return NoClocks();
    const auto clocks = recording.Clocks();
    const auto falls = std::ranges::adjacent_find(clocks, std::greater_equal{});
    const auto at = static_cast<std::size_t>(falls - clocks.begin());
    if (falls != clocks.end())
        Require(false, "AMI_GetWave", "returned {:.6g} s behind {:.6g} s, as clock time {}",
                clocks[at + 1], clocks[at], at + 1);
    return Passed(fmt::format("{} clock times", clocks.size()));
}

Verdict ClockTerminated(Bench& bench)
{
    const Recording recording = RunSomeBits(bench, 600);
    if (std::ranges::none_of(recording.lists, &ClockList::written)) return NoClocks();
    for (std::size_t i = 0; i < recording.lists.size(); ++i) {
        const auto& list = recording.lists[i];
        Require(list.end.has_value(), "AMI_GetWave",
                "left the clock list of block {} without its -1", i + 1);
        Require(*list.end == -1, "AMI_GetWave",
                "ended the clock list of block {} with {} instead of -1", i + 1, *list.end);
    }
    return Passed(fmt::format("{} lists", recording.lists.size()));
}

Verdict ClockCount(Bench& bench)
{
    return ForBlocksOfManySizes(bench, [](const Instance&, const Block& block, std::size_t size) {
        Require(block.clocks.times.size() <= block.clocks.most, "AMI_GetWave",
                "returned {} clock times or more in a block of {} samples, which has room for {}",
                block.clocks.times.size(), size, block.clocks.most);
    });
}

Verdict GuardClocks(Bench& bench)
{
    return ForBlocksOfManySizes(
        bench, [](const Instance& instance, const Block&, std::size_t size) {
            const std::string damage = instance.ClockGuard().Damage();
            Require(damage.empty(), "AMI_GetWave", "{}, in a block of {} samples", damage, size);
        });
}

Verdict ClockMean(Bench& bench)
{
    const Recording recording = RunSomeBits(bench, 2000);
    const auto clocks = recording.Clocks();
    if (!HasClocks(recording)) return NoClocks();
    const std::size_t half = clocks.size() / 2;
    Require(clocks.size() - half > 1, "AMI_GetWave", "returned {} clock times in 2000 bits",
            clocks.size());
    const double mean =
        (clocks.back() - clocks[half]) / static_cast<double>(clocks.size() - 1 - half);
    const double bits = mean / bench.GetTask().bitTime;
    Require(std::abs(bits - 1) <= kMeanTolerance, "AMI_GetWave",
            "returned clock times that are {:.4f} unit intervals apart on average", bits);
    return Passed(fmt::format("{:.4f} unit intervals", bits));
}

}  // namespace amisim::contract
