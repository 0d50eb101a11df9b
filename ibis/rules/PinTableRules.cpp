#include <algorithm>
#include <map>
#include <set>

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/PinTables.hpp"
#include "ibis/rules/RuleSets.hpp"

/// The tables of a component that refer to its pins: mapping, series elements, repeaters, clocks.
namespace ibis {
namespace {

using enum Severity;

void MappingNamesEachPinOnce(const Component& component, Report& report)
{
    std::set<std::string_view> seen;
    for (const auto row : component.section->RowsOf(Key::PinMapping)) {
        if (IsPin(component, row[0], "Pin Mapping", report) && !seen.insert(row[0].Text()).second) {
            report.Say(row[0].Place(),
                       fmt::format("pin {} of '{}' stands in [Pin Mapping] twice", row[0].Text(),
                                   component.name),
                       "give each pin one row");
        }
    }
    const Section* const section = component.section->Child(Key::PinMapping);
    if (!section) {
        return;
    }
    for (const Pin& pin : component.pins) {
        if (!seen.contains(pin.name.Text()) && pin.model != "NC") {
            report.Count(fmt::format("{}/missing", component.place.line), section->place,
                         fmt::format("pin {} of '{}' is not in [Pin Mapping]", pin.name.Text(),
                                     component.name),
                         "give each pin a row, NC where it has no supply");
        }
    }
}

/// Labels that POWER and GND pins, [Bus Label] and [Die Supply Pads] bring to the component.
std::set<std::string_view> SuppliedLabels(const Component& component)
{
    std::set<std::string_view> labels;
    for (const auto row : component.section->RowsOf(Key::PinMapping)) {
        const Pin* const pin = component.FindPin(row[0].Text());
        if (pin && (pin->model == "POWER" || pin->model == "GND")) {
            for (const Word& word : row.subspan(1)) {
                labels.insert(word.Text());
            }
        }
    }
    for (const Key key : {Key::BusLabel, Key::DieSupplyPads}) {
        for (const auto row : component.section->RowsOf(key)) {
            for (const Word& word : row) {
                labels.insert(word.Text());
            }
        }
    }
    return labels;
}

void LabelsAreSupplied(const Component& component, Report& report)
{
    const std::set<std::string_view> supplied = SuppliedLabels(component);
    for (const auto row : component.section->RowsOf(Key::PinMapping)) {
        const Pin* const pin = component.FindPin(row[0].Text());
        if (!pin || pin->model == "POWER" || pin->model == "GND") {
            continue;
        }
        for (const Word& label : row.subspan(1)) {
            if (label != "NC" && !supplied.contains(label.Text())) {
                report.Count(
                    fmt::format("{}/{}", component.place.line, label.Text()), label.Place(),
                    fmt::format(
                        "bus label {} of pin {} is connected to no POWER or GND pin of '{}'",
                        label.Text(), row[0].Text(), component.name),
                    "give the label to a supply pin, or correct its spelling");
            }
        }
    }
}

/// Column 1 of a supply pin's row is for grounds, column 2 for supplies.
void SupplyColumnsFit(const Component& component, Report& report)
{
    for (const auto row : component.section->RowsOf(Key::PinMapping)) {
        const Pin* const pin = component.FindPin(row[0].Text());
        if (!pin || row.size() < 3) {
            continue;
        }
        const bool ground = pin->model == "GND" && row[1] == "NC" && row[2] != "NC";
        const bool power = pin->model == "POWER" && row[2] == "NC" && row[1] != "NC";
        if (ground || power) {
            report.Count(
                std::to_string(component.place.line), row[0].Place(),
                fmt::format("{} pin {} of '{}' has its label in the column of {}",
                            pin->model.Text(), row[0].Text(), component.name,
                            ground ? "pullup_ref" : "pulldown_ref"),
                ground ? "write grounds under pulldown_ref" : "write supplies under pullup_ref");
        }
    }
}

void LabelsAreShort(const Component& component, Report& report)
{
    const size_t most = report.file.GetVersion() >= 70 ? 40 : 15;
    for (const auto row : component.section->RowsOf(Key::PinMapping)) {
        for (const Word& label : row.subspan(1)) {
            if (label.Text().size() > most) {
                report.Count(std::to_string(component.place.line), label.Place(),
                             fmt::format("bus label {} of '{}' has {} characters, {} are allowed",
                                         label.Text(), component.name, label.Text().size(), most),
                             "choose a shorter label");
            }
        }
    }
}

void SupplyTablesFit(const Component& component, Report& report)
{
    std::set<std::string_view> signals;
    for (const Pin& pin : component.pins) {
        if (pin.model == "POWER" || pin.model == "GND") {
            signals.insert(pin.signal.Text());
        }
    }
    for (const Key key : {Key::BusLabel, Key::DieSupplyPads}) {
        std::set<std::string_view> seen;
        for (const auto row : component.section->RowsOf(key)) {
            const std::string_view table = KeywordOf(key).name;
            if (!seen.insert(row[0].Text()).second) {
                report.Say(
                    row[0].Place(),
                    fmt::format("[{}] of '{}' has {} twice", table, component.name, row[0].Text()),
                    "give each name one row");
            } else if (row.size() > 1 && !signals.contains(row[1].Text())) {
                report.Count(
                    fmt::format("{}/{}", component.place.line, table), row[1].Place(),
                    fmt::format("[{}] of '{}' names the signal {}, which no POWER or GND pin has",
                                table, component.name, row[1].Text()),
                    "name the signal of a supply pin");
            }
        }
    }
}

void SeriesPinsFit(const Component& component, Report& report)
{
    for (const auto row : component.section->RowsOf(Key::SeriesPinMapping)) {
        if (row.size() < 3 || !IsPin(component, row[0], "Series Pin Mapping", report) ||
            !IsPin(component, row[1], "Series Pin Mapping", report)) {
            continue;
        }
        const Model* const model = report.file.FindModel(row[2].Text());
        const bool isSeries =
            model && (model->type == ModelType::Series || model->type == ModelType::SeriesSwitch);
        if (!isSeries && !report.file.FindSelector(row[2].Text())) {
            report.Count(
                fmt::format("{}/{}", component.place.line, row[2].Text()), row[2].Place(),
                model
                    ? fmt::format("[Series Pin Mapping] of '{}' names '{}', which is of type {}",
                                  component.name, row[2].Text(), model->typeWord.Text())
                    : fmt::format("[Series Pin Mapping] of '{}' names the model '{}', which is not "
                                  "defined",
                                  component.name, row[2].Text()),
                "name a model of type Series or Series_switch");
        }
    }
}

void SeriesModelsAreNotPins(const Component& component, Report& report)
{
    for (const Pin& pin : component.pins) {
        const Model* const model = report.file.FindModel(pin.model.Text());
        if (model && (model->type == ModelType::Series || model->type == ModelType::SeriesSwitch)) {
            report.Count(
                std::to_string(component.place.line), pin.model.Place(),
                fmt::format("pin {} of '{}' has the model '{}' of type {}", pin.name.Text(),
                            component.name, model->name, model->typeWord.Text()),
                "name series models in [Series Pin Mapping]");
        }
    }
}

void SwitchGroupsFit(const Component& component, Report& report)
{
    std::set<std::string_view> groups;
    for (const auto row : component.section->RowsOf(Key::SeriesPinMapping)) {
        if (row.size() > 3) {
            groups.insert(row[3].Text());
        }
    }
    std::span<const Word> last;
    for (const auto row : component.section->RowsOf(Key::SeriesSwitchGroups)) {
        last = row;
        for (const Word& word : row) {
            if (word != "On" && word != "Off" && word != "/" && !groups.contains(word.Text())) {
                report.Count(
                    std::to_string(component.place.line), word.Place(),
                    fmt::format(
                        "[Series Switch Groups] of '{}' names the group {}, which no row of "
                        "[Series Pin Mapping] has",
                        component.name, word.Text()),
                    "name a function table group of [Series Pin Mapping]");
            }
        }
    }
    if (!last.empty() && last.back() != "/") {
        report.Say(last.back().Place(),
                   fmt::format("[Series Switch Groups] of '{}' does not end in /", component.name),
                   "end each On and Off line in /");
    }
}

void RepeaterPinsFit(const Component& component, Report& report)
{
    const auto isPositive = [&](const Word& pin) {
        return std::any_of(component.diffPins.begin(), component.diffPins.end(),
                           [&](const DiffPin& pair) { return pair.pin == pin.Text(); });
    };
    for (const auto row : component.section->RowsOf(Key::RepeaterPin)) {
        for (size_t i = 0; i < std::min<size_t>(row.size(), 2); ++i) {
            const Model* const model = ModelOf(report.file, component.FindPin(row[i].Text()));
            const bool fits = model && model->algorithmic &&
                              (i == 0 ? model->Traits().receives : model->Traits().drives);
            if (!isPositive(row[i])) {
                report.Say(row[i].Place(),
                           fmt::format("[Repeater Pin] of '{}' names pin {}, which is no "
                                       "non-inverting pin of [Diff Pin]",
                                       component.name, row[i].Text()),
                           "name the first pin of a pair");
            } else if (!fits) {
                report.Say(
                    row[i].Place(),
                    fmt::format("[Repeater Pin] of '{}' names pin {}, whose model is no {} "
                                "with an [Algorithmic Model]",
                                component.name, row[i].Text(), i == 0 ? "receiver" : "transmitter"),
                    "the receiver's pin comes first, the transmitter's second");
            }
        }
    }
}

void ClockPinsFit(const Component& component, Report& report)
{
    for (const auto row : component.section->RowsOf(Key::ClockPins)) {
        for (const Word& pin : row.first(std::min<size_t>(row.size(), 2))) {
            IsPin(component, pin, "Clock Pins", report);
        }
    }
}

constexpr Check<Component> kChecks[] = {
    {{220, Error, Since(20), "[Pin Mapping] has one row of 3, 5 or 6 columns for each pin",
      "A pin without a row has no supply.", "[Pin Mapping] without the row of pin 3"},
     MappingNamesEachPinOnce},
    {{221, Error, Since(20),
      "Each bus label that a signal pin uses is connected to a POWER or GND pin",
      "A slip in a label leaves a whole bank without supply.",
      "1 VSSS VDD where the supply pins have VSS"},
     LabelsAreSupplied},
    {{222, Warning, Since(20),
      "In [Pin Mapping] grounds stand under pulldown_ref and supplies under pullup_ref",
      "Swapped columns connect the buffers the wrong way round.", "3 NC VSS of a GND pin"},
     SupplyColumnsFit},
    {{223, Warning, Since(20), "Bus labels keep to the length that the standard allows",
      "Readers may cut off what is longer, and two labels become one.", "DECAP_V25_LDO_OUT"},
     LabelsAreShort},
    {{224, Error, Since(70),
      "[Bus Label] and [Die Supply Pads] have each name once, and signals of supply pins",
      "They tell which pads belong to which supply.",
      "[Bus Label] VDD1 VDDX where no pin has VDDX"},
     SupplyTablesFit},
    {{234, Error, Since(30),
      "[Series Pin Mapping] names pins of the component and models of type Series or Series_switch",
      "The element connects nothing otherwise.", "1 99 SW where there is no pin 99"},
     SeriesPinsFit},
    {{235, Error, Since(30), "A pin's model is not of type Series or Series_switch",
      "Such models stand between two pins, named in [Series Pin Mapping].",
      "1 DATA SW where SW is a Series_switch"},
     SeriesModelsAreNotPins},
    {{236, Error, Since(30),
      "[Series Switch Groups] names groups of [Series Pin Mapping], and its lines end in /",
      "A line without / goes on in the next.", "On 1 2"},
     SwitchGroupsFit},
    {{237, Error, Since(60),
      "[Repeater Pin] names a receiver's and a transmitter's non-inverting pin, both with "
      "[Algorithmic Model]",
      "The host joins the two by it.", "[Repeater Pin] with the columns swapped"},
     RepeaterPinsFit},
    {{239, Warning, Since(71), "[Clock Pins] names pins of the component",
      "The clock is forwarded from there.", "[Clock Pins] with a pin that is not there"},
     ClockPinsFit},
};

}  // namespace

const RuleSet& PinTableRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::components, kChecks>();
    return set;
}

}  // namespace ibis
