#include <algorithm>
#include <array>
#include <set>

#include "base/NearestName.hpp"
#include "ibis/CircuitFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Companions.hpp"
#include "ibis/records/Interconnect.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Interconnect Model Set] with its models and terminals.
namespace ibis {
namespace {

using enum Severity;

void SetHasModels(const InterconnectSet& set, Report& report)
{
    if (set.models.empty()) {
        report.Say(set.place, fmt::format("set '{}' has no [Interconnect Model]", set.name),
                   "add one");
    }
    std::set<std::string_view> names;
    for (const Interconnect& model : set.models) {
        if (!names.insert(model.name).second) {
            report.Say(model.place,
                       fmt::format("set '{}' has a second [Interconnect Model] '{}'", set.name,
                                   model.name),
                       "give each a name of its own");
        }
    }
}

/// Terminals that a file offers; none where it does not tell. A Touchstone file has one more for
/// the reference of its ports, but for File_TS0, whose reference is the simulator's ground.
std::optional<int> TerminalsOf(const Setting& line, const std::filesystem::path& path)
{
    if (line.known->name == "File_IBIS-ISS") {
        return line.words.size() > 2 ? SubcircuitNodes(path, line.words[2].Text()) : std::nullopt;
    }
    const auto ports = TouchstonePorts(path);
    return ports ? std::optional(*ports + (line.known->name == "File_TS" ? 1 : 0)) : std::nullopt;
}

void FileFits(const Interconnect& model, const Setting& line, const Word& name, Report& report)
{
    const auto path = report.file.Beside(name.Text());
    if (!path) {
        report.Say(HasCompanions(report.file) ? Error : Note, name.Place(),
                   fmt::format("{} of '{}' is not beside the file", name.Text(), model.name),
                   "deliver it with the file");
        return;
    }
    const auto terminals = TerminalsOf(line, *path);
    if (terminals && model.terminalCount.IsNumber() && *terminals != model.terminalCount.value) {
        report.Say(model.terminalCount.place,
                   fmt::format("Number_of_terminals of '{}' is {:g}, {} has {}", model.name,
                               model.terminalCount.value, name.Text(), *terminals),
                   "the ports of a Touchstone file and their reference count, or the nodes of the "
                   "subcircuit");
    }
}

void FilesFit(const InterconnectSet& set, Report& report)
{
    for (const Interconnect& model : set.models) {
        if (model.files.size() != 1) {
            report.Say(model.place,
                       fmt::format("[Interconnect Model] '{}' has {} of File_TS and File_IBIS-ISS",
                                   model.name, model.files.empty() ? "neither" : "more than one"),
                       "name exactly one file");
            continue;
        }
        for (const Word& name : FilesNamed(*model.section, model.files[0]->First())) {
            FileFits(model, *model.files[0], name, report);
        }
    }
}

struct TypeRow
{
    std::string_view name;
    std::vector<std::string_view> qualifiers;  ///< empty: takes none
};

const std::vector<TypeRow>& TerminalTypes()
{
    static const std::vector<TypeRow> types{
        {"Pin_I/O", {"pin_name"}},
        {"Pad_I/O", {"pin_name"}},
        {"Buffer_I/O", {"pin_name"}},
        {"Pin_Rail", {"pin_name", "signal_name", "bus_label"}},
        {"Pad_Rail", {"pad_name", "signal_name", "bus_label"}},
        {"Buffer_Rail", {"signal_name", "bus_label"}},
        {"Pullup_ref", {"pin_name"}},
        {"Pulldown_ref", {"pin_name"}},
        {"Power_clamp_ref", {"pin_name"}},
        {"Gnd_clamp_ref", {"pin_name"}},
        {"Ext_ref", {"pin_name"}},
        {"A_gnd", {}},
    };
    return types;
}

/// What is wrong with type and qualifier of a terminal, or "".
std::string FaultOfType(const Terminal& terminal)
{
    const auto& types = TerminalTypes();
    const auto type = std::find_if(types.begin(), types.end(), [&](const TypeRow& row) {
        return row.name == terminal.type.Text();
    });
    if (type == types.end()) {
        std::vector<std::string> names;
        names.reserve(types.size());
        for (const TypeRow& row : types) {
            names.emplace_back(row.name);
        }
        const std::string nearest = NearestName(terminal.type.Text(), names);
        return fmt::format("is of type '{}'{}", terminal.type.Text(),
                           nearest.empty() ? "" : fmt::format("; did you mean {}?", nearest));
    }
    const auto& known = type->qualifiers;
    const std::string_view written = terminal.qualifier.Text();
    if (!known.empty() && written != "default" &&
        std::find(known.begin(), known.end(), written) == known.end()) {
        return fmt::format("is a {} of '{}'", type->name, written);
    }
    return !known.empty() && written != "default" && !terminal.entry
               ? fmt::format("names no {}", written)
               : "";
}

void TerminalsAreWellFormed(const Interconnect& model, Report& report)
{
    const double count = model.terminalCount.value;
    std::set<int> seen;
    for (const Terminal& terminal : model.terminals) {
        const Number number = ParseNumber(terminal.number.Text());
        const bool whole = number.kind == Number::Kind::Number &&
                           number.value == std::floor(number.value) && number.value >= 1;
        std::string fault = FaultOfType(terminal);
        if (!whole) {
            fault = "is no number from 1 on";
        } else if (number.value > count) {
            fault = fmt::format("is beyond Number_of_terminals, {:g}", count);
        } else if (!seen.insert(static_cast<int>(number.value)).second) {
            fault = "is stated again";
        }
        if (!fault.empty()) {
            report.Count(
                model.name, terminal.number.Place(),
                fmt::format("terminal {} of '{}' {}", terminal.number.Text(), model.name, fault),
                "write a number, its type, a qualifier and what that names");
        }
    }
}

void AllTerminalsAreWellFormed(const InterconnectSet& set, Report& report)
{
    for (const Interconnect& model : set.models) {
        if (!model.terminalCount.IsNumber()) {
            report.Say(
                model.place,
                fmt::format("[Interconnect Model] '{}' has no Number_of_terminals", model.name),
                "state it");
        }
        TerminalsAreWellFormed(model, report);
    }
}

void TerminalsMakeSense(const InterconnectSet& set, Report& report)
{
    for (const Interconnect& model : set.models) {
        std::set<std::array<std::string_view, 3>> seen;
        for (const Terminal& terminal : model.terminals) {
            const std::string_view type = terminal.type.Text();
            if (terminal.aggressorOnly && !type.ends_with("_I/O")) {
                report.Count(fmt::format("{}/aggressor", model.name), terminal.number.Place(),
                             fmt::format("terminal {} of '{}' is a {} and Aggressor_Only",
                                         terminal.number.Text(), model.name, type),
                             "only terminals of signals are aggressors");
            } else if (type.ends_with("_I/O") &&
                       !seen.insert({type, terminal.qualifier.Text(), terminal.entry.Text()})
                            .second) {
                report.Count(fmt::format("{}/twice", model.name), terminal.number.Place(),
                             fmt::format("'{}' has a second terminal {} {}", model.name, type,
                                         terminal.entry.Text()),
                             "connect each side of a pin once");
            }
        }
    }
}

void UnusedPortsAreOfTouchstone(const InterconnectSet& set, Report& report)
{
    for (const Interconnect& model : set.models) {
        const Setting* const unused = model.section->Find("Unused_port_termination");
        if (unused && model.files.size() == 1 && !model.IsTouchstone()) {
            report.Say(unused->Place(),
                       fmt::format("'{}' has Unused_port_termination and a subcircuit", model.name),
                       "it goes with File_TS only");
        } else if (unused && ParseNumber(unused->First().Text()).value < 0) {
            report.Say(unused->Place(),
                       fmt::format("Unused_port_termination of '{}' is {}", model.name,
                                   unused->First().Text()),
                       "write a resistance");
        }
    }
}

constexpr Check<InterconnectSet> kChecks[] = {
    {{750, Error, Since(70),
      "[Interconnect Model Set] and [Interconnect Model] are closed, a set has at least one model, "
      "and the models' names are unique",
      "A set without a model describes nothing.", "[Interconnect Model] without its end"},
     SetHasModels},
    {{751,
      Error,
      {},
      "An interconnect model has File_TS or File_IBIS-ISS, of a file that is there and has as many "
      "terminals",
      "Terminals are numbered by the file's ports or nodes. A file that is not there is noted only "
      "where nothing else that is named stands beside the file: it came alone then.",
      "Number_of_terminals = 4 of a four-port, which has five with its reference"},
     FilesFit},
    {{752,
      Error,
      {},
      "Terminals are numbered from 1 to Number_of_terminals, each once, with a type, a qualifier "
      "and a name that the component has",
      "The simulator cannot connect the file otherwise.",
      "1 Pin_IO pin_name A1"},
     AllTerminalsAreWellFormed},
    {{753,
      Warning,
      {},
      "Only signals are Aggressor_Only, and each side of a pin is connected once",
      "Two terminals at one place short-circuit the file's ports. That a group of sets has two "
      "models for a pin, or none for some pins, is a note.",
      "two lines Pin_I/O pin_name A1"},
     TerminalsMakeSense},
    {{754,
      Error,
      {},
      "Unused_port_termination goes with File_TS and is not negative",
      "A subcircuit has no ports to terminate.",
      "Unused_port_termination beside File_IBIS-ISS"},
     UnusedPortsAreOfTouchstone},
};

}  // namespace

const RuleSet& InterconnectRules()
{
    static const RuleSet set =
        MakeRuleSetOf<&IbisFile::interconnectSets, kChecks, ReadInterconnectSet>();
    return set;
}

}  // namespace ibis
