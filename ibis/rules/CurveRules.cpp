#include <algorithm>
#include <cmath>

#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"
#include "ibis/rules/Tables.hpp"
#include "ibis/rules/Units.hpp"

namespace ibis {
namespace {

using enum Severity;

constexpr std::size_t kMostRows = 100;

/// Any table of currents over voltage, wherever it stands in a model or submodel.
struct AnyTable
{
    const Curve* curve = nullptr;
    std::string_view owner;  ///< name of the model

    std::string Name() const { return fmt::format("[{}] of '{}'", curve->title, owner); }
};

void HasRows(const AnyTable& table, Report& report)
{
    if (table.curve->rows.empty() && !report.Has(116)) {
        report.Say(table.curve->place, fmt::format("{} has no rows", table.Name()),
                   "write its rows, or remove the keyword");
    }
}

void HasTwoRows(const AnyTable& table, Report& report)
{
    if (table.curve->rows.size() == 1) {
        report.Say(table.curve->place,
                   fmt::format("{} has 1 row, expected at least 2", table.Name()),
                   "write the rows that are missing");
    }
}

void HasFewRows(const AnyTable& table, Report& report)
{
    const std::size_t count = table.curve->rows.size();
    if (count > kMostRows) {
        report.Say(
            table.curve->At(kMostRows),
            fmt::format("{} has {} rows, at most {} are allowed", table.Name(), count, kMostRows),
            "keep those where the curve bends");
    }
}

void VoltagesAreInOrder(const AnyTable& table, Report& report)
{
    const auto& rows = table.curve->rows;
    if (rows.size() < 2) {
        return;
    }
    const double sign = rows.back().x < rows.front().x ? -1 : 1;
    for (const bool back : {true, false}) {
        std::size_t count = 0, first = 0;
        for (std::size_t i = 1; i < rows.size(); ++i) {
            const double step = sign * (rows[i].x - rows[i - 1].x);
            if (back ? step < 0 : step == 0) {
                first = count++ == 0 ? i : first;
            }
        }
        if (count == 0) {
            continue;
        }
        const std::string more = count > 1 ? fmt::format(" (and {} more)", count - 1) : "";
        report.Say(back ? Error : Warning, table.curve->At(first),
                   back ? fmt::format("{} goes back from {} to {}{}", table.Name(),
                                      Volts(rows[first - 1].x), Volts(rows[first].x), more)
                        : fmt::format("{} repeats {}{}", table.Name(), Volts(rows[first].x), more),
                   "sort the rows by voltage and keep one of each");
        return;
    }
}

void TypicalEndsAreNumbers(const AnyTable& table, Report& report)
{
    const auto& rows = table.curve->rows;
    if (rows.empty() || report.Has(116)) {
        return;
    }
    for (const std::size_t i : {std::size_t{0}, rows.size() - 1}) {
        if (!rows[i].y.Has(Corner::Typ)) {
            report.Say(table.curve->At(i),
                       fmt::format("{} has no typical current in its {} row", table.Name(),
                                   i == 0 ? "first" : "last"),
                       "NA is for rows in between");
            return;
        }
    }
}

void CornerEndsAreNumbers(const AnyTable& table, Report& report)
{
    const auto& rows = table.curve->rows;
    for (const Corner corner : {Corner::Min, Corner::Max}) {
        const bool used = std::any_of(rows.begin(), rows.end(), [corner](const Curve::Row& row) {
            return row.y.Has(corner);
        });
        if (used && !report.Has(116) &&
            !(rows.front().y.Has(corner) && rows.back().y.Has(corner))) {
            report.Say(
                table.curve->place,
                fmt::format("column {} of {} begins or ends in NA", Name(corner), table.Name()),
                "write numbers in its first and last row, or NA throughout");
            return;
        }
    }
}

/// A value that stands out of both neighbours by a factor that no curve has in one row, with the
/// neighbours close to each other.
bool IsSlip(double before, double at, double after)
{
    constexpr double kFactor = 100.0, kLeast = 10e-6;
    const double low = std::min(std::abs(before), std::abs(after));
    const double high = std::max(std::abs(before), std::abs(after));
    if (before * after <= 0 || high > 5 * low || std::max(high, std::abs(at)) < kLeast) {
        return false;
    }
    return std::abs(at) > kFactor * high || std::abs(at) < low / kFactor;
}

void RowsFitTheirNeighbours(const AnyTable& table, Report& report)
{
    const auto& rows = table.curve->rows;
    for (std::size_t i = 1; i + 1 < rows.size(); ++i) {
        for (const Corner corner : kCorners) {
            const double before = rows[i - 1].y[corner], at = rows[i].y[corner];
            const double after = rows[i + 1].y[corner];
            if (IsSlip(before, at, after)) {
                report.Say(table.curve->At(i),
                           fmt::format("{} has {} at {} ({}), between {} and {}", table.Name(),
                                       Amperes(at), Volts(rows[i].x), Name(corner), Amperes(before),
                                       Amperes(after)),
                           "check the row's unit and digits");
                return;
            }
        }
    }
}

constexpr Check<AnyTable> kChecks[] = {
    {{400,
      Error,
      {},
      "An I-V table has four columns and at least two rows",
      "Between fewer points there is no curve.",
      "[Pulldown] with a single row"},
     HasTwoRows},
    {{401,
      Error,
      {},
      "An I-V table has at most 100 rows",
      "The standard sets the limit, and simulators size their tables by it.",
      "1984 rows straight from a simulator"},
     HasFewRows},
    {{402,
      Error,
      {},
      "The voltages of an I-V table rise or fall from row to row",
      "A curve with two currents at one voltage cannot be interpolated. That a voltage is repeated "
      "is a warning.",
      "rows at 1.0 V, 0.5 V and 1.5 V"},
     VoltagesAreInOrder},
    {{403,
      Error,
      {},
      "The first and last row of an I-V table have a typical current",
      "Rows in between that are NA are interpolated; beyond the ends there is nothing to "
      "interpolate from.",
      "-3.3V NA -0.1A -0.2A"},
     TypicalEndsAreNumbers},
    {{404,
      Warning,
      {},
      "A min or max column of an I-V table is NA throughout or a number at both ends",
      "Simulators differ in what they take beyond the last number.",
      "a max column of numbers whose last row is NA"},
     CornerEndsAreNumbers},
    {{418,
      Warning,
      {},
      "No row of an I-V table stands out of both its neighbours by a factor of 100",
      "It is nearly always a unit or a digit that was lost in one line.",
      "26.0mA, 27.0A, 28.0mA"},
     RowsFitTheirNeighbours},
    {{422,
      Error,
      {},
      "An I-V table has rows",
      "A keyword without rows promises a curve that is not there.",
      "[POWER Clamp] followed by the next keyword"},
     HasRows},
};

void TryOnTables(const Section& under, std::string_view owner, const IbisFile& file,
                 Findings& findings)
{
    for (const Section& child : under.children) {
        if (child.keyword->HasCurve() && child.keyword->x == Quantity::Volt) {
            TryAll(kChecks, AnyTable{&child.curve, owner}, file, findings);
        } else if (child.Is(Key::On) || child.Is(Key::Off)) {
            TryOnTables(child, owner, file, findings);
        }
    }
}

}  // namespace

const RuleSet& CurveRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Model& model : file.models) {
                TryOnTables(*model.section, model.name, file, findings);
            }
            for (const Submodel& submodel : file.submodels) {
                TryOnTables(*submodel.section, submodel.name, file, findings);
            }
        },
        kChecks);
    return set;
}

}  // namespace ibis
