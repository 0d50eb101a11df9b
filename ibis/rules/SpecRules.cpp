#include <algorithm>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// [Model Spec] and [Receiver Thresholds].
namespace ibis {
namespace {

using enum Severity;

void SpecHasTypicalValues(const Model& model, Report& report)
{
    for (size_t i = 0; model.spec && i < model.spec->settings.size(); ++i) {
        const Setting& setting = model.spec->settings[i];
        if (TypIsNa(setting.Values())) {
            report.Say(setting.Place(),
                       fmt::format("{} in [Model Spec] of '{}' is NA as its typical value",
                                   setting.known->name, model.name),
                       "write the typical value, or leave the row out");
        }
    }
}

/// Two rows of [Model Spec], and that the first is not above the second in any corner.
void CheckOrder(const Model& model, const char* low, const char* high, bool equal, Report& report)
{
    const Triple a = model.spec->CornersOf(low), b = model.spec->CornersOf(high);
    for (const Corner corner : kCorners) {
        const double from = a.at.Or(corner), to = b.at.Or(corner);
        if (from > to || (from == to && !equal)) {
            report.Say(a.place,
                       fmt::format("{} in [Model Spec] of '{}' is {} ({}), {} is {}", low,
                                   model.name, Volts(from), Name(corner), high, Volts(to)),
                       fmt::format("{} is the lower of the two", low));
            return;
        }
    }
}

void SpecThresholdsFit(const Model& model, Report& report)
{
    if (!model.spec) {
        return;
    }
    for (const auto& [a, b] : {std::pair{"Vinh+", "Vinh-"}, {"Vinl+", "Vinl-"}}) {
        if ((model.spec->Find(a) != nullptr) != (model.spec->Find(b) != nullptr)) {
            const char* const given = model.spec->Find(a) ? a : b;
            report.Say(model.spec->Find(given)->Place(),
                       fmt::format("{} stands in [Model Spec] of '{}' without {}", given,
                                   model.name, given == a ? b : a),
                       "state both ends of the hysteresis");
        }
    }
    CheckOrder(model, "Vinl", "Vinh", false, report);
    CheckOrder(model, "Vinl-", "Vinl+", true, report);
    CheckOrder(model, "Vinh-", "Vinh+", true, report);
}

/// A limit that a signal at rest already breaks.
void CheckStatic(const Model& model, const char* name, double rail, bool high, Report& report)
{
    const Triple limit = model.spec->CornersOf(name);
    if (high ? limit.at.typ < rail : limit.at.typ > rail) {
        report.Say(
            limit.place,
            fmt::format("{} in [Model Spec] of '{}' is {}, {} its supply of {}", name, model.name,
                        Volts(limit.at.typ), high ? "below" : "above", Volts(rail)),
            "write the voltage at the pin, not the distance from the supply");
    }
}

/// Which of two rows is no use without one of some others.
void CheckNeeds(const Model& model, const char* name, std::initializer_list<const char*> others,
                Report& report)
{
    const Section& spec = *model.spec;
    const bool any = std::any_of(others.begin(), others.end(),
                                 [&](const char* other) { return spec.Find(other); });
    if (spec.Find(name) && !any) {
        report.Say(spec.Find(name)->Place(),
                   fmt::format("{} stands in [Model Spec] of '{}' without {}", name, model.name,
                               Joined({others.begin(), others.end()}, " or ")),
                   "state what it belongs to");
    }
}

void OvershootLimitsFit(const Model& model, Report& report)
{
    if (!model.spec) {
        return;
    }
    CheckStatic(model, "S_overshoot_high", model.PullupVolts(Corner::Typ), true, report);
    CheckStatic(model, "S_overshoot_low", model.PulldownVolts(Corner::Typ), false, report);
    CheckOrder(model, "S_overshoot_high", "D_overshoot_high", true, report);
    CheckOrder(model, "D_overshoot_low", "S_overshoot_low", true, report);
    CheckNeeds(model, "D_overshoot_high", {"D_overshoot_time"}, report);
    CheckNeeds(model, "D_overshoot_low", {"D_overshoot_time"}, report);
    CheckNeeds(model, "D_overshoot_time", {"D_overshoot_high", "D_overshoot_low"}, report);
    CheckNeeds(model, "Pulse_high", {"Pulse_time"}, report);
    CheckNeeds(model, "Pulse_low", {"Pulse_time"}, report);
    CheckNeeds(model, "Pulse_time", {"Pulse_high", "Pulse_low"}, report);
}

void SpecAgreesWithModel(const Model& model, Report& report)
{
    if (!model.spec) {
        return;
    }
    for (const char* name : {"Vinl", "Vinh", "Vmeas", "Cref", "Rref", "Vref"}) {
        const Value own = model.section->ValueOf(name);
        const Triple spec = model.spec->CornersOf(name);
        if (std::abs(own.value - spec.at.typ) > 1e-3 * std::abs(own.value)) {
            report.Say(spec.place,
                       fmt::format("{} of '{}' is {:g} in [Model] and {:g} in [Model Spec], which "
                                   "holds",
                                   name, model.name, own.value, spec.at.typ));
        }
    }
}

/// Those that are not given, of a set that belongs together.
std::vector<std::string> MissingOf(const Section& thresholds,
                                   std::initializer_list<const char*> names)
{
    std::vector<std::string> missing;
    std::copy_if(names.begin(), names.end(), std::back_inserter(missing),
                 [&](const char* name) { return !thresholds.Find(name); });
    return missing;
}

void ThresholdsAreWhole(const Model& model, Report& report)
{
    if (!model.thresholds) {
        return;
    }
    if (model.type != ModelType::Unknown && !model.Traits().receives) {
        report.Say(model.thresholds->place,
                   fmt::format("[Receiver Thresholds] of '{}' stands in a model of type {}",
                               model.name, model.Traits().name),
                   "remove it, or correct Model_type");
        return;
    }
    const auto single =
        MissingOf(*model.thresholds, {"Vth", "Vinh_ac", "Vinh_dc", "Vinl_ac", "Vinl_dc"});
    const auto pair = MissingOf(*model.thresholds, {"Vdiff_ac", "Vdiff_dc"});
    const auto slack = MissingOf(*model.thresholds, {single.empty() ? "Tslew_ac" : "Tdiffslew_ac"});
    if (!single.empty() && !pair.empty()) {
        const auto& fewer = pair.size() < 2 ? pair : single;
        report.Say(
            model.thresholds->place,
            fmt::format("[Receiver Thresholds] of '{}' has no {}", model.name, Joined(fewer, ", ")),
            "state Vth, Vinh_ac, Vinh_dc, Vinl_ac and Vinl_dc, of a pair Vdiff_ac and "
            "Vdiff_dc");
    } else if (!slack.empty()) {
        report.Say(Warning, model.thresholds->place,
                   fmt::format("[Receiver Thresholds] of '{}' has no {}", model.name, slack[0]),
                   "state the longest time between the levels");
    }
}

void SensitivityHasItsSupply(const Model& model, Report& report)
{
    if (!model.thresholds) {
        return;
    }
    const bool has = model.thresholds->Find("Threshold_sensitivity");
    const Word supply = model.thresholds->WordOf("Reference_supply");
    if (has != static_cast<bool>(supply)) {
        report.Say(model.thresholds->place,
                   fmt::format("[Receiver Thresholds] of '{}' has {}", model.name,
                               has ? "Threshold_sensitivity without Reference_supply"
                                   : "Reference_supply without Threshold_sensitivity"),
                   "state both, or neither");
    }
    const std::vector<std::string> known{"Power_clamp_ref", "Gnd_clamp_ref", "Pullup_ref",
                                         "Pulldown_ref", "Ext_ref"};
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](const std::string& name) {
        return Lowercase(name) == Lowercase(supply.Text());
    });
    if (supply && !isKnown) {
        report.Say(supply.Place(),
                   fmt::format("Reference_supply of '{}' is '{}'", model.name, supply.Text()),
                   "write one of " + Joined(known, ", "));
    }
}

