#include <algorithm>
#include <unordered_map>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"

/// A model's name, its type, its thresholds and the load that it is timed with.
namespace ibis {
namespace {

using enum Severity;

void NameIsItsOwn(const Model& model, Report& report)
{
    if (model.name.empty()) {
        return;
    }
    if (IsReservedModelName(model.name) || model.name == "NA") {
        report.Say(model.place, fmt::format("[Model] has the reserved name '{}'", model.name),
                   "choose another name");
    }
    const Model* const first = report.file.FindModel(model.name);
    if (first != &model) {
        report.Say(model.place,
                   fmt::format("a second [Model] '{}'; the first is in line {}", model.name,
                               first->place.line),
                   "rename the one or the other");
    }
}

void TypeIsKnown(const Model& model, Report& report)
{
    if (!model.typeWord) {
        if (!model.section->Find("Model_type")) {
            report.Say(model.place, fmt::format("[Model] '{}' has no Model_type", model.name),
                       "write Model_type and one of the standard's types");
        }
        return;
    }
    const TypeTraits& type = model.Traits();
    if (model.type == ModelType::Unknown) {
        const std::string nearest = NearestName(model.typeWord.Text(), ModelTypeNames());
        report.Say(
            model.typeWord.Place(),
            fmt::format("Model_type '{}' of '{}' is unknown", model.typeWord.Text(), model.name),
            nearest.empty() ? "write one of " + Joined(ModelTypeNames(), ", ")
                            : fmt::format("did you mean {}?", nearest));
        return;
    }
    if (model.typeWord != type.name) {
        report.Count(Warning, std::string(type.name), model.typeWord.Place(),
                     fmt::format("Model_type '{}' of '{}' is spelled {} in the standard",
                                 model.typeWord.Text(), model.name, type.name),
                     fmt::format("write {}", type.name));
    }
    report.SayIfNewer(type.versions, model.typeWord.Place(),
                      fmt::format("Model_type {}", type.name));
}

/// A word of two that are allowed; case does not count for these.
void CheckWord(const Model& model, const Word& word, const char* name,
               const std::vector<std::string>& allowed, Report& report)
{
    const bool known = std::any_of(allowed.begin(), allowed.end(), [&](const std::string& one) {
        return Lowercase(one) == Lowercase(word.Text());
    });
    if (word && !known && word != "NA") {
        report.Say(word.Place(), fmt::format("{} of '{}' is '{}'", name, model.name, word.Text()),
                   fmt::format("write {} or {}", allowed[0], allowed[1]));
    }
}

void PolarityAndEnableAreWords(const Model& model, Report& report)
{
    CheckWord(model, model.polarity, "Polarity", {"Non-Inverting", "Inverting"}, report);
    CheckWord(model, model.enable, "Enable", {"Active-High", "Active-Low"}, report);
    if (model.enable && model.enable != "NA" && model.type != ModelType::Unknown &&
        !model.Traits().enables) {
        report.Count(Note, std::string(model.Traits().name), model.enable.Place(),
                     fmt::format("Enable of '{}' means nothing to a model of type {}", model.name,
                                 model.Traits().name));
    }
}

/// Whether a model of [Model] and [Model Spec] states a value.
bool States(const Model& model, const char* name)
{
    return model.section->Find(name) || (model.spec && model.spec->Find(name));
}

void ThresholdsAreStated(const Model& model, Report& report)
{
    const TypeTraits& type = model.Traits();
    if (!type.receives || type.differential || model.external || model.thresholds) {
        return;
    }
    const bool low = States(model, "Vinl"), high = States(model, "Vinh");
    if (low && high) {
        return;
    }
    const double vinl = type.ecl ? -1.475 : 0.8, vinh = type.ecl ? -1.165 : 2.0;
    const std::string assumed =
        low    ? fmt::format("Vinh; {:g} V is", vinh)
        : high ? fmt::format("Vinl; {:g} V is", vinl)
               : fmt::format("Vinl and Vinh; {:g} V and {:g} V are", vinl, vinh);
    const double supply = model.PowerClampVolts(Corner::Typ);
    const std::string above =
        !high && vinh > supply ? fmt::format(", above its supply of {:g} V", supply) : "";
    // What an equaliser's output is sampled at is not in the .ibs file.
    report.Say(model.algorithmic ? Note : Warning, model.place,
               fmt::format("[Model] '{}' of type {} has no {} assumed{}", model.name, type.name,
                           assumed, above),
               "state the receiver's thresholds");
}

void ThresholdsAreInOrder(const Model& model, Report& report)
{
    if (model.vinl.value >= model.vinh.value) {
        report.Say(model.vinl.value > model.vinh.value ? Error : Warning, model.vinl.place,
                   fmt::format("Vinl of '{}' is {:g} V, Vinh {:g} V", model.name, model.vinl.value,
                               model.vinh.value),
                   "Vinl is the lower of the two");
    }
}

void ThresholdsAreWithinTheSupply(const Model& model, Report& report)
{
    const double low =
        std::fmin(model.PulldownVolts(Corner::Typ), model.GndClampVolts(Corner::Typ));
    const double high =
        std::fmax(model.PullupVolts(Corner::Typ), model.PowerClampVolts(Corner::Typ));
    const double slack = 0.2 * (high - low);
    for (const auto& [name, at] : {std::pair{"Vinl", model.vinl}, {"Vinh", model.vinh}}) {
        if (model.Traits().receives && (at.value < low - slack || at.value > high + slack)) {
            report.Say(at.place,
                       fmt::format("{} of '{}' is {:g} V, its supply goes from {:g} V to {:g} V",
                                   name, model.name, at.value, low, high),
                       "check the threshold, or the supply's voltages");
        }
    }
}

/// Says once for each type that these of a model's sub-parameters are of no use to it.
void SayIgnored(const Model& model, std::initializer_list<std::pair<const char*, Value>> values,
                Report& report)
{
    for (const auto& [name, value] : values) {
        if (value) {
            report.Count(fmt::format("{}/{}", name, model.Traits().name), value.place,
                         fmt::format("{} of '{}' means nothing to a model of type {}", name,
                                     model.name, model.Traits().name));
        }
    }
}

void ThresholdsAreOfUse(const Model& model, Report& report)
{
    if (model.type != ModelType::Unknown && !model.Traits().receives) {
        SayIgnored(model, {{"Vinl", model.vinl}, {"Vinh", model.vinh}}, report);
    }
}

void HasTimingLoad(const Model& model, Report& report)
{
    if (!model.Traits().drives || model.Traits().differential || model.external ||
        report.file.scheduled.contains(model.name)) {
        return;
    }
    if (!States(model, "Vmeas") && !States(model, "Vmeas_rising")) {
        report.Count("Vmeas", model.place,
                     fmt::format("[Model] '{}' has no Vmeas: its delay into a load cannot be "
                                 "compared with the data sheet's",
                                 model.name),
                     "state the voltage that the data sheet measures at");
    }
    const bool rref = States(model, "Rref"), vref = States(model, "Vref");
    if (rref != vref) {
        report.Count("Rref", rref ? model.rref.place : model.vref.place,
                     fmt::format("[Model] '{}' states {} without {}", model.name,
                                 rref ? "Rref" : "Vref", rref ? "Vref" : "Rref"),
                     "state both, or neither");
    }
}

/// An edge into the load that the model is timed with crosses the voltage that it is timed at.
void SwingCrossesVmeas(const Model& model, Report& report)
{
    if (!model.vmeas.IsNumber() || !model.rref.IsNumber() || !model.vref.IsNumber() ||
        !(model.rref.value > 0)) {
        return;
    }
    const auto atRest = ModelAtRest::Of(model);
    if (!atRest) {
        return;
    }
    const Load load{model.rref.value, model.vref.value};
    const double low = (*atRest)[Corner::Typ].PadVolts(BufferState::Low, load);
    const double high = (*atRest)[Corner::Typ].PadVolts(BufferState::High, load);
    if (model.vmeas.value < low || model.vmeas.value > high) {
        report.Say(model.vmeas.place,
                   fmt::format("Vmeas of '{}' is {}; into its {} to {} it swings from {} to {}",
                               model.name, Volts(model.vmeas.value), Ohms(load.ohms),
                               Volts(load.volts), Volts(low), Volts(high)),
                   "check Vmeas, Rref and Vref");
    }
}

void TimingLoadIsOfUse(const Model& model, Report& report)
{
    if (model.type != ModelType::Unknown && !model.Traits().drives) {
        SayIgnored(model,
                   {{"Vmeas", model.vmeas},
                    {"Cref", model.cref},
                    {"Rref", model.rref},
                    {"Vref", model.vref}},
                   report);
    }
}

constexpr Check<Model> kChecks[] = {
    {{303,
      Error,
      {},
      "A [Model] has a name of its own, which is not reserved",
      "Simulators differ in which of two models of one name they take; POWER, GND, NC, CIRCUITCALL "
      "and NA stand for no model.",
      "two [Model] OUT"},
     NameIsItsOwn},
    {{304,
      Error,
      {},
      "Model_type is present and one of the standard's",
      "It decides which tables a model needs.",
      "Model_type IO"},
     TypeIsKnown},
    {{305,
      Warning,
      {},
      "Polarity is Inverting or Non-Inverting, Enable is Active-High or Active-Low",
      "Another word is passed over, and the default holds: Non-Inverting and Active-High.",
      "Enable Active_low"},
     PolarityAndEnableAreWords},
    {{306,
      Warning,
      {},
      "A model that receives states Vinl and Vinh",
      "Otherwise 0.8 V and 2.0 V hold, of ECL types -1.475 V and -1.165 V, whatever the supply is.",
      "an Input of 1.8 V without thresholds"},
     ThresholdsAreStated},
    {{307,
      Error,
      {},
      "Vinl is below Vinh",
      "A receiver never sees a level otherwise.",
      "Vinl = 2.0V, Vinh = 0.8V"},
     ThresholdsAreInOrder},
    {{308,
      Warning,
      {},
      "Vinl and Vinh lie within the supply, or at most 20 % outside",
      "A signal of this supply never crosses the threshold.",
      "Vinh = 2.0V at a supply of 1.2 V"},
     ThresholdsAreWithinTheSupply},
    {{309,
      Note,
      {},
      "Vinl and Vinh stand in models that receive",
      "Others do not use them.",
      "Vinl in an Output"},
     ThresholdsAreOfUse},
    {{310,
      Note,
      {},
      "A model that drives states Vmeas; Rref and Vref stand together",
      "A delay is counted from where the buffer crosses Vmeas when it drives Cref, Rref and Vref.",
      "Rref = 50 without Vref"},
     HasTimingLoad},
    {{311,
      Note,
      {},
      "Vmeas, Cref, Rref and Vref stand in models that drive",
      "Others do not use them.",
      "Vmeas in an Input"},
     TimingLoadIsOfUse},
    {{312,
      Warning,
      {},
      "Vmeas lies within the swing into Rref and Vref",
      "A buffer that never crosses Vmeas has no delay.",
      "Vmeas = 1.5V in a [Model] of 1.2 V"},
     SwingCrossesVmeas},
};

/// Everything that a section holds but its name, as one number.
class Fingerprint
{
public:
    void Add(const Section& section)
    {
        Mix(static_cast<size_t>(section.keyword->key));
        for (const Word& word : section.arguments) {
            Mix(word.Text());
        }
        AddBody(section);
    }
    void AddBody(const Section& section)
    {
        for (const Setting& setting : section.settings) {
            for (const Word& word : setting.words) {
                Mix(word.Text());
            }
        }
        for (const auto row : section.rows) {
            for (const Word& word : row) {
                Mix(word.Text());
            }
        }
        for (const Curve::Row& row : section.curve.rows) {
            for (const double value : {row.x, row.y.typ, row.y.min, row.y.max}) {
                Mix(std::isnan(value) ? 1 : std::hash<double>()(value));
            }
        }
        for (const Section& child : section.children) {
            Add(child);
        }
    }
    size_t Get() const { return value_; }

private:
    void Mix(std::string_view text) { Mix(std::hash<std::string_view>()(text)); }
    void Mix(size_t value) { value_ = (value_ ^ value) * 0x9E3779B97F4A7C15ULL + (value_ >> 29); }

    size_t value_ = 0;
};

void ModelsDiffer(const IbisFile& file, Report& report)
{
    std::unordered_map<size_t, const Model*> first;
    for (const Model& model : file.models) {
        Fingerprint fingerprint;
        fingerprint.AddBody(*model.section);
        const auto [same, isNew] = first.try_emplace(fingerprint.Get(), &model);
        if (!isNew && same->second->name != model.name) {
            report.Count("", model.place,
                         fmt::format("[Model] '{}' is '{}' of line {} under another name",
                                     model.name, same->second->name, same->second->place.line));
        }
    }
}

constexpr Check<IbisFile> kFileChecks[] = {
    {{328,
      Note,
      {},
      "Models of different names differ",
      "A copy makes the file longer, and is forgotten when the other is corrected.",
      "[Model] IN2 with all of [Model] IN1"},
     ModelsDiffer},
};

}  // namespace

const RuleSet& ModelRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                TryAll(kChecks, model, file, findings);
            }
            TryAll(kFileChecks, file, file, findings);
        },
        kChecks, kFileChecks);
    return set;
}

}  // namespace ibis
