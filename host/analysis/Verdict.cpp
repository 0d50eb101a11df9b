#include "host/analysis/Verdict.hpp"

#include <fmt/format.h>

#include <cmath>
#include <complex>
#include <numbers>

namespace amisim {
namespace {

constexpr double kMostMissing = 0.01;    // of the bits that count
constexpr double kMostUnaligned = 0.1;   // of the bits that count
constexpr double kMostWrong = 0.25;      // of the compared bits
constexpr double kOtherRate = 0.02;      // relative: no transmitter is so far off
constexpr double kSpread = 0.1;          // mean crossing's magnitude: of even spread but for chance
constexpr double kNearSampling = 0.125;  // UI

/// What an output's transitions cross.
const char* Crossed(const EyeAnalysis& output)
{
    return output.Crossings().size() > 1 ? "its thresholds" : "0 V";
}

std::string NeverCrossing(const EyeAnalysis& output, const VoltageHistogram& density)
{
    const auto [low, end] = OccupiedRows(density);
    const double from = density.Edge(low), to = density.Edge(end);
    const std::string where = end > low + 1 ? fmt::format("between {:.3g} and {:.3g} V", from, to)
                              : from == 0   ? "at 0 V"
                                            : fmt::format("at {:.3g} V", from);
    return fmt::format("the output never crosses {}: it stays {}", Crossed(output), where);
}

/// "" where there is nothing against it.
std::string AgainstLock(const EyeAnalysis& output, const std::optional<EyeFindings>& eye,
                        const ClockFindings& clock, const std::optional<BitComparison>& comparison,
                        std::optional<double> sentUnitInterval)
{
    if (!clock.looksLike.empty()) return "the clock times " + clock.looksLike;
    if (sentUnitInterval && std::abs(clock.unitInterval / *sentUnitInterval - 1) > kOtherRate) {
        return fmt::format("the clock runs at {:.4g} times the bit rate",
                           *sentUnitInterval / clock.unitInterval);
    }
    if (comparison) {
        const std::int64_t all = comparison->comparedSymbols + comparison->unaligned;
        if (comparison->realignments > 0) {
            return fmt::format("the clock slipped: the pattern had to be aligned anew {} time{}",
                               comparison->realignments, comparison->realignments == 1 ? "" : "s");
        }
        if (static_cast<double>(comparison->unaligned) >
            kMostUnaligned * static_cast<double>(all)) {
            return fmt::format(
                "the sent pattern was not found in {} of {} received bits, where no errors could "
                "be counted",
                comparison->unaligned, all);
        }
    }
    const std::complex<double> crossing = output.MeanCrossing().value();
    if (std::abs(crossing) < kSpread) {
        return fmt::format(
            "the output crosses {} at any phase of the clock: they have nothing to do with "
            "each other, or the eye is closed",
            Crossed(output));
    }
    const double fromSampling = 0.5 - std::abs(std::arg(crossing)) / (2 * std::numbers::pi);
    if (fromSampling < kNearSampling && !eye->sliced && eye->vertical.Height() == 0) {
        return fmt::format(
            "the output crosses {} where data are sampled: the clock rests in a wrong place, "
            "as it may without any noise or frequency offset (--noise, --ppm)",
            Crossed(output));
    }
    if (comparison && static_cast<double>(comparison->errors) >
                          kMostWrong * static_cast<double>(comparison->compared)) {
        return fmt::format("{} of {} bits are wrong, as where the clock does not follow",
                           comparison->errors, comparison->compared);
    }
    return "";
}

}  // namespace

const char* Name(Lock lock)
{
    constexpr const char* kNames[] = {"locked", "not locked", "no clock", "no signal"};
    return kNames[static_cast<int>(lock)];
}

Verdict Judge(const EyeAnalysis& output, const std::optional<EyeFindings>& eye,
              const ClockFindings& clock, const std::optional<BitComparison>& comparison,
              std::int64_t bits, std::optional<double> sentUnitInterval)
{
    if (eye && !output.MeanCrossing())
        return {Lock::kNoSignal, NeverCrossing(output, eye->density)};
    if (clock.ideal) {
        return {Lock::kNoClock,
                "the model returned no clock times: an ideal clock is used, at the transmitter's "
                "bit rate and centred on the output's eye"};
    }
    if (!eye || static_cast<double>(clock.missing) > kMostMissing * static_cast<double>(bits)) {
        return {Lock::kNoClock,
                fmt::format("{} of the {} bits that count have no clock", clock.missing, bits)};
    }
    const std::string against = AgainstLock(output, eye, clock, comparison, sentUnitInterval);
    return {against.empty() ? Lock::kLocked : Lock::kNotLocked, against};
}

}  // namespace amisim
