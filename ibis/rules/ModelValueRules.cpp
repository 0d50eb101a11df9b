#include <algorithm>

#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"

/// A model's capacitances, supplies and temperatures.
namespace ibis {
namespace {

using enum Severity;

bool IsSeries(const Model& model)
{
    return model.type == ModelType::Series || model.type == ModelType::SeriesSwitch;
}

struct Split
{
    const char* name;
    const Triple& value;
};

std::vector<Split> SplitsOf(const Model& model)
{
    std::vector<Split> splits;
    for (const Split& split : {Split{"C_comp_pullup", model.cCompPullup},
                               {"C_comp_pulldown", model.cCompPulldown},
                               {"C_comp_power_clamp", model.cCompPowerClamp},
                               {"C_comp_gnd_clamp", model.cCompGndClamp}}) {
        if (split.value) {
            splits.push_back(split);
        }
    }
    return splits;
}

/// What stands for the die's capacitance in place of C_comp.
bool HasOtherCapacitance(const Model& model)
{
    return model.external || !SplitsOf(model).empty() || model.section->Child(Key::CCompCorner) ||
           model.section->Child(Key::CCompModel);
}

void HasCapacitance(const Model& model, Report& report)
{
    if (!model.cComp && !IsSeries(model) && !HasOtherCapacitance(model)) {
        report.Say(model.place, fmt::format("[Model] '{}' has no C_comp", model.name),
                   "state the die's capacitance with C_comp typ min max");
    } else if (HasNegative(model.cComp.at)) {
        report.Say(model.cComp.place,
                   fmt::format("C_comp of '{}' is negative: {}", model.name,
                               CornersText(model.cComp.at, "F")),
                   "state the die's capacitance");
    }
}

void CapacitanceIsOrdered(const Model& model, Report& report)
{
    if (!IsOrdered(model.cComp.at)) {
        report.Say(
            model.cComp.place,
            fmt::format("C_comp of '{}' has {}", model.name, CornersText(model.cComp.at, "F")),
            "min is the least and max the greatest value, whatever corner they belong to");
    }
}

void CapacitanceIsOfSensibleSize(const Model& model, Report& report)
{
    const double typ = model.cComp.at.typ;
    if ((typ == 0 && !HasOtherCapacitance(model) && !IsSeries(model)) || typ > 50e-12) {
        report.Count(typ == 0 ? "zero" : "large", model.cComp.place,
                     fmt::format("C_comp of '{}' is {:.4g} pF, expected between 0 and 50 pF",
                                 model.name, typ * 1e12),
                     "check the value and its scale factor");
    }
}

void CapacitancesAddUp(const Model& model, Report& report)
{
    const auto splits = SplitsOf(model);
    double sum = 0;
    for (const Split& split : splits) {
        if (HasNegative(split.value.at)) {
            report.Say(split.value.place,
                       fmt::format("{} of '{}' is negative: {}", split.name, model.name,
                                   CornersText(split.value.at, "F")),
                       "a part of the capacitance is not negative");
            return;
        }
        sum += split.value.at.typ;
    }
    const double whole = model.cComp.at.typ;
    if (!splits.empty() && whole > 0 && (sum > 1.5 * whole || sum < whole / 1.5)) {
        report.Say(splits[0].value.place,
                   fmt::format("the parts of C_comp of '{}' add up to {:.4g} pF, C_comp is "
                               "{:.4g} pF",
                               model.name, sum * 1e12, whole * 1e12),
                   "let the parts add up to the whole");
    }
}

void CornerCapacitanceIsWhole(const Model& model, Report& report)
{
    const Section* const corner = model.section->Child(Key::CCompCorner);
    if (!corner) {
        return;
    }
    if (model.section->Child(Key::CCompModel)) {
        report.Say(corner->place,
                   fmt::format("'{}' has [C Comp Corner] and [C Comp Model]", model.name),
                   "keep one of the two");
    }
    for (const Setting& setting : corner->settings) {
        if (TypIsNa(setting.Values())) {
            report.Say(setting.Place(),
                       fmt::format("{} in [C Comp Corner] of '{}' is NA as its typical value",
                                   setting.known->name, model.name),
                       "write the typical value");
        }
    }
}

struct Supply
{
    Key key;
    const Triple& value;
};

std::vector<Supply> SuppliesOf(const Model& model)
{
    std::vector<Supply> supplies;
    for (const Supply& supply : {Supply{Key::VoltageRange, model.voltageRange},
                                 {Key::PullupReference, model.pullupReference},
                                 {Key::PulldownReference, model.pulldownReference},
                                 {Key::PowerClampReference, model.powerClampReference},
                                 {Key::GndClampReference, model.gndClampReference},
                                 {Key::ExternalReference, model.externalReference}}) {
        if (supply.value) {
            supplies.push_back(supply);
        }
    }
    return supplies;
}

void HasSupply(const Model& model, Report& report)
{
    const bool references = model.pullupReference && model.pulldownReference &&
                            model.powerClampReference && model.gndClampReference;
    if (!model.voltageRange && !references && !IsSeries(model) && !model.external) {
        report.Say(model.place,
                   fmt::format("[Model] '{}' has neither [Voltage Range] nor all four references",
                               model.name),
                   "state [Voltage Range] typ min max");
    }
    for (const Supply& supply : SuppliesOf(model)) {
        if (TypIsNa(model.section->Child(supply.key)->arguments)) {
            report.Say(supply.value.place,
                       fmt::format("[{}] of '{}' is NA as its typical value",
                                   KeywordOf(supply.key).name, model.name),
                       "write the typical voltage");
        }
    }
}

/// Of a negative supply the strong corner is the lower one, and may stand as max.
void SuppliesAreOrdered(const Model& model, Report& report)
{
    for (const Supply& supply : SuppliesOf(model)) {
        const Corners& at = supply.value.at;
        const bool byMagnitude = at.typ <= 0 && IsOrdered({-at.typ, -at.min, -at.max});
        if (!IsOrdered(at) && !byMagnitude) {
            report.Say(supply.value.place,
                       fmt::format("[{}] of '{}' has {}", KeywordOf(supply.key).name, model.name,
                                   CornersText(at, "V")),
                       "the columns are typ, min, max, in this order");
        }
    }
}

void SupplyIsOfSensibleSize(const Model& model, Report& report)
{
    const double volts = std::abs(model.voltageRange.at.typ);
    if (volts > 0 && (volts < 0.3 || volts > 30)) {
        report.Say(
            model.voltageRange.place,
            fmt::format("[Voltage Range] of '{}' is {:g} V, expected 0.3 to 30 V{}", model.name,
                        volts, volts >= 300 && volts <= 30e3 ? ": are these millivolts?" : ""),
            "check the value and its scale factor");
    }
}

/// The slow corner of CMOS is hot, and stands in the min column with the low voltage.
void SlowCornerIsHot(const Model& model, Report& report)
{
    const Corners& at = model.temperature.at;
    if (!model.Traits().ecl && at.min < at.typ && at.typ < at.max) {
        report.Count("", model.temperature.place,
                     fmt::format("[Temperature Range] of '{}' has {}: min is the slow corner, "
                                 "which of CMOS is the hot one",
                                 model.name, CornersText(at, "degrees")),
                     "exchange min and max, unless the slow corner is cold");
    }
}

void TemperaturesAreSensible(const Model& model, Report& report)
{
    const Corners& at = model.temperature.at;
    const bool between =
        (at.typ >= std::min(at.min, at.max) && at.typ <= std::max(at.min, at.max)) ||
        !at.Has(Corner::Min) || !at.Has(Corner::Max) || !at.Has(Corner::Typ);
    const bool sensible =
        std::none_of(std::begin(kCorners), std::end(kCorners),
                     [&](Corner corner) { return at[corner] < -100 || at[corner] > 250; });
    if (!between || !sensible) {
        report.Say(model.temperature.place,
                   fmt::format("[Temperature Range] of '{}' has {}; expected typ between the other "
                               "two, and -100 to 250",
                               model.name, CornersText(at, "degrees")),
                   "write the die's temperatures in degrees Celsius");
    }
}

void ReferencesStandUpright(const Model& model, Report& report)
{
    for (const auto& [lower, upper, names] :
         {std::tuple{&model.pulldownReference, model.PullupVolts(Corner::Typ),
                     "[Pulldown Reference] of '{}' is {:g} V, above the {:g} V of its pull-up"},
          {&model.gndClampReference, model.PowerClampVolts(Corner::Typ),
           "[GND Clamp Reference] of '{}' is {:g} V, above the {:g} V of its POWER clamp"}}) {
        if (*lower && lower->at.typ > upper) {
            report.Say(lower->place,
                       fmt::format(fmt::runtime(names), model.name, lower->at.typ, upper),
                       "check the signs of the references");
        }
    }
}

void ExternalReferenceIsGiven(const Model& model, Report& report)
{
    const Word supply = model.thresholds ? model.thresholds->WordOf("Reference_supply") : Word();
    if (supply == "Ext_ref" && !model.externalReference) {
        report.Say(supply.Place(),
                   fmt::format("Reference_supply of '{}' is Ext_ref, but there is no [External "
                               "Reference]",
                               model.name),
                   "state [External Reference] typ min max");
    }
}

void TransitTimesBelongToClamps(const Model& model, Report& report)
{
    for (const auto& [key, time, clamp] : {std::tuple{Key::TtGnd, &model.ttGnd, model.gndClamp},
                                           {Key::TtPower, &model.ttPower, model.powerClamp}}) {
        if (!*time) {
            continue;
        }
        const std::string name = fmt::format("[{}] of '{}'", KeywordOf(key).name, model.name);
        if (TypIsNa(model.section->Child(key)->arguments) || HasNegative(time->at)) {
            report.Say(time->place, fmt::format("{} has {}", name, CornersText(time->at, "s")),
                       "write a time that is not negative");
        } else if (!clamp && time->at.typ > 0) {
            report.Say(time->place,
                       fmt::format("{} stands without [{} Clamp]", name,
                                   key == Key::TtGnd ? "GND" : "POWER"),
                       "add the clamp that it is the transit time of");
        }
    }
}

constexpr Check<Model> kChecks[] = {
    {{313,
      Error,
      {},
      "C_comp is present and not negative",
      "Without the die's capacitance edges are too fast. C_comp_pullup and its like, [C Comp "
      "Corner], [C Comp Model] and [External Model] may stand for it.",
      "a [Model] without C_comp"},
     HasCapacitance},
    {{314,
      Warning,
      {},
      "C_comp has min <= typ <= max",
      "The columns are ordered by size here, not by corner.",
      "C_comp 5.0pF 6.0pF 4.0pF"},
     CapacitanceIsOrdered},
    {{315,
      Note,
      {},
      "C_comp is above 0 and at most 50 pF",
      "A pad has some picofarads.",
      "C_comp 0 0 0"},
     CapacitanceIsOfSensibleSize},
    {{316, Warning, Since(40), "The parts of C_comp are not negative and add up to it",
      "A simulator takes either the whole or the parts.",
      "C_comp_pullup and C_comp_pulldown as large as C_comp each"},
     CapacitancesAddUp},
    {{317,
      Warning,
      {},
      "C_comp has three columns",
      "What is left out is taken as NA by some readers and refused by others.",
      "C_comp 5.0pF"},
     nullptr},
    {{318, Note, Since(60), "[C Comp Corner] has typical values and no [C Comp Model] beside it",
      "What else a row lacks falls back to its typical value.", "C_comp NA 4pF 6pF"},
     CornerCapacitanceIsWhole},
    {{319, Note, Since(70), "[C Comp Model] is closed",
      "Otherwise what follows is taken for a part of it.", "[C Comp Model] without its end"},
     nullptr},
    {{320,
      Error,
      {},
      "[Voltage Range] is present, or all four references are, with typical values",
      "The tables are relative to them.",
      "a [Model] with [Pullup Reference] alone"},
     HasSupply},
    {{321,
      Warning,
      {},
      "[Voltage Range] and the references have min <= typ <= max",
      "The columns are typ, min, max, in this order.",
      "[Voltage Range] 3.0 3.3 3.6"},
     SuppliesAreOrdered},
    {{322,
      Warning,
      {},
      "[Voltage Range] is between 0.3 V and 30 V",
      "Other values are most often slips of the unit.",
      "[Voltage Range] 3300 3000 3600"},
     SupplyIsOfSensibleSize},
    {{323,
      Note,
      {},
      "The min column of [Temperature Range] is the slow corner",
      "All of the min columns together describe the slow, weak corner; CMOS is slow when it is "
      "hot.",
      "[Temperature Range] 25 0 85"},
     SlowCornerIsHot},
    {{324,
      Warning,
      {},
      "[Temperature Range] has typ between the other two, and -100 to 250 degrees",
      "Other values are slips.",
      "[Temperature Range] 300 273 398"},
     TemperaturesAreSensible},
    {{325,
      Warning,
      {},
      "[Pulldown Reference] is below the pull-up's, [GND Clamp Reference] below the POWER clamp's",
      "With wrong signs the tables are read on the wrong side of the pad.",
      "[Pulldown Reference] 5.0 with [Pullup Reference] 0"},
     ReferencesStandUpright},
    {{326, Error, Since(40), "[External Reference] is given where Reference_supply is Ext_ref",
      "The threshold follows a voltage that is stated nowhere.",
      "Reference_supply Ext_ref in a [Model] without [External Reference]"},
     ExternalReferenceIsGiven},
    {{327, Warning, Since(30), "[TTgnd] and [TTpower] are not negative and stand with their clamp",
      "They are the transit times of the clamp's diode.", "[TTgnd] without [GND Clamp]"},
     TransitTimesBelongToClamps},
};

}  // namespace

const RuleSet& ModelValueRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::models, kChecks>();
    return set;
}

}  // namespace ibis
