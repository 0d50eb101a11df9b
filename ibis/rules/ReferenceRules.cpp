#include <algorithm>
#include <set>

#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Neighbours.hpp"
#include "ibis/rules/RuleSets.hpp"

/// What a component refers to by name: package models, interconnect sets, circuits.
namespace ibis {
namespace {

using enum Severity;

void PackageModelIsDefined(const Component& component, Report& report)
{
    const Section* const named = component.section->Child(Key::PackageModel);
    if (named && !named->argument.empty() && !FindPackageModel(report.file, named->argument)) {
        report.Say(named->place,
                   fmt::format(
                       "[Package Model] of '{}' names '{}', which is defined neither here nor in a "
                       ".pkg file beside this one",
                       component.name, named->argument),
                   "deliver the .pkg file with this one");
    }
}

void AlternatePackagesFit(const Component& component, Report& report)
{
    const Section* const section = component.section->Child(Key::AlternatePackageModels);
    if (!section) {
        return;
    }
    if (!component.section->Child(Key::PackageModel)) {
        report.Say(section->place,
                   fmt::format("[Alternate Package Models] of '{}' stands without [Package Model]",
                               component.name),
                   "name the first of them in [Package Model]");
    }
    std::set<std::string_view> seen;
    for (const auto row : section->rows) {
        const Word& name = row[0];
        if (!seen.insert(name.Text()).second) {
            report.Say(name.Place(),
                       fmt::format("[Alternate Package Models] of '{}' has {} twice",
                                   component.name, name.Text()),
                       "name each once");
        }
    }
}

/// A set may stand in a file of its own, which the second word then names.
void InterconnectSetsExist(const Component& component, Report& report)
{
    for (const Section* group : component.section->Children(Key::InterconnectModelGroup)) {
        for (const auto row : group->rows) {
            const bool here = row.size() < 2 || row[1] == "NA";
            if (here && !report.file.Find(Key::InterconnectModelSet, row[0].Text())) {
                report.Say(row[0].Place(),
                           fmt::format("[Interconnect Model Group] '{}' names the set '{}', which "
                                       "is not in this file",
                                       group->argument, row[0].Text()),
                           "name the file that holds it, or define it");
            }
        }
    }
}

void CircuitCallsFit(const Component& component, Report& report)
{
    for (const Section* call : component.section->Children(Key::CircuitCall)) {
        if (!report.file.Find(Key::ExternalCircuit, call->argument)) {
            report.Say(
                call->place,
                fmt::format("[Circuit Call] of '{}' names the circuit '{}', which is not defined",
                            component.name, call->argument),
                "define it as [External Circuit]");
        }
        const Word pin = call->WordOf("Signal_pin");
        const Pin* const found = component.FindPin(pin.Text());
        if (pin && (!found || found->model != "CIRCUITCALL")) {
            report.Say(
                pin.Place(),
                fmt::format("[Circuit Call] of '{}' names pin {}, {}", component.name, pin.Text(),
                            found ? "whose model is not CIRCUITCALL" : "which is not in [Pin]"),
                "give the pin the model CIRCUITCALL");
        }
    }
}

constexpr Check<Component> kChecks[] = {
    {{240, Error, Since(20), "A [Package Model] is defined in the file or in a .pkg file beside it",
      "The package is left out otherwise.", "[Package Model] QFP64 without the .pkg file"},
     PackageModelIsDefined},
    {{241, Error, Since(40),
      "[Alternate Package Models] is closed, stands beside [Package Model] and repeats nothing",
      "It offers other packages than the first one.", "[Alternate Package Models] without its end"},
     AlternatePackagesFit},
    {{242, Error, Since(70), "[Interconnect Model Group] is closed and names sets that there are",
      "The package is described nowhere otherwise.", "SET1 NA where this file has no SET1"},
     InterconnectSetsExist},
    {{243, Error, Since(41),
      "[Node Declarations] and [Circuit Call] are closed; circuits are defined and pins of "
      "CIRCUITCALL",
      "The pin has no buffer otherwise.", "[Circuit Call] of a circuit that is not defined"},
     CircuitCallsFit},
};

}  // namespace

const RuleSet& ReferenceRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::components, kChecks>();
    return set;
}

}  // namespace ibis
