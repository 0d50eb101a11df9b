// Any text as the plan of a sweep, and as what a model logs.

#include "fuzz/Fuzz.hpp"
#include "host/Error.hpp"
#include "host/analysis/AdaptLog.hpp"
#include "host/analysis/EomLog.hpp"
#include "host/sweep/Plan.hpp"

using namespace amisim;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FileOf file(data, size, ".toml");
    if (const auto log = ReadAdaptLog(file.path))
        Require(log->requests >= static_cast<int>(log->measurements.size() > 0), "requests");
    for (const LoggedEye& eye : ReadEomLog(file.path, 4).eyes)
        Require(eye.hits.size() == 64 * 64, "whole eyes");
    ReadOrExplain<Error>(file.path, [&] {
        const Plan plan = ReadPlanFile(file.path);
        for (const Setting& axis : plan.axes)
            Require(!axis.values.empty() && !axis.name.empty(), "axes with values");
        ToJson(plan);
    });
    return 0;
}
