#include "ibis/rules/CheckFile.hpp"

#include "ibis/rules/RuleSets.hpp"

namespace ibis {
namespace {

constexpr const RuleSet& (*kSets[])() = {
    HeaderRules,         ComponentRules, PackageRules,      PinTableRules,
    PairRules,           ReferenceRules, SelectorRules,     ModelRules,
    ModelValueRules,     ModelTypeRules, SeriesRules,       CurveRules,
    IvTableRules,        BufferRules,    RampRules,         WaveformRules,
    WaveformShapeRules,  SpecRules,      SubmodelRules,     ScheduleRules,
    ExternalRules,       TestDataRules,  PackageModelRules, PackageMatrixRules,
    PackagePhysicsRules, BoardRules,     InterconnectRules, InterconnectGroupRules,
    ModuleRules,         LibraryRules,   AlgorithmicRules,
};

}  // namespace

void CheckFile(const IbisFile& file, Findings& findings)
{
    for (const auto& set : kSets) {
        set().run(file, findings);
    }
}

std::vector<const Rule*> RecordRules()
{
    std::vector<const Rule*> all;
    for (const auto& set : kSets) {
        all.insert(all.end(), set().rules.begin(), set().rules.end());
    }
    return all;
}

}  // namespace ibis
