#include "ibis/rules/Waveforms.hpp"

#include <fmt/format.h>

#include <algorithm>

namespace ibis {
namespace {

/// When the typical value first reaches a share of the way from the first to the last.
double TimeOf(const ModelWaveform& table, double share)
{
    const auto& rows = table.Rows();
    const double first = table.First(Corner::Typ), way = table.Last(Corner::Typ) - first;
    const auto progress = [&](const Curve::Row& row) { return (row.y.typ - first) / way; };
    for (std::size_t i = 1; i < rows.size(); ++i) {
        const double before = progress(rows[i - 1]), at = progress(rows[i]);
        if (before < share && at >= share) {
            return rows[i - 1].x + (share - before) / (at - before) * (rows[i].x - rows[i - 1].x);
        }
    }
    return NAN;
}

}  // namespace

bool TimesRise(const Curve& table)
{
    return std::is_sorted(table.rows.begin(), table.rows.end(),
                          [](const Curve::Row& a, const Curve::Row& b) { return a.x < b.x; });
}

std::string ModelWaveform::Name() const
{
    return fmt::format("[{}] of '{}'", waveform->curve->title, model->name);
}

bool ModelWaveform::IsUsable() const
{
    return Rows().size() >= 2 && Rows().front().y.Has(Corner::Typ) &&
           Rows().back().y.Has(Corner::Typ) && Duration() > 0 && TimesRise(*waveform->curve);
}

bool ModelWaveform::IsResistive() const
{
    const Value* const reactive[] = {&waveform->cFixture, &waveform->lFixture, &waveform->lDut,
                                     &waveform->cDut};
    return std::none_of(std::begin(reactive), std::end(reactive),
                        [](const Value* one) { return one->IsNumber() && one->value != 0; });
}

double ModelWaveform::EdgeTime() const
{
    return TimeOf(*this, 0.8) - TimeOf(*this, 0.2);
}

double ModelWaveform::Unsettled(Corner corner) const
{
    const double from = Rows().back().x - 0.05 * Duration();
    const auto late =
        std::lower_bound(Rows().begin(), Rows().end(), from,
                         [](const Curve::Row& row, double time) { return row.x < time; });
    double then = late->y[corner];
    if (late != Rows().begin()) {
        const Curve::Row& before = *(late - 1);
        then += (before.y[corner] - then) * (late->x - from) / (late->x - before.x);
    }
    const double moved = std::abs(Last(corner) - then);
    return Swing(corner) > 0 && moved > 0 ? moved / Swing(corner) : 0.0;
}

double ModelWaveform::WrongWay() const
{
    const double change = Last(Corner::Typ) - First(Corner::Typ);
    return std::max(0.0, waveform->rising ? -change : change);
}

}  // namespace ibis
