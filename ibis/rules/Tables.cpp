#include "ibis/rules/Tables.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

constexpr double kLeastCurrent = 10e-6;

bool IsOrdered(const Corners& volts)
{
    return volts.Or(Corner::Min) <= volts.typ && volts.typ <= volts.Or(Corner::Max);
}

/// The typ, min and max of a reference that is given are in order, as far as they are known.
bool ReferencesAreInOrder(const Model& model)
{
    const Triple* const all[] = {&model.voltageRange, &model.pullupReference,
                                 &model.powerClampReference};
    return std::all_of(std::begin(all), std::end(all),
                       [](const Triple* one) { return !*one || IsOrdered(one->at); });
}

std::optional<Backwards> ColumnRunsBackwards(const IvTable& table, Corner corner)
{
    const bool limited = table.driver && table.supply > 0;
    const double sign = table.falls ? -1 : 1;
    double right = 0, wrong = 0;
    std::optional<Point> first, last;
    const PiecewiseLinear column = PiecewiseLinear::FromColumn(*table.curve, corner);
    for (const Point& point : column.Points()) {
        if (limited && (point.x < 0 || point.x > table.supply)) {
            continue;
        }
        const double step = last ? sign * (point.y - last->y) : 0.0;
        (step > 0 ? right : wrong) += std::abs(step);
        first = first ? first : point;
        last = point;
    }
    if (wrong > kLeastCurrent && wrong > 9 * right) {
        return Backwards{corner, *first, *last};
    }
    return std::nullopt;
}

}  // namespace

std::string IvTable::Name() const
{
    return fmt::format("[{}] of '{}'", curve->title, model->name);
}

std::vector<IvTable> IvTablesOf(const Model& model)
{
    const double swing = model.PullupVolts(Corner::Typ) - model.PulldownVolts(Corner::Typ);
    const double clamped = model.PowerClampVolts(Corner::Typ) - model.GndClampVolts(Corner::Typ);
    const IvTable all[] = {
        {&model, model.pulldown, true, model.Traits().ecl, false, swing},
        {&model, model.pullup, true, true, true, swing},
        {&model, model.gndClamp, false, false, false, clamped},
        {&model, model.powerClamp, false, true, true, clamped},
    };
    std::vector<IvTable> given;
    std::copy_if(std::begin(all), std::end(all), std::back_inserter(given),
                 [](const IvTable& table) { return table.curve && !table.curve->rows.empty(); });
    return given;
}

bool IsInOrder(const Curve& table)
{
    return !table.rows.empty() && table.rows.front().y.Has(Corner::Typ) &&
           table.rows.back().y.Has(Corner::Typ) && PiecewiseLinear::FromColumn(table, Corner::Typ);
}

std::optional<Backwards> RunsBackwards(const IvTable& table)
{
    for (const Corner corner : kCorners) {
        if (const auto found = ColumnRunsBackwards(table, corner)) {
            return found;
        }
    }
    return std::nullopt;
}

std::optional<ModelAtRest> ModelAtRest::Of(const Model& model)
{
    const bool moreAtWork =
        model.external || model.section->Child(Key::DriverSchedule) || !model.submodels.empty();
    if (model.type == ModelType::Unknown || moreAtWork || !ReferencesAreInOrder(model)) {
        return std::nullopt;
    }
    for (const IvTable& table : IvTablesOf(model)) {
        if (!IsInOrder(*table.curve) || RunsBackwards(table)) {
            return std::nullopt;
        }
    }
    return ModelAtRest{
        &model,
        {DcBuffer(model, Corner::Typ), DcBuffer(model, Corner::Min), DcBuffer(model, Corner::Max)}};
}

}  // namespace ibis
