#include "host/contract/Instance.hpp"

#include <algorithm>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstring>
#include <utility>

namespace amisim::contract {
namespace {

constexpr std::uint64_t kMark = 0x7ff8a315'c10cf00dULL;  // a NaN that no arithmetic yields
constexpr std::size_t kLongestText = 1 << 20;

bool IsMark(double value)
{
    return std::bit_cast<std::uint64_t>(value) == kMark;
}

/// An impulse response of area 1 with a rise and a decay (1/s); each aggressor's is a twentieth of
/// it, and later.
std::vector<double> MakeImpulse(const Start& start)
{
    const double bitTime = std::max(start.bitTime, 1e-15);  // a check tries 0
    std::vector<double> impulse;
    for (long column = 0; column <= start.aggressors; ++column) {
        for (long row = 0; row < start.rows; ++row) {
            const double t = static_cast<double>(row - 8 * column) / start.samplesPerBit;
            const double scale = column == 0 ? 1 : 0.05;
            impulse.push_back(t < 0 ? 0 : scale * 16 * t * std::exp(-4 * t) / bitTime);
        }
        // However few the rows are, there is something to convolve.
        if (start.rows == 1) impulse.back() = start.samplesPerBit / bitTime;
    }
    return impulse;
}

ClockList ReadClocks(std::span<const double> room)
{
    ClockList list;
    const auto end = std::ranges::find_if(room, [](double t) { return t < 0 || IsMark(t); });
    list.times.assign(room.begin(), end);
    if (end != room.end() && !IsMark(*end)) list.end = *end;
    list.written = !std::ranges::all_of(room, IsMark);
    return list;
}

}  // namespace

Start Defaults(const Bench& bench)
{
    Start start;
    start.parameters = bench.GetTask().parameters;
    start.bitTime = bench.GetTask().bitTime;
    return start;
}

Instance::Instance(Bench& bench, Start start)
    : bench_(bench),
      start_(std::move(start)),
      inputArray_("parameter string", start_.parameters.size() + 1),
      impulseArray_("impulse matrix", sizeof(double) * static_cast<std::size_t>(
                                                           start_.rows * (start_.aggressors + 1))),
      waveArray_("wave", sizeof(double) * start_.blockSamples),
      clockArray_("clock list", sizeof(double) * (MostClocks(start_.blockSamples) + 1))
{
    const auto room = inputArray_.Take(start_.parameters.size() + 1);
    std::memcpy(room.data(), start_.parameters.c_str(), room.size());
    input_ = {reinterpret_cast<char*>(room.data()), room.size()};
    impulseBefore_ = MakeImpulse(start_);
    impulse_ = impulseArray_.TakeDoubles(impulseBefore_.size());
    std::ranges::copy(impulseBefore_, impulse_.begin());
}

std::size_t Instance::MostClocks(std::size_t samples) const
{
    const double bits = static_cast<double>(samples) / std::max(start_.samplesPerBit, 1.0);
    return static_cast<std::size_t>(std::ceil(bits)) + 1;
}

long Instance::TryInit()
{
    const AmiModule& module = bench_.Module();
    bench_.Note("AMI_Init");
    message_ = parametersOut_ = start_.before;
    return module.init(impulse_.data(), start_.rows, start_.aggressors,
                       start_.bitTime / start_.samplesPerBit, start_.bitTime, input_.data(),
                       &parametersOut_, &handle_, &message_);
}

void Instance::Init()
{
    if (TryInit() != 0) return;
    const std::string said =
        message_ && message_ != start_.before ? ReadText(bench_, message_, "the message") : "";
    Require(false, "AMI_Init", "returned 0{}{}{}", After(bench_), said.empty() ? "" : ": ", said);
}

Block Instance::GetWave(std::span<const double> wave)
{
    const AmiModule& module = bench_.Module();
    const auto inOut = waveArray_.TakeDoubles(wave.size());
    std::ranges::copy(wave, inOut.begin());
    const auto room = clockArray_.TakeDoubles(MostClocks(wave.size()) + 1);
    std::ranges::fill(room, std::bit_cast<double>(kMark));
    bench_.Note("AMI_GetWave");
    char* parameters = nullptr;
    const auto begin = std::chrono::steady_clock::now();
    const long result = module.getWave(inOut.data(), static_cast<long>(wave.size()), room.data(),
                                       &parameters, handle_);
    waveSeconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    Require(result != 0, "AMI_GetWave", "returned 0 for a block of {} samples{}", wave.size(),
            After(bench_));
    Block block;
    block.output.assign(inOut.begin(), inOut.end());
    block.clocks = ReadClocks(room);
    block.clocks.most = MostClocks(wave.size());
    if (parameters) block.parametersOut = ReadText(bench_, parameters, "the parameters_out");
    return block;
}

long Instance::Close()
{
    if (!handle_) return 1;
    bench_.Note("AMI_Close");
    return bench_.Module().close(std::exchange(handle_, nullptr));
}

std::string ReadText(Bench& bench, const char* text, const std::string& what)
{
    bench.Note("reading " + what);
    const std::size_t length = strnlen(text, kLongestText);
    Require(length < kLongestText, "AMI_Init", "{} has no end within 1 MB", what);
    return {text, length};
}

}  // namespace amisim::contract
