#include <algorithm>
#include <set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Component] as such, and its pins.
namespace ibis {
namespace {

using enum Severity;

void HasManufacturer(const Component& component, Report& report)
{
    const Section* const stated = component.section->Child(Key::Manufacturer);
    if (!stated || stated->argument.empty()) {
        report.Say(component.place,
                   fmt::format("component '{}' has no [Manufacturer]", component.name),
                   "write [Manufacturer] and a name");
    }
}

void HasPins(const Component& component, Report& report)
{
    const Section* const section = component.section->Child(Key::Pin);
    if (component.pins.empty()) {
        report.Say(section ? section->place : component.place,
                   fmt::format("component '{}' has no {}", component.name,
                               section ? "rows in [Pin]" : "[Pin]"),
                   "list the pins with signal_name and model_name");
        return;
    }
    // "[Pin] signal_name model_name R_pin L_pin C_pin" announces six columns.
    const size_t headed = section->arguments.size() >= 5 ? 6 : 3;
    for (const Pin& pin : component.pins) {
        // Three columns are fine below a heading of six: the package's values hold for that pin.
        const bool odd =
            pin.columns == 4 || (pin.columns == 6 && headed == 3 && section->arguments.size() == 2);
        if (odd) {
            report.Count("columns", pin.name.Place(),
                         fmt::format("pin {} of '{}' has {} columns, the heading of [Pin] {}",
                                     pin.name.Text(), component.name, pin.columns, headed),
                         "give 3 columns, or 6 with R_pin, L_pin and C_pin");
        }
    }
}

void PinsAreUnique(const Component& component, Report& report)
{
    for (size_t i = 1; i < component.byName.size(); ++i) {
        const Pin& before = component.pins[component.byName[i - 1]];
        const Pin& pin = component.pins[component.byName[i]];
        if (pin.name == before.name.Text()) {
            report.Say(pin.name.Place(),
                       fmt::format("pin {} of '{}' stands again; the first is in line {}",
                                   pin.name.Text(), component.name, before.name.Line()),
                       "give each pin one row");
        }
    }
}

bool IsKnownModel(const IbisFile& file, std::string_view name)
{
    return IsReservedModelName(name) || file.FindModel(name) || file.FindSelector(name);
}

/// A reserved word in another spelling, or a name that is used like one.
bool IsMeantAsReserved(std::string_view name)
{
    const std::string lower = Lowercase(name);
    for (const char* word :
         {"power", "gnd", "nc", "na", "vcc", "vdd", "vss", "ground", "circuitcall"}) {
        if (lower == word) {
            return true;
        }
    }
    return false;
}

void ReservedWordsAreInCapitals(const Component& component, Report& report)
{
    for (const Pin& pin : component.pins) {
        if (pin.model && !IsKnownModel(report.file, pin.model.Text()) &&
            IsMeantAsReserved(pin.model.Text())) {
            report.Count(fmt::format("{}/{}", component.place.line, pin.model.Text()),
                         pin.model.Place(),
                         fmt::format("pin {} of '{}' has the model '{}', which is not defined",
                                     pin.name.Text(), component.name, pin.model.Text()),
                         "write POWER, GND or NC, in capitals");
        }
    }
}

std::string NearestModel(const IbisFile& file, std::string_view name)
{
    std::vector<std::string> known{"POWER", "GND", "NC"};
    for (const Model& model : file.models) {
        if (known.size() < 1000) {
            known.emplace_back(model.name);
        }
    }
    for (const ModelSelector& selector : file.selectors) {
        if (known.size() < 1000) {
            known.emplace_back(selector.name);
        }
    }
    return NearestName(name.substr(0, 100), known);
}

void PinModelsExist(const Component& component, Report& report)
{
    std::set<std::string_view> told;
    for (const Pin& pin : component.pins) {
        const std::string_view name = pin.model.Text();
        if (name.empty() || IsKnownModel(report.file, name) || IsMeantAsReserved(name)) {
            continue;
        }
        const bool first = told.insert(name).second;
        const std::string nearest =
            first && told.size() <= 20 ? NearestModel(report.file, name) : "";
        report.Count(
            fmt::format("{}/{}", component.place.line, name), pin.model.Place(),
            fmt::format("pin {} of '{}' names the model '{}', which is neither a [Model] nor a "
                        "[Model Selector]",
                        pin.name.Text(), component.name, name),
            nearest.empty() ? "add the model, or write POWER, GND or NC"
                            : fmt::format("did you mean {}?", nearest));
    }
}

void PinParasiticsAreWhole(const Component& component, Report& report)
{
    for (const Pin& pin : component.pins) {
        int numbers = 0;
        for (const Word& word : {pin.r, pin.l, pin.c}) {
            const Number number = ParseNumber(word.Text());
            numbers += number.kind == Number::Kind::Number;
            if (word && (number.kind == Number::Kind::None || number.value < 0)) {
                report.Count(
                    fmt::format("{}/value", component.place.line), word.Place(),
                    fmt::format("pin {} of '{}' has '{}' where a number of 0 or more is due",
                                pin.name.Text(), component.name, word.Text()),
                    "write R_pin, L_pin and C_pin as numbers, or NA");
                numbers = 3;
                break;
            }
        }
        if (pin.columns == 6 && numbers != 0 && numbers != 3) {
            report.Count(fmt::format("{}/whole", component.place.line), pin.name.Place(),
                         fmt::format("pin {} of '{}' has {} of R_pin, L_pin and C_pin",
                                     pin.name.Text(), component.name, numbers),
                         "give all three, or NA for all");
        }
    }
}

void PinParasiticsAreNearThePackage(const Component& component, Report& report)
{
    const Section* const package = component.section->Child(Key::Package);
    if (!package) {
        return;
    }
    const double inductance = package->CornersOf("L_pkg").at.typ;
    const double capacitance = package->CornersOf("C_pkg").at.typ;
    const auto far = [](const Word& word, double usual) {
        const double value = ValueOf(word.Text());
        return usual > 0 && value > 0 && (value > 10 * usual || value < usual / 10);
    };
    for (const Pin& pin : component.pins) {
        if (far(pin.l, inductance) || far(pin.c, capacitance)) {
            report.Count(
                std::to_string(component.place.line), pin.name.Place(),
                fmt::format(
                    "pin {} of '{}' has L_pin {} and C_pin {}; [Package] has {:g} H and {:g} F",
                    pin.name.Text(), component.name, pin.l.Text(), pin.c.Text(), inductance,
                    capacitance),
                "check the scale factors");
        }
    }
}

void SomePinsCarrySignals(const Component& component, Report& report)
{
    const bool none = std::all_of(component.pins.begin(), component.pins.end(), [](const Pin& pin) {
        return IsReservedModelName(pin.model.Text()) && pin.model != "CIRCUITCALL";
    });
    if (!component.pins.empty() && none) {
        report.Say(component.place, fmt::format("all {} pins of '{}' are POWER, GND or NC",
                                                component.pins.size(), component.name));
    }
}

void LocationsArePinOrDie(const Component& component, Report& report)
{
    for (const char* name : {"Si_location", "Timing_location"}) {
        const Word word = component.section->WordOf(name);
        if (word && word != "Pin" && word != "Die") {
            report.Say(word.Place(), fmt::format("{} is '{}'", name, word.Text()),
                       "write Pin or Die");
        }
    }
}

constexpr Check<Component> kChecks[] = {
    {{135,
      Warning,
      {},
      "POWER, GND, NC, NA and CIRCUITCALL are written in capitals and mean nothing else",
      "In another spelling they are taken for the names of models.",
      "3 VSS Gnd"},
     ReservedWordsAreInCapitals},
    {{201,
      Error,
      {},
      "A component has a [Manufacturer]",
      "The standard requires it.",
      "[Component] without [Manufacturer]"},
     HasManufacturer},
    {{207,
      Error,
      {},
      "[Pin] has at least one row, with the 3 or 6 columns that its heading announces",
      "A component without pins cannot be connected.",
      "four columns in [Pin]"},
     HasPins},
    {{208,
      Error,
      {},
      "The pin names of a component are unique",
      "Nobody knows which of two rows holds.",
      "two rows of pin A1"},
     PinsAreUnique},
    {{209,
      Error,
      {},
      "A pin's model is a [Model], a [Model Selector] or a reserved word",
      "The pin has no buffer otherwise.",
      "1 DATA BUFF where the model is BUF"},
     PinModelsExist},
    {{210,
      Warning,
      {},
      "R_pin, L_pin and C_pin are numbers of 0 or more, or all three NA",
      "Half a set cannot be simulated.",
      "1 DATA BUF 0.1 NA 1pF"},
     PinParasiticsAreWhole},
    {{211,
      Note,
      {},
      "A pin's inductance and capacitance are within a factor of 10 of the package's",
      "One row that is far off has often lost its scale factor.",
      "1 DATA BUF 0.1 2.0uH 1pF"},
     PinParasiticsAreNearThePackage},
    {{212,
      Note,
      {},
      "Some pins carry signals",
      "A component of supplies alone is a placeholder.",
      "all pins NC"},
     SomePinsCarrySignals},
    {{215, Warning, Since(32), "Si_location and Timing_location are Pin or Die",
      "They say where waveforms and times are to be measured.", "Si_location Ball"},
     LocationsArePinOrDie},
};

void ComponentNamesAreUnique(const IbisFile& file, Report& report)
{
    std::unordered_map<std::string_view, int> lines;
    for (const Component& component : file.components) {
        const auto [first, isNew] = lines.try_emplace(component.name, component.place.line);
        if (!isNew) {
            report.Say(component.place,
                       fmt::format("component '{}' stands again; the first is in line {}",
                                   component.name, first->second),
                       "give each component a name of its own");
        }
    }
}

/// How long names may be, before version 4.0 and from then on.
struct NameLimit
{
    size_t before40, since40;
    size_t For(Version version) const { return version != 0 && version < 40 ? before40 : since40; }
};

void CheckLength(std::string_view what, std::string_view name, NameLimit limit, Place place,
                 Report& report)
{
    const size_t most = limit.For(report.file.GetVersion());
    if (name.size() > most) {
        report.Count(what, place,
                     fmt::format("the {} '{}' has {} characters, {} are allowed", what,
                                 name.substr(0, 60), name.size(), most),
                     "choose a shorter one");
    }
}

void NamesAreShort(const IbisFile& file, Report& report)
{
    for (const Component& component : file.components) {
        CheckLength("component name", component.name, {40, 40}, component.place, report);
        if (const Section* const manufacturer = component.section->Child(Key::Manufacturer)) {
            CheckLength("manufacturer", manufacturer->argument, {40, 40}, manufacturer->place,
                        report);
        }
        for (const Pin& pin : component.pins) {
            CheckLength("signal name", pin.signal.Text(), {20, 40}, pin.signal.Place(), report);
        }
    }
    for (const Model& model : file.models) {
        CheckLength("model name", model.name, {20, 40}, model.place, report);
    }
}

constexpr Check<IbisFile> kFileChecks[] = {
    {{200,
      Error,
      {},
      "The names of components are unique",
      "Nobody can tell which of the two is meant.",
      "a copied [Component]"},
     ComponentNamesAreUnique},
    {{137,
      Warning,
      {},
      "Names keep to the length that the standard allows",
      "Readers may cut off what is longer, and two names become one.",
      "a signal name of 43 characters"},
     NamesAreShort},
};

}  // namespace

const RuleSet& ComponentRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            TryAll(kFileChecks, file, file, findings);
            for (const Component& component : file.components) {
                TryAll(kChecks, component, file, findings);
            }
        },
        kFileChecks, kChecks);
    return set;
}

}  // namespace ibis
