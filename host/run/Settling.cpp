#include "host/run/Settling.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/Text.hpp"

namespace amisim {
namespace {

constexpr double kSettledPart = 0.1;  // of the run, at least

/// Bits that are counted though they come before that; 0 for a run that has not locked.
std::int64_t CountedBefore(Lock lock, const Settling& settling, std::int64_t ignoredBits)
{
    const double from = settling.From();
    if (lock != Lock::kLocked || std::isnan(from)) return 0;
    return std::max<std::int64_t>(0, std::llround(from) - ignoredBits);
}

}  // namespace

double Settling::From() const
{
    return std::fmax(std::fmax(clock, eye), adaptation);
}

Settling SettlingOf(const ClockFindings& clock, const std::optional<EyeFindings>& eye,
                    const std::vector<ParameterTrack>& given, const std::optional<AdaptLog>& log,
                    std::int64_t bits)
{
    Settling settling;
    settling.clock = clock.settledAtBit;
    if (eye) settling.eye = eye->settledAtBit;
    for (const ParameterTrack& track : given) {
        const auto last = static_cast<double>(track.bit.back());
        if (track.value.size() > 1 && last <= (1 - kSettledPart) * static_cast<double>(bits))
            settling.adaptation = std::fmax(settling.adaptation, last);
    }
    if (log && !log->finished) settling.adaptation = static_cast<double>(bits);
    return settling;
}

std::string StateOf(Lock lock, const Settling& settling, std::int64_t ignoredBits)
{
    if (CountedBefore(lock, settling, ignoredBits) == 0) return Name(lock);
    return fmt::format("adapting until bit {}", Grouped(std::llround(settling.From())));
}

std::string RemarkOf(Lock lock, const Settling& settling, std::int64_t ignoredBits,
                     std::int64_t bits)
{
    const std::int64_t before = CountedBefore(lock, settling, ignoredBits);
    if (before == 0) return "";
    const double from = settling.From();
    if (from >= static_cast<double>(bits)) {
        return fmt::format(
            "still adapting when the run ended: all of the {} bits that are counted are of before "
            "(more --bits)",
            Grouped(bits - ignoredBits));
    }
    const char* const what = from == settling.clock ? "its clock"
                             : from == settling.eye ? "its eye"
                                                    : "its parameters";
    return fmt::format(
        "adapting until bit {} ({}): {} of the {} bits that are counted are of before "
        "(--ignore-bits {})",
        Grouped(std::llround(from)), what, Grouped(before), Grouped(bits - ignoredBits),
        std::llround(from));
}

}  // namespace amisim
