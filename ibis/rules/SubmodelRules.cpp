#include <algorithm>
#include <unordered_set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// [Submodel], [Submodel Spec] and [Add Submodel].
namespace ibis {
namespace {

using enum Severity;

bool IsOneOf(std::string_view word, std::initializer_list<const char*> known)
{
    const std::string lower = Lowercase(word);
    return std::any_of(known.begin(), known.end(), [&](const char* one) { return lower == one; });
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
    for (const Submodel& submodel : report.file.submodels) {
        known.emplace_back(submodel.name);
    }
    return NearestName(name.Text(), known);
}

void AddedSubmodelsExist(const Model& model, Report& report)
{
    for (const auto& [name, mode] : model.submodels) {
        if (!report.file.FindSubmodel(name.Text())) {
            const std::string nearest = NearestSubmodel(name, report);
            report.Say(name.Place(),
                       fmt::format("[Add Submodel] of '{}' names '{}', which is no [Submodel]",
                                   model.name, name.Text()),
                       nearest.empty() ? "define it" : fmt::format("did you mean {}?", nearest));
        }
        CheckMode(model, mode, report);
    }
}

/// A trigger that the pad never crosses.
void TriggersAreWithinTheSupply(const Model& model, Report& report)
{
    const double low = model.PulldownVolts(Corner::Typ), high = model.PullupVolts(Corner::Typ);
    for (const AddedSubmodel& added : model.submodels) {
        const Submodel* const submodel = report.file.FindSubmodel(added.name.Text());
        if (!submodel) {
            continue;
        }
        for (const auto& [trigger, at] : {std::pair("V_trigger_r", submodel->triggerRising),
                                          std::pair("V_trigger_f", submodel->triggerFalling)}) {
            if (at.at.typ < low || at.at.typ > high) {
                report.Count(fmt::format("{}/{}", submodel->name, trigger), at.place,
                             fmt::format("{} of [Submodel] '{}' is {}; '{}' swings from {} to {}",
                                         trigger, submodel->name, Volts(at.at.typ), model.name,
                                         Volts(low), Volts(high)),
                             "write a voltage that the pad crosses");
            }
        }
    }
}

void SubmodelIsKnown(const Submodel& submodel, Report& report)
{
    const Submodel* const first = report.file.FindSubmodel(submodel.name);
    if (first && first != &submodel && !submodel.name.empty()) {
        report.Say(submodel.place,
                   fmt::format("a second [Submodel] '{}'; the first is in line {}", submodel.name,
                               first->place.line),
                   "rename the one or the other");
    }
    const Word& type = submodel.typeWord;
    if (submodel.type == SubmodelType::Unknown) {
        report.Say(type ? type.Place() : submodel.place,
                   type ? fmt::format("Submodel_type of '{}' is '{}'", submodel.name, type.Text())
                        : fmt::format("[Submodel] '{}' has no Submodel_type", submodel.name),
                   "write Dynamic_clamp, Bus_hold or Fall_back");
    } else if (submodel.type == SubmodelType::FallBack) {
        report.SayIfNewer(Since(40), type.Place(), "Submodel_type Fall_back");
    }
}

/// Tables that a submodel of this type does not use.
void SayUnused(const Submodel& submodel, std::initializer_list<Key> keys, Report& report)
{
    for (const Key key : keys) {
        if (const Section* const table = submodel.section->Child(key)) {
            report.Say(Warning, table->place,
                       fmt::format("[{}] of [Submodel] '{}' is not used by its type {}",
                                   KeywordOf(key).name, submodel.name, submodel.typeWord.Text()),
                       "remove it, or correct Submodel_type");
        }
    }
}

void CheckClamp(const Submodel& submodel, Report& report)
{
    SayUnused(submodel,
              {Key::Pulldown, Key::Pullup, Key::Ramp, Key::RisingWaveform, Key::FallingWaveform},
              report);
    if (!submodel.section->Child(Key::GndClamp) && !submodel.section->Child(Key::PowerClamp)) {
        report.Say(submodel.place,
                   fmt::format("[Submodel] '{}' of type Dynamic_clamp has neither [GND Clamp] nor "
                               "[POWER Clamp]",
                               submodel.name),
                   "add the clamps");
    }
    for (const auto& [pulse, clamp, trigger, volts] :
         {std::tuple{Key::GndPulseTable, Key::GndClamp, "V_trigger_f", &submodel.triggerFalling},
          {Key::PowerPulseTable, Key::PowerClamp, "V_trigger_r", &submodel.triggerRising}}) {
        const Section* const table = submodel.section->Child(pulse);
        if (table && (!submodel.section->Child(clamp) || !*volts)) {
            report.Say(Warning, table->place,
                       fmt::format("[{}] of [Submodel] '{}' stands without {}",
                                   KeywordOf(pulse).name, submodel.name,
                                   submodel.section->Child(clamp)
                                       ? trigger
                                       : fmt::format("[{}]", KeywordOf(clamp).name)),
                       "add what it shifts and what starts it");
        }
    }
}

/// Of Bus_hold and Fall_back.
void CheckTriggered(const Submodel& submodel, Report& report)
{
    const std::string of =
        fmt::format("[Submodel] '{}' of type {}", submodel.name, submodel.typeWord.Text());
    SayUnused(submodel, {Key::GndPulseTable, Key::PowerPulseTable, Key::GndClamp, Key::PowerClamp},
              report);
    if (!submodel.section->Child(Key::Pulldown) && !submodel.section->Child(Key::Pullup)) {
        report.Say(submodel.place, of + " has neither [Pulldown] nor [Pullup]", "add the tables");
    }
    if (!submodel.section->Child(Key::Ramp)) {
        report.Say(submodel.place, of + " has no [Ramp]", "add it");
    }
    if (!submodel.triggerRising && !submodel.triggerFalling) {
        report.Say(submodel.place, of + " has neither V_trigger_r nor V_trigger_f",
                   "state them in [Submodel Spec]");
    }
}

void SubmodelHasItsTables(const Submodel& submodel, Report& report)
{
    if (submodel.type == SubmodelType::DynamicClamp) {
        CheckClamp(submodel, report);
    } else if (submodel.type != SubmodelType::Unknown) {
        CheckTriggered(submodel, report);
    }
}

void SubmodelSpecFits(const Submodel& submodel, Report& report)
{
    const Section* const spec = submodel.spec;
    for (size_t i = 0; spec && i < spec->settings.size(); ++i) {
        const Setting& setting = spec->settings[i];
        if (TypIsNa(setting.Values())) {
            report.Say(setting.Place(),
                       fmt::format("{} of [Submodel] '{}' is NA as its typical value",
                                   setting.known->name, submodel.name),
                       "write the typical value");
        }
    }
    if (submodel.offDelay &&
        (submodel.type == SubmodelType::DynamicClamp || submodel.type == SubmodelType::FallBack)) {
        report.Say(submodel.offDelay.place,
                   fmt::format("Off_delay of [Submodel] '{}' is for Bus_hold only", submodel.name),
                   "remove it, or correct Submodel_type");
    }
}

void CheckPulse(const Submodel& submodel, const Curve& pulse, Report& report)
{
    const std::string name = fmt::format("[{}] of [Submodel] '{}'", pulse.title, submodel.name);
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

void PulsesAreWhole(const Submodel& submodel, Report& report)
{
    for (const Key key : {Key::GndPulseTable, Key::PowerPulseTable}) {
        if (const Section* const table = submodel.section->Child(key)) {
            CheckPulse(submodel, table->curve, report);
        }
    }
}

void SubmodelsAreUsed(const IbisFile& file, Report& report)
{
    std::unordered_set<std::string_view> used;
    for (const Model& model : file.models) {
        for (const AddedSubmodel& added : model.submodels) {
            used.insert(added.name.Text());
        }
    }
    for (const Submodel& submodel : file.submodels) {
        if (!submodel.name.empty() && !used.contains(submodel.name)) {
            report.Count("", submodel.place,
                         fmt::format("no [Add Submodel] names [Submodel] '{}'", submodel.name));
        }
    }
}

constexpr Check<Model> kModelChecks[] = {
    {{620, Error, Since(30), "[Add Submodel] names submodels that there are, and their modes",
      "The modes are Driving, Non-Driving and All.", "[Add Submodel] with 'Keeper NonDriving'"},
     AddedSubmodelsExist},
};

constexpr Check<Submodel> kSubmodelChecks[] = {
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
    for (const Submodel& submodel : file.submodels) {
        SubmodelSpecFits(submodel, report);
    }
    for (const Model& model : file.models) {
        TriggersAreWithinTheSupply(model, report);
    }
}

constexpr Check<IbisFile> kFileChecks[] = {
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
            for (const Submodel& submodel : file.submodels) {
                TryAll(kSubmodelChecks, submodel, file, findings);
            }
            TryAll(kFileChecks, file, file, findings);
        },
        kModelChecks, kSubmodelChecks, kFileChecks);
    return set;
}

}  // namespace ibis
