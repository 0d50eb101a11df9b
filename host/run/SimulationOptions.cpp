#include "host/run/SimulationOptions.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <string_view>

#include "base/Error.hpp"
#include "host/analysis/EyeMask.hpp"

namespace amisim {

BoxRequest SimulationOptions::Box() const
{
    BoxRequest request;
    request.kind = box.value_or(BoxKind::kFull);
    request.insist = box == BoxKind::kFull;
    struct Known
    {
        std::string_view name;
        std::uint64_t BoxRequest::*limit;
        double unit;
    };
    constexpr double kGigabyte = 1e9;
    constexpr Known kKnown[] = {{"memory", &BoxRequest::memory, kGigabyte},
                                {"file", &BoxRequest::file, kGigabyte},
                                {"processes", &BoxRequest::processes, 1}};
    for (const std::string& text : limits) {
        const std::size_t equals = std::min(text.find('='), text.size());
        const auto known = std::ranges::find(kKnown, text.substr(0, equals), &Known::name);
        const char* const value = text.c_str() + std::min(equals + 1, text.size());
        double number = 0;
        const auto [end, error] = std::from_chars(value, text.c_str() + text.size(), number);
        const bool none = std::string_view(value) == "none";
        const bool fits =
            none || (error == std::errc() && *end == '\0' && number > 0 && number < 1e9);
        if (known == std::end(kKnown) || !fits) {
            throw Error(ExitCode::kUsage,
                        fmt::format("--limit {}: expected memory=GB, file=GB or processes=N, or "
                                    "none for the number, such as memory=none",
                                    text));
        }
        request.*known->limit =
            none ? 0 : std::max<std::uint64_t>(1, static_cast<std::uint64_t>(number * known->unit));
    }
    return request;
}

std::vector<SegmentOptions*> SimulationOptions::Segments()
{
    std::vector<SegmentOptions*> all;
    for (SegmentOptions& segment : earlier) all.push_back(&segment);
    all.push_back(this);
    return all;
}

std::vector<const SegmentOptions*> SimulationOptions::Segments() const
{
    std::vector<const SegmentOptions*> all;
    for (const SegmentOptions& segment : earlier) all.push_back(&segment);
    all.push_back(this);
    return all;
}

std::vector<double> SimulationOptions::ErrorRatios() const
{
    std::vector<double> ratios = bers;
    std::ranges::sort(ratios, std::greater{});
    ratios.erase(std::unique(ratios.begin(), ratios.end()), ratios.end());
    return ratios;
}

ModelChoice SegmentOptions::Receiver() const
{
    return {model, modelName, parameters, corner, ibis::End::Receiver};
}

ModelChoice SegmentOptions::Transmitter() const
{
    return {transmitter, transmitterName, transmitterParameters, transmitterCorner,
            ibis::End::Transmitter};
}

void SegmentOptions::Check() const
{
    const auto fail = [](const std::string& text) { throw Error(ExitCode::kUsage, text); };
    if (!transmitter.empty() && !signal.wave.empty())
        fail("--tx: goes with a pattern, not with the waveform of --wave");
    if (!transmitter.empty() && signal.deemphasis.Sum() > 0)
        fail(
            "--tx-pre, --tx-post: are those of the built-in transmitter; with --tx the model has "
            "its own");
    if (transmitter.empty() && (!transmitterName.empty() || !transmitterParameters.empty() ||
                                transmitterCorner != Corner::Typ))
        fail("--tx-model, --tx-param, --tx-corner: are for a model given with --tx");
}

void SimulationOptions::Check() const
{
    Box();
    for (const SegmentOptions& segment : earlier) segment.Check();
    SegmentOptions::Check();
    const auto fail = [](const std::string& text) { throw Error(ExitCode::kUsage, text); };
    if (!mask.empty()) FindMask(mask);
    if (mask.empty() && maskAtInput) fail("--mask-at: names the eye of a mask given with --mask");
    if (!counted && !mask.empty())
        fail("--statistical only: counts no samples, which --mask is about");
    const SignalOptions& sent = Segments().front()->signal;
    const bool random = sent.wave.empty() && sent.pattern.empty() && sent.clockPattern == 0;
    if (!counted && !random) {
        fail(
            "--statistical only: is of a pseudo-random pattern, not of --wave, --pattern or "
            "--clock-pattern");
    }
    if (signal.bits && ignoreBits && *ignoreBits >= *signal.bits) {
        fail(fmt::format("--ignore-bits {} leaves nothing of --bits {}: give fewer", *ignoreBits,
                         *signal.bits));
    }
    if (blockBits * signal.samplesPerBit > (1 << 24)) {
        fail(fmt::format(
            "--block-bits {} at {} samples per bit makes blocks of more than 16 million samples: "
            "give fewer",
            blockBits, signal.samplesPerBit));
    }
}

}  // namespace amisim
