#include <algorithm>
#include <cmath>

#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"

namespace ibis {
namespace {

using enum Severity;

PiecewiseLinear Column(const IvTable& table, Corner corner)
{
    return PiecewiseLinear::FromColumn(*table.curve, corner);
}

bool IsZero(const Curve& table, Corner corner)
{
    return std::all_of(table.rows.begin(), table.rows.end(),
                       [corner](const Curve::Row& row) { return row.y.Or(corner) == 0; });
}

bool IsZero(const IvTable& table)
{
    return std::all_of(std::begin(kCorners), std::end(kCorners),
                       [&](Corner corner) { return IsZero(*table.curve, corner); });
}

bool IsEcl(const IvTable& table)
{
    return table.model->Traits().ecl;
}

/// A table that should be below the upper supply and is written over the pad's voltage: no current
/// at the supply, its currents where the pad is low (pull-up) or above the supply (clamp).
bool IsWrittenOverPad(const IvTable& table)
{
    const PiecewiseLinear column = Column(table, Corner::Typ);
    if (!table.upper || !(table.supply > 0) || !column || !RunsBackwards(table)) {
        return false;
    }
    const double last = column.Points().back().x;
    const double conducting = table.driver                ? std::abs(column(0))
                              : last > 1.1 * table.supply ? std::abs(column(last))
                                                          : 0.0;
    return std::abs(column(table.supply)) < 0.05 * conducting;
}

void RunsTheRightWay(const IvTable& table, Report& report)
{
    const auto found = RunsBackwards(table);
    if (!found || IsWrittenOverPad(table)) {
        return;
    }
    report.Say(
        table.curve->place,
        fmt::format("{} {} from {} at {} to {} at {} ({})", table.Name(),
                    table.falls ? "rises" : "falls", Amperes(found->from.y), Volts(found->from.x),
                    Amperes(found->to.y), Volts(found->to.x), Name(found->corner)),
        fmt::format("its voltage is measured {}, its currents count into the pad: they {}",
                    table.falls ? "down from the upper supply" : "up from the reference",
                    table.falls ? "fall" : "rise"));
}

void VoltageIsBelowSupply(const IvTable& table, Report& report)
{
    if (IsWrittenOverPad(table)) {
        report.Say(table.curve->place,
                   fmt::format("{} carries no current at {}, the supply, as if its voltage were "
                               "the pad's",
                               table.Name(), Volts(table.supply)),
                   "write the supply's voltage less the pad's in its first column");
    }
}

struct Range
{
    double low = 0, high = 0;
};

/// What the standard asks a table to cover (IBIS 7.2, [Pulldown] to [POWER Clamp]).
Range RangeOf(const IvTable& table)
{
    const double supply = table.supply;
    return {-supply, table.driver ? 2 * supply : table.upper ? 0.0 : supply};
}

/// Speaks about tables of which more than one share and at most another is missing at an end.
void RangeLacks(const IvTable& table, double more, double atMost, Report& report)
{
    const PiecewiseLinear column = Column(table, Corner::Typ);
    if (!column || !(table.supply > 0) || IsEcl(table) || IsZero(table) ||
        IsWrittenOverPad(table)) {
        return;
    }
    const Range asked = RangeOf(table);
    const double first = column.Points().front().x, last = column.Points().back().x;
    const double lowShare = (first - asked.low) / table.supply;
    const double highShare = (asked.high - last) / std::max(asked.high, table.supply);
    const double share = std::max(lowShare, highShare);
    if (share > more && share <= atMost) {
        report.Say(table.curve->place,
                   fmt::format("{} goes from {} to {}; {} to {} are asked for", table.Name(),
                               Volts(first), Volts(last), Volts(asked.low), Volts(asked.high)),
                   "sweep further: reflections reach there");
    }
}

void CoversItsRange(const IvTable& table, Report& report)
{
    RangeLacks(table, 0.1, INFINITY, report);
}

void NearlyCoversItsRange(const IvTable& table, Report& report)
{
    RangeLacks(table, 0.05, 0.1, report);
}

/// The corner of the largest current at 0 V of the table, and that current.
std::pair<Corner, double> LargestAtZero(const IvTable& table)
{
    std::pair<Corner, double> largest{Corner::Typ, 0.0};
    for (const Corner corner : kCorners) {
        const PiecewiseLinear column = Column(table, corner);
        const bool covered =
            column && column.Points().front().x <= 0 && column.Points().back().x >= 0;
        if (covered && std::abs(column(0)) > std::abs(largest.second)) {
            largest = {corner, column(0)};
        }
    }
    return largest;
}

void ClampRestsAtZero(const IvTable& table, Report& report)
{
    const auto [corner, current] = LargestAtZero(table);
    if (table.driver || table.model->type == ModelType::Terminator || std::abs(current) <= 1e-6) {
        return;
    }
    report.Say(
        std::abs(current) > 1e-3 ? Warning : Note, table.curve->place,
        fmt::format("{} carries {} at 0 V ({})", table.Name(), Amperes(current), Name(corner)),
        "a termination may stand there; a clamp alone carries nothing");
}

void DriverRestsAtZero(const IvTable& table, Report& report)
{
    const auto [corner, current] = LargestAtZero(table);
    const double size = std::abs(current);
    if (!table.driver || IsEcl(table) || size <= 1e-3) {
        return;
    }
    const PiecewiseLinear column = Column(table, corner);
    const double peak = column.Peak(column.Points().front().x, column.Points().back().x);
    if (size > 0.02 * peak) {
        report.Say(
            table.curve->place,
            fmt::format("{} carries {} at 0 V ({}), {:.2g} % of its largest current {}",
                        table.Name(), Amperes(current), Name(corner), 100 * size / peak,
                        Amperes(peak)),
            "subtract the clamps' and terminations' currents, unless it is a current source");
    }
}

void CornersAreInOrderOfStrength(const IvTable& table, Report& report)
{
    constexpr double kLeast = 1e-3, kTolerance = 1.05;
    if (!table.driver || IsEcl(table) || !(table.supply > 0)) {
        return;
    }
    const double half = table.supply / 2;
    const double typ = std::abs(Column(table, Corner::Typ)(half));
    const double min = std::abs(Column(table, Corner::Min)(half));
    const double max = std::abs(Column(table, Corner::Max)(half));
    const bool swapped = min > kTolerance * typ && typ > kTolerance * max;
    const bool odd = min > kTolerance * typ || typ > kTolerance * max;
    if (typ < kLeast || !odd) {
        return;
    }
    report.Say(swapped ? Warning : Note, table.curve->place,
               fmt::format("{} carries {} (typ), {} (min) and {} (max) at {}", table.Name(),
                           Amperes(typ), Amperes(min), Amperes(max), Volts(half)),
               "min is the column of the weak corner, max that of the strong one");
}

void CurrentsAreOfThisWorld(const IvTable& table, Report& report)
{
    constexpr double kMost = 20.0;
    for (const Corner corner : kCorners) {
        const PiecewiseLinear column = Column(table, corner);
        if (!column || !(table.supply > 0)) {
            return;
        }
        const double low = std::max(-table.supply, column.Points().front().x);
        const double high = std::min(2 * table.supply, column.Points().back().x);
        const double peak = low < high ? column.Peak(low, high) : 0.0;
        if (peak > kMost) {
            report.Say(table.curve->place,
                       fmt::format("{} reaches {:.3g} A ({})", table.Name(), peak, Name(corner)),
                       "limit the current of an extrapolated diode");
            return;
        }
    }
}

void ColumnsAreNotZero(const IvTable& table, Report& report)
{
    const TypeTraits& type = table.model->Traits();
    const bool unused = table.driver && !(table.upper ? type.pullsUp : type.pullsDown);
    std::string zero;
    for (const Corner corner : kCorners) {
        if (IsZero(*table.curve, corner)) {
            zero += (zero.empty() ? "" : ", ") + std::string(Name(corner));
        }
    }
    if (!zero.empty() && !unused) {
        report.Say(table.curve->place,
                   fmt::format("{} is zero throughout ({})", table.Name(), zero),
                   "leave a table out that has no current");
    }
}

void CurveHasPoints(const IvTable& table, Report& report)
{
    constexpr std::ptrdiff_t kLeast = 5;
    if (!table.driver || !(table.supply > 0) || IsZero(table)) {
        return;
    }
    const auto& rows = table.curve->rows;
    const auto within = std::count_if(rows.begin(), rows.end(), [&](const Curve::Row& row) {
        return row.x >= 0 && row.x <= table.supply;
    });
    if (within < kLeast) {
        report.Say(table.curve->place,
                   fmt::format("{} has {} rows between 0 V and {}", table.Name(), within,
                               Volts(table.supply)),
                   "a driver's curve wants at least 5");
    }
}

void ResistanceIsOfADriver(const IvTable& table, Report& report)
{
    constexpr double kLeast = 0.1, kMost = 1000.0;
    const PiecewiseLinear column = Column(table, Corner::Typ);
    if (!table.driver || IsEcl(table) || !(table.supply > 0) || !column || IsZero(table)) {
        return;
    }
    const double volts = 0.1 * table.supply;
    const double ohms = volts / std::abs(column(volts) - column(0));
    if (ohms < kLeast || ohms > kMost) {
        report.Say(ohms < kLeast ? Warning : Note, table.curve->place,
                   fmt::format("{} is {} near 0 V (typ); drivers are between {} and {}",
                               table.Name(), Ohms(ohms), Ohms(kLeast), Ohms(kMost)),
                   "check the unit of its currents");
    }
}

constexpr Check<IvTable> kChecks[] = {
    {{408,
      Warning,
      {},
      "[Pulldown] and [GND Clamp] rise with their voltage, [Pullup] and [POWER Clamp] fall",
      "Currents count into the pad and a buffer gives no energy away; upper tables are measured "
      "downwards, and so is [Pulldown] of an ECL type.",
      "a [POWER Clamp] from +1.3 mA at -3.3 V to +2.3 mA at 0 V"},
     RunsTheRightWay},
    {{409,
      Warning,
      {},
      "[Pullup] and [POWER Clamp] are written over the supply's voltage less the pad's",
      "A table that was not converted puts the pull-up's current where its voltage is zero.",
      "a [Pullup] without current at 3.3 V and with -130 mA at 0 V"},
     VoltageIsBelowSupply},
    {{410,
      Warning,
      {},
      "I-V tables cover what the standard asks for: [Pulldown] and [Pullup] -Vcc to 2 Vcc, "
      "[GND Clamp] -Vcc to Vcc, [POWER Clamp] -Vcc to 0",
      "Reflections drive the pad beyond its supplies, where simulators extrapolate as they like.",
      "a [Pulldown] that begins at 0 V"},
     CoversItsRange},
    {{411,
      Note,
      {},
      "I-V tables cover their range to the last tenth",
      "As above; less than a tenth is missing.",
      "a [Pulldown] that ends at 6.1 V of 6.6 V"},
     NearlyCoversItsRange},
    {{412,
      Warning,
      {},
      "A clamp carries no current at 0 V of its table",
      "What it carries there is a termination or a pull-up: legal, but counted twice if it stands "
      "in both clamps. Up to 1 mA it is a note.",
      "a [GND Clamp] of -5 mA at 0 V"},
     ClampRestsAtZero},
    {{414,
      Warning,
      {},
      "[Pulldown] and [Pullup] carry no current at 0 V of their tables",
      "It is what clamps or terminations carry and was not subtracted, and will be counted twice.",
      "a [Pulldown] of 4 mA at 0 V"},
     DriverRestsAtZero},
    {{415,
      Warning,
      {},
      "A driver is weakest in min and strongest in max",
      "Corners that were swapped are noticed in timing only. One column out of order is a note.",
      "0.018 A (typ), 0.020 A (min) and 0.016 A (max)"},
     CornersAreInOrderOfStrength},
    {{416,
      Note,
      {},
      "No current within the range of an I-V table is above 20 A",
      "Extrapolated exponentials upset the solver of a simulator.",
      "-3.3V -6e17A"},
     CurrentsAreOfThisWorld},
    {{417,
      Note,
      {},
      "No column of an I-V table is zero throughout",
      "A placeholder looks like data.",
      "a [POWER Clamp] of zeros"},
     ColumnsAreNotZero},
    {{419,
      Note,
      {},
      "A driver's table has at least 5 rows between 0 V and its supply",
      "Fewer are straight lines where transistors bend.",
      "a [Pulldown] with rows at 0 V and 3.3 V only"},
     CurveHasPoints},
    {{420,
      Warning,
      {},
      "A driver is between 0.1 ohm and 1000 ohm near 0 V of its table",
      "Below it is a lost unit; above (a note) it drives nothing.",
      "a [Pulldown] in A that was meant in mA"},
     ResistanceIsOfADriver},
};

}  // namespace

const RuleSet& IvTableRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                for (const IvTable& table : IvTablesOf(model)) {
                    TryAll(kChecks, table, file, findings);
                }
            }
        },
        kChecks);
    return set;
}

}  // namespace ibis
