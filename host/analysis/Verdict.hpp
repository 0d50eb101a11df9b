#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "host/analysis/EyeAnalysis.hpp"
#include "host/analysis/Findings.hpp"

namespace amisim {

/// Whether the numbers of a run tell anything of the receiver's eye.
enum class Lock {
    kLocked,
    kNotLocked,  // the clock does not follow the signal, or sits where it crosses 0 V
    kNoClock,    // bits that count have no clock edge: of the model, that is
    kNoSignal    // the output never crosses 0 V
};
/// "locked", "not locked", "no clock" or "no signal".
const char* Name(Lock lock);

struct Verdict
{
    Lock lock = Lock::kNoClock;
    std::string reason;  // a sentence; "" where it is locked
};

/// @param bits  that count
/// @param sentUnitInterval  s; nothing where it is only known of a measured waveform by name
Verdict Judge(const EyeAnalysis& output, const std::optional<EyeFindings>& eye,
              const ClockFindings& clock, const std::optional<BitComparison>& comparison,
              std::int64_t bits, std::optional<double> sentUnitInterval);

}  // namespace amisim
