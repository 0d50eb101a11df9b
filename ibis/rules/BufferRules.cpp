#include <algorithm>
#include <cmath>
#include <optional>

#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"

namespace ibis {
namespace {

using enum Severity;

/// A combined curve that falls where it must not.
struct WorstFall
{
    Fall fall;
    double share = 0;  ///< of the curve's largest current
    BufferState state = BufferState::Off;
    Corner corner = Corner::Typ;
};

const char* WordsFor(BufferState state)
{
    return state == BufferState::High  ? "driving high"
           : state == BufferState::Low ? "driving low"
                                       : "not driving";
}

/// States that a model of this type is ever in.
bool IsIn(const Model& model, BufferState state)
{
    const TypeTraits& type = model.Traits();
    return state == BufferState::High  ? model.pullup != nullptr
           : state == BufferState::Low ? model.pulldown != nullptr
                                       : type.enables || !type.drives;
}

/// The lower and the upper supply of a model's driver in a corner.
std::pair<double, double> RailsOf(const Model& model, Corner corner)
{
    return {model.PulldownVolts(corner), model.PullupVolts(corner)};
}

/// Looks between the rails, or else up to a supply's height beyond either.
std::optional<WorstFall> FindFall(const ModelAtRest& atRest, bool between)
{
    constexpr double kTolerance = 1e-4;
    WorstFall worst;
    for (const Corner corner : kCorners) {
        const auto [lower, upper] = RailsOf(*atRest.model, corner);
        const double height = upper - lower;
        for (const BufferState state : {BufferState::Off, BufferState::Low, BufferState::High}) {
            const PiecewiseLinear& current = atRest[corner].Current(state);
            if (!current || !(height > 0) || !IsIn(*atRest.model, state)) {
                continue;
            }
            const double peak = current.Peak(lower - height, upper + height);
            const auto look = [&](double low, double high) {
                const Fall fall = current.LargestFall(low, high);
                if (fall.Height() > std::max(worst.share, kTolerance) * peak) {
                    worst = {fall, fall.Height() / peak, state, corner};
                }
            };
            if (between) {
                look(lower, upper);
            } else {
                look(lower - height, lower);
                look(upper, upper + height);
            }
        }
    }
    return worst.share > 0 ? std::optional(worst) : std::nullopt;
}

/// The table that makes the difference.
Place PlaceOf(const Model& model, BufferState state)
{
    const Curve* const clamp = model.gndClamp ? model.gndClamp : model.powerClamp;
    const Curve* const table = state == BufferState::High  ? model.pullup
                               : state == BufferState::Low ? model.pulldown
                                                           : clamp;
    return table ? table->place : model.place;
}

void SayFall(const Model& model, const WorstFall& worst, std::string_view where, Report& report)
{
    const auto& [from, to] = worst.fall;
    report.Say(
        PlaceOf(model, worst.state),
        fmt::format("the current into '{}' {} falls from {} at {} to {} at {} ({}), {}", model.name,
                    WordsFor(worst.state), Amperes(from.y), Volts(from.x), Amperes(to.y),
                    Volts(to.x), Name(worst.corner), where),
        "driver and clamps together must not have a negative resistance: look how the clamps were "
        "subtracted");
}

void RisesBetweenSupplies(const ModelAtRest& atRest, Report& report)
{
    if (const auto worst = FindFall(atRest, true)) {
        SayFall(*atRest.model, *worst, "between its supplies", report);
    }
}

void RisesBeyondSupplies(const ModelAtRest& atRest, Report& report)
{
    if (const auto worst = FindFall(atRest, false)) {
        SayFall(*atRest.model, *worst, "beyond its supplies", report);
    }
}

bool Covers(const PiecewiseLinear& column, double x)
{
    return column && column.Points().front().x <= x && x <= column.Points().back().x;
}

void ClampsCarryCurrentsOfTheirOwn(const Model& model, Report& report)
{
    constexpr double kLeast = 100e-6, kTolerance = 0.02;
    if (!model.gndClamp || !model.powerClamp) {
        return;
    }
    const auto gnd = PiecewiseLinear::FromColumn(*model.gndClamp, Corner::Typ);
    const auto power = PiecewiseLinear::FromColumn(*model.powerClamp, Corner::Typ);
    const double lower = model.GndClampVolts(Corner::Typ);
    const double upper = model.PowerClampVolts(Corner::Typ);
    double peak = 0, at = 0;
    for (int tenth = 1; tenth <= 9; ++tenth) {
        const double volts = lower + 0.1 * tenth * (upper - lower);
        if (!Covers(gnd, volts - lower) || !Covers(power, upper - volts)) {
            return;
        }
        const double a = gnd(volts - lower), b = power(upper - volts);
        if (std::abs(a - b) > kTolerance * std::max(std::abs(a), std::abs(b))) {
            return;
        }
        at = std::abs(a) > std::abs(peak) ? volts : at;
        peak = std::abs(a) > std::abs(peak) ? a : peak;
    }
    if (std::abs(peak) > kLeast) {
        report.Say(model.powerClamp->place,
                   fmt::format("both clamps of '{}' carry the same current between the supplies, "
                               "{} at {} of the pad",
                               model.name, Amperes(peak), Volts(at)),
                   "divide the current between them: it is counted twice");
    }
}

/// At 0 V the table of currents over the reference's voltage is the driver with the whole supply
/// across it (IBIS 7.2, [ISSO PD]).
void TryIsso(const Model& model, const Curve* isso, const Curve* driver, const char* driverName,
             Report& report)
{
    constexpr double kSlack = 0.05, kTolerance = 0.02;
    if (!isso || isso->rows.empty()) {
        return;
    }
    if (!driver) {
        report.Say(
            isso->place,
            fmt::format("[{}] of '{}' stands without a [{}]", isso->title, model.name, driverName),
            "remove it: it describes that table's driver");
        return;
    }
    for (const Corner corner : kCorners) {
        const auto [lower, upper] = RailsOf(model, corner);
        const double height = upper - lower;
        const auto column = PiecewiseLinear::FromColumn(*isso, corner);
        const double own = column(0);
        const double drivers = PiecewiseLinear::FromColumn(*driver, corner)(height);
        const double reach = (1 - kSlack) * height;
        if (corner == Corner::Typ && column && !(Covers(column, -reach) && Covers(column, reach))) {
            report.Say(isso->place,
                       fmt::format("[{}] of '{}' goes from {} to {}; {} to {} are asked for",
                                   isso->title, model.name, Volts(column.Points().front().x),
                                   Volts(column.Points().back().x), Volts(-height), Volts(height)),
                       "sweep further");
            return;
        }
        if (std::abs(own - drivers) > kTolerance * std::abs(drivers)) {
            report.Say(isso->place,
                       fmt::format("[{}] of '{}' carries {} at 0 V ({}), its [{}] {} at {}",
                                   isso->title, model.name, Amperes(own), Name(corner), driverName,
                                   Amperes(drivers), Volts(height)),
                       "the two are the same state of the driver");
            return;
        }
    }
}

void IssoFitsTheDriver(const Model& model, Report& report)
{
    if (!model.Traits().ecl) {
        TryIsso(model, model.issoPd, model.pulldown, "Pulldown", report);
        TryIsso(model, model.issoPu, model.pullup, "Pullup", report);
    }
}

constexpr Check<Model> kModelChecks[] = {
    {{413,
      Warning,
      {},
      "The two clamps do not carry the same current between the supplies",
      "A resistive current that was swept with both clamps in place stands in both tables and is "
      "counted twice.",
      "a termination in [GND Clamp] and again in [POWER Clamp]"},
     ClampsCarryCurrentsOfTheirOwn},
    {{421, Warning, Since(50),
      "[ISSO PD] and [ISSO PU] cover -Vcc to Vcc and agree at 0 V with their driver at Vcc",
      "They are the currents of the same driver while its reference moves.",
      "an [ISSO PD] of 50 mA at 0 V beside a [Pulldown] of 132 mA at 3.3 V"},
     IssoFitsTheDriver},
};

constexpr Check<ModelAtRest> kRestChecks[] = {
    {{406,
      Warning,
      {},
      "Driver and clamps together never fall between the supplies",
      "A buffer of negative resistance makes a simulator oscillate or stop. Single columns need "
      "not rise: what was subtracted from one stands in another.",
      "40 mA at 1 V of the pad and 35 mA at 2 V"},
     RisesBetweenSupplies},
    {{407,
      Note,
      {},
      "Driver and clamps together never fall beyond the supplies",
      "As above, where only reflections reach.",
      "-200 mA at -1 V of the pad and -250 mA at -0.5 V"},
     RisesBeyondSupplies},
};

}  // namespace

const RuleSet& BufferRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                TryAll(kModelChecks, model, file, findings);
                if (const auto atRest = ModelAtRest::Of(model)) {
                    TryAll(kRestChecks, *atRest, file, findings);
                }
            }
        },
        kModelChecks, kRestChecks);
    return set;
}

}  // namespace ibis
