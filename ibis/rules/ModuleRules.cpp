#include <filesystem>
#include <set>

#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Interconnect.hpp"
#include "ibis/records/Module.hpp"
#include "ibis/rules/PartCheck.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Begin EMD]: modules with their parts, pins and groups of sets.
namespace ibis {
namespace {

using enum Severity;

void PinsAreCounted(const Module& module, Report& report)
{
    const Section* const count = module.section->Child(Key::NumberOfEmdPins);
    const Section* const pins = module.section->Child(Key::EmdPinList);
    for (const auto& [section, key] :
         {std::pair(count, Key::NumberOfEmdPins), std::pair(pins, Key::EmdPinList)}) {
        if (!section) {
            report.Say(
                module.place,
                fmt::format("[Begin EMD] '{}' has no [{}]", module.name, KeywordOf(key).name),
                "add it");
        }
    }
    if (count && pins && ValueOf(count->argument) != static_cast<double>(pins->rows.size())) {
        report.Say(count->place,
                   fmt::format("[Number Of EMD Pins] of '{}' is {}, [EMD Pin List] has {}",
                               module.name, count->argument, pins->rows.size()),
                   "write the number of rows");
    }
}

void DesignatorsResolve(const Module& module, Report& report)
{
    std::vector<std::vector<Word>> pins(module.parts.size());
    for (const Module::Designator& designator : module.designators) {
        const auto part = module.partsByName.find(designator.part.Text());
        if (part != module.partsByName.end()) {
            auto& of = pins[part->second];
            of.insert(of.end(), designator.pins.begin(), designator.pins.end());
        } else if (!module.parts.empty() && designator.part) {
            report.Count(module.name, designator.part.Place(),
                         fmt::format("{} is of the part '{}', which is not in [EMD Parts]",
                                     designator.name.Text(), designator.part.Text()),
                         "add it there");
        }
    }
    for (size_t i = 0; i < module.parts.size(); ++i) {
        CheckPart(module.parts[i], pins[i], Note, report);
    }
    for (const Word& pin : module.strayPins) {
        report.Count(fmt::format("{}/pins", module.name), pin.Place(),
                     fmt::format("{} is of no designator in [EMD Designator List]", pin.Text()),
                     "add it there, and write pins as U1.4");
    }
}

void VoltagesAreOfSignals(const Module& module, Report& report)
{
    for (const auto row : module.section->RowsOf(Key::VoltageList)) {
        const bool known = module.signals.contains(row[0].Text());
        if (!known || row.size() < 2 || std::isnan(ValueOf(row[1].Text()))) {
            report.Count(fmt::format("{}/volts", module.name), row[0].Place(),
                         fmt::format("[Voltage List] of '{}' has {} for {}", module.name,
                                     known ? "no voltage" : "a voltage", row[0].Text()),
                         known ? "write its typical voltage behind it"
                               : "name a signal of the module's pins");
        }
    }
}

void GroupsNameSets(const Module& module, Report& report)
{
    for (const Section* const group : module.section->Children(Key::EmdGroup)) {
        for (const auto row : group->rows) {
            if (!FindSet(report.file, row)) {
                report.Say(
                    row[0].Place(),
                    fmt::format("[EMD Group] '{}' names the set '{}', which is not in {}",
                                group->argument, row[0].Text(),
                                row.size() < 2 || row[1] == "NA" ? "this file" : row[1].Text()),
                    "name an [EMD Set], and the file that it is in or NA");
            }
        }
    }
}

/// A module by its file and name: the same file may be reached by several ways.
using ModuleKey = std::pair<std::filesystem::path, std::string>;

ModuleKey KeyOf(const IbisFile& file, std::string_view name)
{
    std::error_code error;
    return {std::filesystem::weakly_canonical(file.document.path, error), std::string(name)};
}

/// Whether the parts of a part, and theirs, come back to the module.
bool LeadsTo(const ModuleKey& wanted, const Part& part, const IbisFile& own,
             std::set<ModuleKey>& seen)
{
    const IbisFile* const file = FileOf(part, own);
    const ModuleKey key = file ? KeyOf(*file, part.component) : ModuleKey{};
    if (!file || key == wanted || !seen.insert(key).second) {
        return file && key == wanted;
    }
    for (const Section* const section : file->emds) {
        for (const Part& next : ReadModule(*section).parts) {
            if (section->argument == part.component && LeadsTo(wanted, next, *file, seen)) {
                return true;
            }
        }
    }
    return false;
}

void HoldsNotItself(const Module& module, Report& report)
{
    const ModuleKey own = KeyOf(report.file, module.name);
    for (const Part& part : module.parts) {
        std::set<ModuleKey> seen;
        if (LeadsTo(own, part, report.file, seen)) {
            report.Say(part.name.Place(),
                       fmt::format("the part {} of '{}' leads back to '{}'", part.name.Text(),
                                   module.name, module.name),
                       "a module cannot be a part of itself");
        }
    }
}

void ModuleIsComplete(const Module& module, Report& report)
{
    PinsAreCounted(module, report);
    DesignatorsResolve(module, report);
    VoltagesAreOfSignals(module, report);
    GroupsNameSets(module, report);
    HoldsNotItself(module, report);
}

void TerminalsAreAtPins(const Module& module, Report& report)
{
    for (const Section* const group : module.section->Children(Key::EmdGroup)) {
        for (const auto row : group->rows) {
            const auto set = FindSet(report.file, row);
            for (const Interconnect& model : set ? set->models : std::vector<Interconnect>{}) {
                for (const Terminal& terminal : model.terminals) {
                    if (terminal.qualifier == "pin_name" &&
                        !module.pins.contains(terminal.entry.Text())) {
                        report.Count(fmt::format("set/{}", row[0].Line()), row[0].Place(),
                                     fmt::format("set '{}' has a terminal at pin {}, which is in "
                                                 "neither [EMD Pin List] nor [Designator Pin List] "
                                                 "of '{}'",
                                                 set->name, terminal.entry.Text(), module.name),
                                     "name pins of the module, or of its parts such as U1.4");
                    }
                }
            }
        }
    }
}

constexpr Check<Module> kChecks[] = {
    {{760, Note, Since(71),
      "A module, its lists, groups and sets are closed; its pins are counted, its designators are "
      "of known parts with these pins, its voltages of its signals, and no module holds itself",
      "Nets end at pins of parts that nobody knows otherwise.", "[Begin EMD] without [End EMD]"},
     ModuleIsComplete},
    {{761, Note, Since(71),
      "The terminals of a module's sets are at pins of the module or of its parts",
      "Others connect nothing.", "1 Pin_I/O pin_name U7.4 of a module without U7"},
     TerminalsAreAtPins},
};

}  // namespace

const RuleSet& ModuleRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::emds, kChecks, ReadModule>();
    return set;
}

}  // namespace ibis
