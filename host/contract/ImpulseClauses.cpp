#include <algorithm>
#include <bit>
#include <cstring>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

bool Untouched(const Instance& instance)
{
    const auto& before = instance.ImpulseBefore();
    return std::memcmp(instance.Impulse().data(), before.data(), before.size() * sizeof(double)) ==
           0;
}

/// AMI_Init with a matrix of this size, and some bits through AMI_GetWave.
void TryMatrix(Bench& bench, long rows, long aggressors)
{
    bench.SetCircumstance(fmt::format("with {} rows and {} aggressors", rows, aggressors));
    Start start = Defaults(bench);
    start.rows = rows;
    start.aggressors = aggressors;
    Instance instance(bench, start);
    instance.Init();
    const std::size_t at = FirstNotFinite(instance.Impulse());
    Require(at == instance.Impulse().size(), "AMI_Init", "left {} in the impulse matrix, at {}{}",
            instance.Impulse()[std::min(at, instance.Impulse().size() - 1)], at, After(bench));
    if (bench.GetTask().HasGetWave()) {
        const auto recording = Record(instance, MakeWave(bench, 20, start.samplesPerBit), {2000});
        Require(FirstNotFinite(recording.output) == recording.output.size(), "AMI_GetWave",
                "returned values that are not finite{}", After(bench));
    }
    instance.Close();
}

}  // namespace

Verdict ImpulseUntouched(Bench& bench)
{
    if (bench.GetTask().initReturnsImpulse != "False")
        return NotApplicable("the .ami does not say Init_Returns_Impulse False");
    for (const long aggressors : {0, 1}) {
        Start start = Defaults(bench);
        start.aggressors = aggressors;
        Instance instance(bench, start);
        instance.Init();
        Require(Untouched(instance), "AMI_Init",
                "changed the impulse matrix, although the .ami says Init_Returns_Impulse False");
        instance.Close();
    }
    return Passed();
}

Verdict ImpulseConvolved(Bench& bench)
{
    const Task& task = bench.GetTask();
    if (!task.ReturnsImpulse())
        return NotApplicable("the .ami does not say Init_Returns_Impulse True");
    // Some settings may switch the equaliser off; not all can.
    std::vector<std::string> settings = {task.parameters};
    for (const auto& trial : task.rangeEnds.list)
        settings.push_back(trial.edit.ApplyTo(task.parameters));
    bool changed = false;
    for (const auto& parameters : settings) {
        Start start = Defaults(bench);
        start.parameters = parameters;
        Instance instance(bench, start);
        instance.Init();
        Require(FirstNotFinite(instance.Impulse()) == instance.Impulse().size(), "AMI_Init",
                "returned an impulse response that is not finite");
        changed = changed || !Untouched(instance);
        instance.Close();
        if (changed || !bench.TimeLeft()) break;
    }
    Require(changed, "AMI_Init",
            "left the impulse matrix as it was in {} settings, although the .ami says "
            "Init_Returns_Impulse True",
            settings.size());
    return Passed();
}

Verdict GuardImpulse(Bench& bench)
{
    for (const long rows : {1, 5, 64, 513}) {
        for (const long aggressors : {0, 1}) {
            bench.SetCircumstance(fmt::format("with {} rows and {} aggressors", rows, aggressors));
            Start start = Defaults(bench);
            start.rows = rows;
            start.aggressors = aggressors;
            Instance instance(bench, start);
            instance.TryInit();
            instance.Close();
            const std::string damage = instance.ImpulseGuard().Damage();
            Require(damage.empty(), "AMI_Init", "{}{}", damage, After(bench));
        }
    }
    return Passed();
}

Verdict RowSizes(Bench& bench)
{
    for (const long rows : {1, 2, 3, 7, 64, 1000, 4097}) TryMatrix(bench, rows, 0);
    return Passed();
}

Verdict Aggressors(Bench& bench)
{
    const std::int64_t most = bench.GetTask().maxInitAggressors;
    const long last = most < 0 ? 3 : static_cast<long>(std::min<std::int64_t>(most, 3));
    for (long aggressors = 0; aggressors <= last; ++aggressors) TryMatrix(bench, 512, aggressors);
    return Passed(fmt::format("0 to {}", last));
}

Verdict SurplusAggressors(Bench& bench)
{
    const std::int64_t most = bench.GetTask().maxInitAggressors;
    if (most < 0 || most >= 3) return NotApplicable("the .ami does not limit them below 3");
    for (auto aggressors = static_cast<long>(most) + 1; aggressors <= 3; ++aggressors)
        TryMatrix(bench, 512, aggressors);
    return Passed(fmt::format("{} to 3", most + 1));
}

}  // namespace amisim::contract
