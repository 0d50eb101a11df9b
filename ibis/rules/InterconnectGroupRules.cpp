#include <map>
#include <set>

#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Interconnect.hpp"
#include "ibis/rules/RuleSets.hpp"

/// The sets of interconnect models that a component's groups name, held against its pins. The rules
/// themselves are those of the sets.
namespace ibis {
namespace {

using enum Severity;

/// What a component has of each kind that a terminal's qualifier may name.
using Names = std::map<std::string_view, std::set<std::string_view>>;

/// A component without [Bus Label] has a label for each signal of its supplies, and one without
/// [Die Supply Pads] a pad for each pin.
Names NamesOf(const Component& component)
{
    Names names{{"pin_name", {}}, {"signal_name", {}}, {"bus_label", {}}, {"pad_name", {}}};
    for (const Pin& pin : component.pins) {
        names["pin_name"].insert(pin.name.Text());
        names["pad_name"].insert(pin.name.Text());
        names["signal_name"].insert(pin.signal.Text());
        names["bus_label"].insert(pin.signal.Text());
    }
    const auto add = [&](Key key, std::string_view qualifier, size_t from, size_t to) {
        for (const auto row : component.section->RowsOf(key)) {
            for (size_t column = from; column < std::min(to, row.size()); ++column) {
                names[qualifier].insert(row[column].Text());
            }
        }
    };
    add(Key::PinMapping, "bus_label", 1, 6);
    add(Key::BusLabel, "bus_label", 0, 1);
    add(Key::DieSupplyPads, "pad_name", 0, 1);
    add(Key::DieSupplyPads, "bus_label", 2, 3);
    return names;
}

void EntriesAreKnown(const Component& component, const Names& names, const InterconnectSet& set,
                     const Word& row, Report& report)
{
    for (const Interconnect& model : set.models) {
        for (const Terminal& terminal : model.terminals) {
            const auto known = names.find(terminal.qualifier.Text());
            if (known == names.end() || !terminal.entry ||
                known->second.contains(terminal.entry.Text())) {
                continue;
            }
            const std::string_view kind = known->first;
            report.Count(kind == "bus_label" || kind == "pad_name" ? Warning : Error,
                         fmt::format("{}/{}", row.Line(), kind), row.Place(),
                         fmt::format("set '{}' has a terminal at {} {}, which '{}' has not",
                                     set.name, kind, terminal.entry.Text(), component.name),
                         "name the set of this component");
        }
    }
}

/// The models of a group that connect each pin at one side, those that only disturb it left out.
using Connections = std::map<std::string_view, std::vector<const Interconnect*>>;

Connections ConnectionsAt(std::string_view side, const std::vector<InterconnectSet>& sets)
{
    Connections connections;
    for (const InterconnectSet& set : sets) {
        for (const Interconnect& model : set.models) {
            for (const Terminal& terminal : model.terminals) {
                if (terminal.type == side && terminal.qualifier == "pin_name" &&
                    !terminal.aggressorOnly) {
                    connections[terminal.entry.Text()].push_back(&model);
                }
            }
        }
    }
    return connections;
}

void SidesAreConnectedOnce(const Component& component, const Section& group,
                           const std::vector<InterconnectSet>& sets, Report& report)
{
    for (const char* const side : {"Pin_I/O", "Buffer_I/O"}) {
        const Connections connections = ConnectionsAt(side, sets);
        const std::string key = fmt::format("{}/{}", group.place.line, side);
        for (const Pin& pin : component.pins) {
            const auto found = connections.find(pin.name.Text());
            if (found == connections.end() && !connections.empty() &&
                !IsReservedModelName(pin.model.Text())) {
                report.Count(Note, key, group.place,
                             fmt::format("group '{}' has a {} for other pins of '{}', but none "
                                         "for pin {}",
                                         group.argument, side, component.name, pin.name.Text()),
                             "add the pin's connection, or its package is left out");
            } else if (found != connections.end() &&
                       found->second.front() != found->second.back()) {
                report.Count(Note, key + "/twice", group.place,
                             fmt::format("group '{}' has the {} of pin {} in '{}' and in '{}'",
                                         group.argument, side, pin.name.Text(),
                                         found->second.front()->name, found->second.back()->name),
                             "mark all but one of them Aggressor_Only");
            }
        }
    }
}

void TryOnComponent(const Component& component, const IbisFile& file, Findings& findings)
{
    const auto groups = component.section->Children(Key::InterconnectModelGroup);
    const Names names = groups.empty() ? Names{} : NamesOf(component);
    Report terminals(RuleOf(752), file, findings), coverage(RuleOf(753), file, findings);
    for (const Section* const group : groups) {
        std::vector<InterconnectSet> sets;
        for (const auto row : group->rows) {
            if (auto set = FindSet(file, row)) {
                EntriesAreKnown(component, names, *set, row[0], terminals);
                sets.push_back(std::move(*set));
            }
        }
        SidesAreConnectedOnce(component, *group, sets, coverage);
    }
}

}  // namespace

const RuleSet& InterconnectGroupRules()
{
    static const RuleSet set = MakeRuleSet([](const IbisFile& file, Findings& findings) {
        for (const Component& component : file.components) {
            TryOnComponent(component, file, findings);
        }
    });
    return set;
}

}  // namespace ibis
