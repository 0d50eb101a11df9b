#include <algorithm>
#include <unordered_set>

#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/physics/PiecewiseLinear.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// What models are put together from: submodels, scheduled drivers, series currents.
namespace ibis {
namespace {

using enum Severity;

constexpr const char* kClamp = "dynamic_clamp";
constexpr const char* kHold = "bus_hold";
constexpr const char* kFallBack = "fall_back";

bool IsOneOf(std::string_view word, std::initializer_list<const char*> known)
{
    const std::string lower = Lowercase(word);
    return std::any_of(known.begin(), known.end(), [&](const char* one) { return lower == one; });
}

std::string TypeOf(const Section& submodel)
{
    return Lowercase(submodel.WordOf("Submodel_type").Text());
}

/// The submodels that a model adds: name and mode.
template <class Function>
void ForAdded(const Model& model, Function function)
{
    const Section* const added = model.section->Child(Key::AddSubmodel);
    for (size_t i = 0; added && i < added->rows.size(); ++i) {
        if (added->rows[i].size() == 2) {
            function(added->rows[i][0], added->rows[i][1]);
        }
    }
}

void CheckMode(const Model& model, const Word& mode, Report& report)
{
    if (!IsOneOf(mode.Text(), {"driving", "non-driving", "all"})) {
        report.Say(mode.Place(),
                   fmt::format("[Add Submodel] of '{}' has the mode '{}'", model.name, mode.Text()),
                   "write Driving, Non-Driving or All");
    } else if (IsOneOf(mode.Text(), {"driving"}) && !model.Traits().drives &&
               model.type != ModelType::Unknown) {
        report.Say(
            Warning, mode.Place(),
            fmt::format("[Add Submodel] of '{}' has the mode Driving, but a model of type {} "
                        "never drives",
                        model.name, model.Traits().name),
            "write Non-Driving or All");
    }
}

/// Looked for at the first miss only: a file may have thousands.
std::string NearestSubmodel(const Word& name, const Report& report)
{
    if (report.Has(620)) {
        return {};
    }
    std::vector<std::string> known;
    for (const Section* submodel : report.file.submodels) {
        known.emplace_back(submodel->argument);
    }
    return NearestName(name.Text(), known);
}

void AddedSubmodelsExist(const Model& model, Report& report)
{
    ForAdded(model, [&](const Word& name, const Word& mode) {
        if (!report.file.FindSubmodel(name.Text())) {
            const std::string nearest = NearestSubmodel(name, report);
            report.Say(name.Place(),
                       fmt::format("[Add Submodel] of '{}' names '{}', which is no [Submodel]",
                                   model.name, name.Text()),
                       nearest.empty() ? "define it" : fmt::format("did you mean {}?", nearest));
        }
        CheckMode(model, mode, report);
    });
}

/// A trigger that the pad never crosses.
void TriggersAreWithinTheSupply(const Model& model, Report& report)
{
    const double low = model.PulldownVolts(Corner::Typ), high = model.PullupVolts(Corner::Typ);
    ForAdded(model, [&](const Word& name, const Word&) {
        const Section* const submodel = report.file.FindSubmodel(name.Text());
        const Section* const spec = submodel ? submodel->Child(Key::SubmodelSpec) : nullptr;
        for (const char* trigger : {"V_trigger_r", "V_trigger_f"}) {
            const Triple at = spec ? spec->CornersOf(trigger) : Triple{};
            if (at.at.typ < low || at.at.typ > high) {
                report.Count(
                    fmt::format("{}/{}", name.Text(), trigger), at.place,
                    fmt::format("{} of [Submodel] '{}' is {}; '{}' swings from {} to {}", trigger,
                                name.Text(), Volts(at.at.typ), model.name, Volts(low), Volts(high)),
                    "write a voltage that the pad crosses");
            }
        }
    });
}

void SubmodelIsKnown(const Section& submodel, Report& report)
{
    const Section* const first = report.file.FindSubmodel(submodel.argument);
    if (first && first != &submodel && !submodel.argument.empty()) {
        report.Say(submodel.place,
                   fmt::format("a second [Submodel] '{}'; the first is in line {}",
                               submodel.argument, first->place.line),
                   "rename the one or the other");
    }
    const Word type = submodel.WordOf("Submodel_type");
    if (!IsOneOf(type.Text(), {kClamp, kHold, kFallBack})) {
        report.Say(
            type ? type.Place() : submodel.place,
            type ? fmt::format("Submodel_type of '{}' is '{}'", submodel.argument, type.Text())
                 : fmt::format("[Submodel] '{}' has no Submodel_type", submodel.argument),
            "write Dynamic_clamp, Bus_hold or Fall_back");
    } else if (TypeOf(submodel) == kFallBack) {
        report.SayIfNewer(Since(40), type.Place(), "Submodel_type Fall_back");
    }
}

/// Tables that a submodel of this type does not use.
void SayUnused(const Section& submodel, std::initializer_list<Key> keys, Report& report)
{
    for (const Key key : keys) {
        if (const Section* const table = submodel.Child(key)) {
            report.Say(Warning, table->place,
                       fmt::format("[{}] of [Submodel] '{}' is not used by its type {}",
                                   KeywordOf(key).name, submodel.argument,
                                   submodel.WordOf("Submodel_type").Text()),
                       "remove it, or correct Submodel_type");
        }
    }
}

bool HasTrigger(const Section& submodel, const char* name)
{
    const Section* const spec = submodel.Child(Key::SubmodelSpec);
    return spec && spec->Find(name);
}

void CheckClamp(const Section& submodel, Report& report)
{
    SayUnused(submodel,
              {Key::Pulldown, Key::Pullup, Key::Ramp, Key::RisingWaveform, Key::FallingWaveform},
              report);
    if (!submodel.Child(Key::GndClamp) && !submodel.Child(Key::PowerClamp)) {
        report.Say(submodel.place,
                   fmt::format("[Submodel] '{}' of type Dynamic_clamp has neither [GND Clamp] nor "
                               "[POWER Clamp]",
                               submodel.argument),
                   "add the clamps");
    }
    for (const auto& [pulse, clamp, trigger] :
         {std::tuple{Key::GndPulseTable, Key::GndClamp, "V_trigger_f"},
          {Key::PowerPulseTable, Key::PowerClamp, "V_trigger_r"}}) {
        const Section* const table = submodel.Child(pulse);
        if (table && (!submodel.Child(clamp) || !HasTrigger(submodel, trigger))) {
            report.Say(
                Warning, table->place,
                fmt::format(
                    "[{}] of [Submodel] '{}' stands without {}", KeywordOf(pulse).name,
                    submodel.argument,
                    submodel.Child(clamp) ? trigger : fmt::format("[{}]", KeywordOf(clamp).name)),
                "add what it shifts and what starts it");
        }
    }
}

/// Of Bus_hold and Fall_back.
void CheckTriggered(const Section& submodel, Report& report)
{
    const std::string of = fmt::format("[Submodel] '{}' of type {}", submodel.argument,
                                       submodel.WordOf("Submodel_type").Text());
    SayUnused(submodel, {Key::GndPulseTable, Key::PowerPulseTable, Key::GndClamp, Key::PowerClamp},
              report);
    if (!submodel.Child(Key::Pulldown) && !submodel.Child(Key::Pullup)) {
        report.Say(submodel.place, of + " has neither [Pulldown] nor [Pullup]", "add the tables");
    }
    if (!submodel.Child(Key::Ramp)) {
        report.Say(submodel.place, of + " has no [Ramp]", "add it");
    }
    if (!HasTrigger(submodel, "V_trigger_r") && !HasTrigger(submodel, "V_trigger_f")) {
        report.Say(submodel.place, of + " has neither V_trigger_r nor V_trigger_f",
                   "state them in [Submodel Spec]");
    }
}

void SubmodelHasItsTables(const Section& submodel, Report& report)
{
    if (TypeOf(submodel) == kClamp) {
        CheckClamp(submodel, report);
    } else if (IsOneOf(TypeOf(submodel), {kHold, kFallBack})) {
        CheckTriggered(submodel, report);
    }
}

void SubmodelSpecFits(const Section& submodel, Report& report)
{
    const Section* const spec = submodel.Child(Key::SubmodelSpec);
    for (size_t i = 0; spec && i < spec->settings.size(); ++i) {
        const Setting& setting = spec->settings[i];
        if (TypIsNa(setting.Values())) {
            report.Say(setting.Place(),
                       fmt::format("{} of [Submodel] '{}' is NA as its typical value",
                                   setting.known->name, submodel.argument),
                       "write the typical value");
        }
    }
    const Setting* const delay = spec ? spec->Find("Off_delay") : nullptr;
    if (delay && IsOneOf(TypeOf(submodel), {kClamp, kFallBack})) {
        report.Say(
            delay->Place(),
            fmt::format("Off_delay of [Submodel] '{}' is for Bus_hold only", submodel.argument),
            "remove it, or correct Submodel_type");
    }
}

void CheckPulse(const Section& submodel, const Curve& pulse, Report& report)
{
    const std::string name = fmt::format("[{}] of [Submodel] '{}'", pulse.title, submodel.argument);
    const auto& rows = pulse.rows;
    for (size_t i = 1; i < rows.size(); ++i) {
        if (!(rows[i].x > rows[i - 1].x)) {
            report.Count(name, pulse.At(i),
                         fmt::format("{} goes from {} to {}", name, Seconds(rows[i - 1].x),
                                     Seconds(rows[i].x)),
                         "write its times in rising order");
        }
    }
    if (rows.size() > 100) {
        report.Say(pulse.At(100),
                   fmt::format("{} has {} rows, at most 100 are allowed", name, rows.size()),
                   "keep those where the pulse bends");
    }
    for (const Corner corner : kCorners) {
        const double begin = rows.empty() ? 0 : rows.front().y[corner];
        const double end = rows.empty() ? 0 : rows.back().y[corner];
        if (std::abs(begin) > 0 || std::abs(end) > 0) {
            report.Say(pulse.place,
                       fmt::format("{} begins at {} and ends at {} ({})", name, Volts(begin),
                                   Volts(end), Name(corner)),
                       "a pulse begins and ends at 0 V");
            return;
        }
    }
}

void PulsesAreWhole(const Section& submodel, Report& report)
{
    for (const Key key : {Key::GndPulseTable, Key::PowerPulseTable}) {
        if (const Section* const table = submodel.Child(key)) {
            CheckPulse(submodel, table->curve, report);
        }
    }
}

void SubmodelsAreUsed(const IbisFile& file, Report& report)
{
    std::unordered_set<std::string_view> used;
    for (const Model& model : file.models) {
        ForAdded(model, [&](const Word& name, const Word&) { used.insert(name.Text()); });
    }
    for (const Section* submodel : file.submodels) {
        if (!submodel->argument.empty() && !used.contains(submodel->argument)) {
            report.Count(
                "", submodel->place,
                fmt::format("no [Add Submodel] names [Submodel] '{}'", submodel->argument));
        }
    }
}

const Check<Model> kModelChecks[] = {
    {{620, Error, Since(30), "[Add Submodel] names submodels that there are, and their modes",
      "The modes are Driving, Non-Driving and All.", "[Add Submodel] with 'Keeper NonDriving'"},
     AddedSubmodelsExist},
};

const Check<Section> kSubmodelChecks[] = {
    {{621, Error, Since(30), "A [Submodel] has a name of its own and a known type",
      "The types are Dynamic_clamp, Bus_hold and Fall_back.", "Submodel_type Bus_keeper"},
     SubmodelIsKnown},
    {{622, Error, Since(30), "A [Submodel] has the tables and triggers of its type",
      "Pulse tables and clamps belong to Dynamic_clamp; [Pulldown], [Pullup], [Ramp] and triggers "
      "to "
      "Bus_hold and Fall_back. Others are not used.",
      "a Bus_hold without [Ramp]"},
     SubmodelHasItsTables},
    {{624, Warning, Since(30),
      "Pulse tables have rising times, at most 100 rows, and begin and end at 0 V",
      "They shift a clamp for a while and let it go again.", "a pulse that stays at 0.5 V"},
     PulsesAreWhole},
};

void SubmodelSpecsFit(const IbisFile& file, Report& report)
{
    for (const Section* submodel : file.submodels) {
        SubmodelSpecFits(*submodel, report);
    }
    for (const Model& model : file.models) {
        TriggersAreWithinTheSupply(model, report);
    }
}

const Check<IbisFile> kFileChecks[] = {
    {{623, Warning, Since(30),
      "[Submodel Spec] has typical values and triggers within the supply; Off_delay is for "
      "Bus_hold",
      "A trigger outside of the supply never starts anything.", "V_trigger_r 5.0 at 3.3 V"},
     SubmodelSpecsFit},
    {{625, Note, Since(30), "Each [Submodel] is named by an [Add Submodel]",
      "What nobody names is left over.", "a [Submodel] of an earlier revision"},
     SubmodelsAreUsed},
};

}  // namespace

const RuleSet& SubmodelRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                TryAll(kModelChecks, model, file, findings);
            }
            for (const Section* submodel : file.submodels) {
                TryAll(kSubmodelChecks, *submodel, file, findings);
            }
            TryAll(kFileChecks, file, file, findings);
        },
        kModelChecks, kSubmodelChecks, kFileChecks);
    return set;
}

}  // namespace ibis