/// Says that one voltage is above another.
void CheckBelow(const Model& model, const char* low, const char* high, Report& report)
{
    const Value a = model.thresholds->ValueOf(low), b = model.thresholds->ValueOf(high);
    if (a.value > b.value) {
        report.Say(a.place,
                   fmt::format("{} of '{}' is {}, {} is {}", low, model.name, Volts(a.value), high,
                               Volts(b.value)),
                   fmt::format("{} is not above {}", low, high));
    }
}

void ThresholdsAreOffsets(const Model& model, Report& report)
{
    if (!model.thresholds) {
        return;
    }
    for (const char* name : {"Vinh_ac", "Vinh_dc", "Vinl_ac", "Vinl_dc"}) {
        const Value offset = model.thresholds->ValueOf(name);
        const bool high = name[3] == 'h';
        if (high ? offset.value < 0 : offset.value > 0) {
            report.Say(offset.place,
                       fmt::format("{} of '{}' is {}: it is added to Vth, which makes it {}", name,
                                   model.name, Volts(offset.value),
                                   high ? "a high level below Vth" : "a low level above Vth"),
                       "write the distance from Vth, not the voltage");
        }
    }
    CheckBelow(model, "Vth_min", "Vth", report);
    CheckBelow(model, "Vth", "Vth_max", report);
    CheckBelow(model, "Vinh_dc", "Vinh_ac", report);
    CheckBelow(model, "Vinl_ac", "Vinl_dc", report);
    CheckBelow(model, "Vdiff_dc", "Vdiff_ac", report);
    CheckBelow(model, "Vcross_low", "Vcross_high", report);
}

