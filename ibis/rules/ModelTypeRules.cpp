#include <algorithm>

#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"

/// Which tables each type of model needs, and which it may not have (IBIS 7.2 chapter 6).
namespace ibis {
namespace {

using enum Severity;

enum class Need : char {
    Required,
    Allowed,
    Zero,  ///< allowed where it carries no current
    Forbidden
};
using enum Need;

struct TypeNeeds
{
    ModelType type;
    Need pulldown, pullup, clamps, ramp, waveforms;
};

// clang-format off
constexpr TypeNeeds kNeeds[] = {
    //                           [Pulldown] [Pullup]   clamps     [Ramp]     waveforms
    {ModelType::Input,           Forbidden, Forbidden, Allowed,   Forbidden, Forbidden},
    {ModelType::Output,          Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::IO,              Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::ThreeState,      Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::OpenDrain,       Required,  Zero,      Allowed,   Required,  Allowed},
    {ModelType::OpenSink,        Required,  Zero,      Allowed,   Required,  Allowed},
    {ModelType::OpenSource,      Zero,      Required,  Allowed,   Required,  Allowed},
    {ModelType::IOOpenDrain,     Required,  Zero,      Allowed,   Required,  Allowed},
    {ModelType::IOOpenSink,      Required,  Zero,      Allowed,   Required,  Allowed},
    {ModelType::IOOpenSource,    Zero,      Required,  Allowed,   Required,  Allowed},
    {ModelType::InputEcl,        Forbidden, Forbidden, Allowed,   Forbidden, Forbidden},
    {ModelType::OutputEcl,       Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::IOEcl,           Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::ThreeStateEcl,   Required,  Required,  Allowed,   Required,  Allowed},
    {ModelType::Terminator,      Forbidden, Forbidden, Allowed,   Forbidden, Forbidden},
    {ModelType::Series,          Forbidden, Forbidden, Forbidden, Forbidden, Forbidden},
    {ModelType::SeriesSwitch,    Forbidden, Forbidden, Forbidden, Forbidden, Forbidden},
    // The examples of true differential drivers in the standard have a [Ramp].
    {ModelType::InputDiff,       Forbidden, Forbidden, Forbidden, Forbidden, Forbidden},
    {ModelType::OutputDiff,      Forbidden, Forbidden, Forbidden, Allowed,   Forbidden},
    {ModelType::IODiff,          Forbidden, Forbidden, Forbidden, Allowed,   Forbidden},
    {ModelType::ThreeStateDiff,  Forbidden, Forbidden, Forbidden, Allowed,   Forbidden},
};
// clang-format on

/// A table that a type has something to say about.
struct Stated
{
    std::string_view name;
    const Curve* curve;  ///< null: it is not there
    Need need;
};

/// Of a type that is known; empty otherwise.
std::vector<Stated> TablesOf(const Model& model)
{
    const auto* const needs =
        std::find_if(std::begin(kNeeds), std::end(kNeeds),
                     [&](const TypeNeeds& row) { return row.type == model.type; });
    if (needs == std::end(kNeeds)) {
        return {};
    }
    std::vector<Stated> tables{{"Pulldown", model.pulldown, needs->pulldown},
                               {"Pullup", model.pullup, needs->pullup},
                               {"GND Clamp", model.gndClamp, needs->clamps},
                               {"POWER Clamp", model.powerClamp, needs->clamps},
                               {"ISSO PD", model.issoPd, needs->waveforms},
                               {"ISSO PU", model.issoPu, needs->waveforms}};
    if (model.ramp) {
        tables.push_back({"Ramp", &model.ramp->section->curve, needs->ramp});
    }
    for (const Waveform& waveform : model.waveforms) {
        tables.push_back({waveform.curve->title, waveform.curve, needs->waveforms});
    }
    return tables;
}

bool CarriesNothing(const Curve& curve)
{
    return std::all_of(curve.rows.begin(), curve.rows.end(), [](const Curve::Row& row) {
        return !(row.y.typ != 0 && row.y.Has(Corner::Typ)) &&
               !(row.y.min != 0 && row.y.Has(Corner::Min)) &&
               !(row.y.max != 0 && row.y.Has(Corner::Max));
    });
}

void HasItsTables(const Model& model, Report& report)
{
    if (model.external || !model.schedule.empty()) {
        return;
    }
    for (const Stated& table : TablesOf(model)) {
        if (table.need == Required && !table.curve) {
            report.Say(model.place,
                       fmt::format("[Model] '{}' of type {} has no [{}]", model.name,
                                   model.Traits().name, table.name),
                       fmt::format("add the table, or correct Model_type {}", model.Traits().name));
        }
    }
}

void HasNoOtherTables(const Model& model, Report& report)
{
    for (const Stated& table : TablesOf(model)) {
        if (table.need == Forbidden && table.curve) {
            // Beside an [External Model] the tables are for simulators that cannot use that.
            const Place place =
                table.name == "Ramp" ? model.ramp->section->place : table.curve->place;
            report.Count(model.external ? Note : Error,
                         fmt::format("{}/{}", model.place.line, table.name), place,
                         fmt::format("[Model] '{}' of type {} has [{}]", model.name,
                                     model.Traits().name, table.name),
                         "remove it, or correct Model_type");
        }
    }
}

void OpenSideIsOpen(const Model& model, Report& report)
{
    for (const Stated& table : TablesOf(model)) {
        if (table.need == Zero && table.curve) {
            const bool zero = CarriesNothing(*table.curve);
            report.Say(
                zero ? Note : Warning, table.curve->place,
                fmt::format("[Model] '{}' of type {} has {}[{}]", model.name, model.Traits().name,
                            zero ? "an empty " : "currents in ", table.name),
                zero ? "leave it out" : "remove it, or choose a Model_type that drives both ways");
        }
    }
}

void DriverHasRamp(const Model& model, Report& report)
{
    if (model.Traits().drives && !model.ramp && !model.external) {
        report.Say(
            model.place,
            fmt::format("[Model] '{}' of type {} has no [Ramp]", model.name, model.Traits().name),
            "state dV/dt_r and dV/dt_f, also where there are waveforms");
    }
}

void PadHasCurrent(const Model& model, Report& report)
{
    const TypeTraits& type = model.Traits();
    const bool isTerminator = model.type == ModelType::Terminator;
    const bool resistors = model.rgnd || model.rpower || model.rac;
    const bool looked = type.receives || type.enables || isTerminator;
    if (!looked || type.differential || model.external || resistors || model.gndClamp ||
        model.powerClamp || !model.submodels.empty() ||
        report.file.scheduled.contains(model.name)) {
        return;
    }
    report.Say(model.place,
               fmt::format("[Model] '{}' of type {} has neither [GND Clamp] nor [POWER Clamp]: "
                           "its pad takes no current{}",
                           model.name, type.name, isTerminator ? "" : " when it does not drive"),
               "add the clamps");
}

void TerminatorsResistorsFit(const Model& model, Report& report)
{
    const bool isTerminator = model.type == ModelType::Terminator;
    for (const auto& [key, value] : {std::pair{Key::Rgnd, &model.rgnd},
                                     {Key::Rpower, &model.rpower},
                                     {Key::Rac, &model.rac},
                                     {Key::Cac, &model.cac}}) {
        if (!*value) {
            continue;
        }
        const std::string name = fmt::format("[{}] of '{}'", KeywordOf(key).name, model.name);
        if (!isTerminator && model.type != ModelType::Unknown) {
            report.Say(value->place,
                       fmt::format("{} stands in a model of type {}", name, model.Traits().name),
                       "only a Terminator may have it");
        } else if (TypIsNa(model.section->Child(key)->arguments) || HasNegative(value->at)) {
            report.Say(value->place, fmt::format("{} has {}", name, CornersText(value->at, "")),
                       "write values that are not negative, typ not NA");
        }
    }
    if (isTerminator && static_cast<bool>(model.rac) != static_cast<bool>(model.cac)) {
        report.Say(model.rac ? model.rac.place : model.cac.place,
                   fmt::format("[{}] of '{}' stands without [{}]", model.rac ? "Rac" : "Cac",
                               model.name, model.rac ? "Cac" : "Rac"),
                   "state both: they are in series");
    }
}

void DifferentialIsExternal(const Model& model, Report& report)
{
    if (model.Traits().differential && !model.external) {
        report.Say(
            model.place,
            fmt::format("[Model] '{}' of type {} has no [External Model]", model.name,
                        model.Traits().name),
            "add it, or describe each pin by a model of its own and pair them in [Diff Pin]");
    }
}

/// The usual load of an emitter follower is 50 ohm to 2 V below the upper supply.
void EclSwings(const Model& model, Report& report)
{
    if (!model.Traits().ecl || !model.Traits().drives) {
        return;
    }
    const auto atRest = ModelAtRest::Of(model);
    const double swing =
        atRest ? (*atRest)[Corner::Typ].Swing({50.0, model.PullupVolts(Corner::Typ) - 2.0}) : NAN;
    if (swing < 0.2 || swing > 1.6) {
        report.Say(
            model.place,
            fmt::format("[Model] '{}' of type {} swings {} into 50 ohm to 2 V below its "
                        "supply, where about 0.8 V are usual",
                        model.name, model.Traits().name, Volts(swing)),
            "both driver tables are relative to the upper supply: check them and Model_type");
    }
}

constexpr Check<Model> kChecks[] = {
    {{350,
      Error,
      {},
      "A model has the I-V tables that its type needs, or an [External Model]",
      "A driver cannot be simulated without them.",
      "an I/O without [Pulldown]"},
     HasItsTables},
    {{351,
      Error,
      {},
      "A model has no table that its type may not have",
      "Either the table or Model_type is wrong.",
      "[Ramp] in an Input"},
     HasNoOtherTables},
    {{352,
      Warning,
      {},
      "A model of an open type has no table for the side that it does not drive",
      "An all-zero table does no harm; one with currents contradicts the type.",
      "an Open_drain with currents in [Pullup]"},
     OpenSideIsOpen},
    {{353,
      Error,
      {},
      "A model that drives has a [Ramp]",
      "The standard asks for it even where there are waveforms.",
      "an Output without [Ramp]"},
     DriverHasRamp},
    {{354,
      Warning,
      {},
      "A model that can be driven has clamps",
      "Without them its pad takes no current at any voltage, and nothing limits overshoot.",
      "an Input without [GND Clamp] and [POWER Clamp]"},
     PadHasCurrent},
    {{356,
      Error,
      {},
      "[Rgnd], [Rpower], [Rac] and [Cac] stand in a Terminator, [Rac] and [Cac] together",
      "No other type may have them.",
      "[Rgnd] in an Input"},
     TerminatorsResistorsFit},
    {{360, Error, Since(41), "A true differential model has an [External Model]",
      "No table can describe it.", "an Output_diff without [External Model]"},
     DifferentialIsExternal},
    {{361,
      Warning,
      {},
      "An ECL driver swings 0.2 V to 1.6 V into 50 ohm to 2 V below its supply",
      "Both of its driver tables are relative to the upper supply; read so, tables of another kind "
      "give another swing.",
      "CMOS tables in an Output_ECL"},
     EclSwings},
};

}  // namespace

const RuleSet& ModelTypeRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::models, kChecks>();
    return set;
}

}  // namespace ibis
