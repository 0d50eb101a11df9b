#include <algorithm>

#include "ibis/physics/PiecewiseLinear.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Units.hpp"

/// Elements between two pins: Series and Series_switch (IBIS 7.2 chapter 6).
namespace ibis {
namespace {

using enum Severity;

constexpr Key kSeriesKeys[] = {Key::RSeries,  Key::LSeries,  Key::RlSeries,      Key::CSeries,
                               Key::LcSeries, Key::RcSeries, Key::SeriesCurrent, Key::SeriesMosfet};

/// The first series keyword directly below a section, or null.
const Section* SeriesElement(const Section& below)
{
    const auto found =
        std::find_if(below.children.begin(), below.children.end(), [](const Section& child) {
            return std::any_of(std::begin(kSeriesKeys), std::end(kSeriesKeys),
                               [&](Key key) { return child.Is(key); });
        });
    return found == below.children.end() ? nullptr : &*found;
}

/// [Rl Series] is in series with [L Series], [Lc Series] and [Rc Series] with [C Series].
void CheckSeriesPairs(const Model& model, const Section& below, Report& report)
{
    for (const auto& [key, with] : {std::pair{Key::RlSeries, Key::LSeries},
                                    {Key::LcSeries, Key::CSeries},
                                    {Key::RcSeries, Key::CSeries}}) {
        const Section* const element = below.Child(key);
        if (element && !below.Child(with)) {
            report.Say(Warning, element->place,
                       fmt::format("[{}] of '{}' stands without [{}]", KeywordOf(key).name,
                                   model.name, KeywordOf(with).name),
                       "state both: they are in series");
        }
    }
}

void SeriesElementsFit(const Model& model, Report& report)
{
    const Section* const element = SeriesElement(*model.section);
    const bool isSwitch = model.type == ModelType::SeriesSwitch;
    if (model.type == ModelType::Unknown || model.external) {
        return;
    }
    if (element && model.type != ModelType::Series) {
        report.Say(
            element->place,
            fmt::format("[{}] of '{}' stands {}", element->keyword->name, model.name,
                        isSwitch ? "outside of [On] and [Off]"
                                 : fmt::format("in a model of type {}", model.Traits().name)),
            isSwitch ? "move it below [On] or [Off]" : "only Series and Series_switch may have it");
    }
    if (!element && model.type == ModelType::Series) {
        report.Say(model.place, fmt::format("[Model] '{}' has no series element", model.name),
                   "add one, such as [R Series]");
    }
    CheckSeriesPairs(model, *model.section, report);
    for (const Key key : {Key::On, Key::Off}) {
        const Section* const state = model.section->Child(key);
        if (state && isSwitch) {
            if (!SeriesElement(*state)) {
                report.Say(key == Key::On ? Error : Note, state->place,
                           fmt::format("[{}] of '{}' has no series element", KeywordOf(key).name,
                                       model.name),
                           "add one, such as [R Series]");
            }
            CheckSeriesPairs(model, *state, report);
        }
    }
}

void SwitchHasBothStates(const Model& model, Report& report)
{
    for (const Key key : {Key::On, Key::Off}) {
        const Section* const state = model.section->Child(key);
        const bool isSwitch = model.type == ModelType::SeriesSwitch;
        if (isSwitch && !state && !model.external) {
            report.Say(model.place,
                       fmt::format("[Model] '{}' of type Series_switch has no [{}]", model.name,
                                   KeywordOf(key).name),
                       "describe both states");
        } else if (state && !isSwitch && model.type != ModelType::Unknown) {
            report.Say(state->place,
                       fmt::format("[{}] of '{}' stands in a model of type {}", KeywordOf(key).name,
                                   model.name, model.Traits().name),
                       "only a Series_switch may have it");
        }
    }
}

bool HaveSameVoltages(const Curve& a, const Curve& b)
{
    return std::equal(a.rows.begin(), a.rows.end(), b.rows.begin(), b.rows.end(),
                      [](const Curve::Row& one, const Curve::Row& other) {
                          return std::abs(one.x - other.x) <= 1e-6 * std::abs(one.x);
                      });
}

void SeriesMosfetsFit(const Model& model, Report& report)
{
    for (const Section* below :
         {model.section, model.section->Child(Key::On), model.section->Child(Key::Off)}) {
        if (!below) {
            continue;
        }
        const auto tables = below->Children(Key::SeriesMosfet);
        for (const Section* table : tables) {
            if (!table->Find("Vds")) {
                report.Say(table->place,
                           fmt::format("[Series MOSFET] of '{}' has no Vds", model.name),
                           "write Vds = and the voltage that the table was measured at");
            } else if (!HaveSameVoltages(tables[0]->curve, table->curve)) {
                report.Count(Note, std::to_string(below->place.line), table->place,
                             fmt::format("[Series MOSFET] of '{}' has other voltages in its first "
                                         "column than the table of line {}",
                                         model.name, tables[0]->place.line));
            }
        }
        if (tables.size() > 100) {
            report.Say(tables[100]->place,
                       fmt::format("'{}' has {} tables [Series MOSFET], at most 100 are allowed",
                                   model.name, tables.size()),
                       "leave some out");
        }
    }
}

/// What flows at the outermost voltage that the table has on both sides, as a share of the larger.
void SeriesCurrentIsSymmetric(const Model& model, Report& report)
{
    for (const Section* below :
         {model.section, model.section->Child(Key::On), model.section->Child(Key::Off)}) {
        const Section* const table = below ? below->Child(Key::SeriesCurrent) : nullptr;
        const PiecewiseLinear current =
            table ? PiecewiseLinear::FromColumn(table->curve, Corner::Typ) : PiecewiseLinear();
        if (!current) {
            continue;
        }
        const double reach = std::min(-current.Points().front().x, current.Points().back().x);
        const double ahead = current(reach), back = current(-reach);
        if (reach > 0 && std::abs(ahead + back) > 0.2 * std::max(std::abs(ahead), std::abs(back))) {
            report.Say(table->place,
                       fmt::format("[Series Current] of '{}' is {} at {} and {} at {}", model.name,
                                   Amperes(ahead), Volts(reach), Amperes(back), Volts(-reach)),
                       "a part without a direction has the same current both ways");
        }
    }
}

constexpr Check<Model> kChecks[] = {
    {{357, Error, Since(30),
      "Series elements stand in models of type Series, or below the states of a Series_switch",
      "Each state needs an element; [Rl Series] needs [L Series], [Lc Series] and [Rc Series] need "
      "[C Series].",
      "[R Series] in an Input"},
     SeriesElementsFit},
    {{358, Error, Since(30), "A Series_switch has [On] and [Off], and nothing else has",
      "They describe the switch's two states.", "a Series_switch without [Off]"},
     SwitchHasBothStates},
    {{359, Error, Since(30),
      "Each [Series MOSFET] states its Vds, and there are at most 100 in a state",
      "Its currents belong to that voltage between drain and source.",
      "[Series MOSFET] without Vds"},
     SeriesMosfetsFit},
    {{640, Note, Since(30), "[Series Current] is symmetric about 0 V",
      "A switch or resistor between two pins has no direction.", "-1 V: -10 mA, 1 V: 20 mA"},
     SeriesCurrentIsSymmetric},
};

}  // namespace

const RuleSet& SeriesRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::models, kChecks>();
    return set;
}

}  // namespace ibis
