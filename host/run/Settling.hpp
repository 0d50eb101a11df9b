#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/analysis/Findings.hpp"
#include "host/analysis/Verdict.hpp"
#include "host/known/AdaptLog.hpp"
#include "host/process/ParameterLog.hpp"

namespace amisim {

/// From which bit on a run that has locked may be counted, by each of those that can tell; NaN
/// where one of them tells nothing.
struct Settling
{
    double clock = kUnknown;       // as ClockFindings::settledAtBit
    double eye = kUnknown;         // as EyeFindings::settledAtBit
    double adaptation = kUnknown;  // the last change of what the model gave back or logged

    /// The latest of them.
    double From() const;
};

/// A number that the model gave back and that has stayed the same for the last tenth of the run was
/// adapted until then; one that still changes is a measurement and tells nothing.
/// @param bits  of the run; a log that has no end yet makes the adaptation last until there
Settling SettlingOf(const ClockFindings& clock, const std::optional<EyeFindings>& eye,
                    const std::vector<ParameterTrack>& given, const std::optional<AdaptLog>& log,
                    std::int64_t bits);

/// "locked", "adapting until bit 12,345" or whatever else the lock is: the state of a run of which
/// the bits from `ignoredBits` on are counted.
std::string StateOf(Lock lock, const Settling& settling, std::int64_t ignoredBits);

/// Of a run that counts bits of before: how many, and the remedy. "" for all others.
std::string RemarkOf(Lock lock, const Settling& settling, std::int64_t ignoredBits,
                     std::int64_t bits);

}  // namespace amisim