constexpr Check<Model> kChecks[] = {
    {{600, Error, Since(30), "The rows of [Model Spec] have typical values",
      "NA elsewhere falls back to them.", "Vinh NA 2.0 2.2"},
     SpecHasTypicalValues},
    {{601, Warning, Since(30),
      "[Model Spec] has both ends of each hysteresis, and the lower threshold below the upper",
      "A receiver cannot be told from half of them.", "Vinh+ without Vinh-"},
     SpecThresholdsFit},
    {{602, Warning, Since(30),
      "Overshoot limits of [Model Spec] lie outside of the supply, dynamic ones beyond static ones",
      "They are voltages at the pin; a signal at rest would break the others. A dynamic limit and "
      "a "
      "pulse have a time.",
      "S_overshoot_high 0.5 at a supply of 3.3 V"},
     OvershootLimitsFit},
    {{603, Note, Since(30), "[Model Spec] repeats no value of [Model] with another number",
      "[Model Spec] holds, and readers that do not know it take the other.",
      "Vinh = 2.0 in [Model], Vinh 1.7 1.6 1.8 in [Model Spec]"},
     SpecAgreesWithModel},
    {{610, Error, Since(40), "[Receiver Thresholds] stands in a receiver and is complete",
      "It takes the place of Vinl and Vinh; a part of it gives no thresholds.",
      "Vth without Vinh_ac"},
     ThresholdsAreWhole},
    {{611, Error, Since(40),
      "Threshold_sensitivity and Reference_supply stand together, the supply is one of the list",
      "Vth follows that supply.", "Threshold_sensitivity = 0.5 alone"},
     SensitivityHasItsSupply},
    {{612, Warning, Since(40),
      "Vinh_ac and Vinh_dc are positive offsets from Vth, Vinl_ac and Vinl_dc negative ones; "
      "levels "
      "are in order",
      "They are added to Vth.", "Vinl_ac = 0.575V beside Vth = 0.75V"},
     ThresholdsAreOffsets},
};

}  // namespace

const RuleSet& SpecRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::models, kChecks>();
    return set;
}

}  // namespace ibis
