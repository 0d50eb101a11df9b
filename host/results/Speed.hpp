#pragma once

#include "host/run/RunResult.hpp"

namespace amisim {

/// How fast a run was; 0 where there is nothing to divide by.
struct Speed
{
    Speed(const RunResult& r, int samplesPerBit)
    {
        const double samples = static_cast<double>(r.bits) * samplesPerBit;
        if (r.seconds > 0) bitsASecond = static_cast<double>(r.bits) / r.seconds;
        if (samples <= 0) return;
        nanosecondsASample = r.seconds * 1e9 / samples;
        modelNanosecondsASample = r.modelSeconds * 1e9 / samples;
    }
    double bitsASecond = 0, nanosecondsASample = 0, modelNanosecondsASample = 0;
};

}  // namespace amisim
