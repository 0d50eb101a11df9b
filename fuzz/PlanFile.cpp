// Any text as the plan of a sweep, as the one kept in the sweep's folder, and as what a model logs.

#include "base/Error.hpp"
#include "fuzz/Fuzz.hpp"
#include "host/known/AdaptLog.hpp"
#include "host/known/EomLog.hpp"
#include "host/sweep/Plan.hpp"

using namespace amisim;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const FileOf file(data, size, "plan.json");  // the name that a sweep's folder has it under
    if (const auto log = ReadAdaptLog(file.path))
        Require(log->requests >= static_cast<int>(log->measurements.size() > 0), "requests");
    for (const LoggedEye& eye : ReadEomLog(file.path, 4).eyes)
        Require(eye.hits.size() == 64 * 64, "whole eyes");
    const auto check = [](const Plan& plan) {
        for (const Setting& axis : plan.axes)
            Require(!axis.name.empty() && !axis.values.empty(), "axes with names and values");
        ToJson(plan);
    };
    ReadOrExplain<Error>(file.path, [&] { check(ReadPlanFile(file.path)); });
    ReadOrExplain<Error>(file.path, [&] {
        const Plan plan = ReadSweepFolder(file.folder);
        Require(!plan.axes.empty(), "something varies");
        check(plan);
    });
    return 0;
}
