#include "host/tune/Ranking.hpp"

#include <algorithm>

namespace amisim {
namespace {

std::optional<double> FigureOf(const Row& row, const Figure& figure)
{
    return row.ranked ? row.At(figure.AsNumber()) : std::nullopt;
}

/// Along one axis through the best case.
class Line
{
public:
    /// @param stride  between cases that differ by one value of the axis
    Line(const Table& table, const Figure& figure, const Row& best, const Setting& axis,
         std::size_t stride)
        : axis_(axis)
    {
        const auto at = static_cast<std::size_t>(&best - table.rows.data());
        place_ = at / stride % axis.values.size();
        for (std::size_t i = 0; i < axis.values.size(); ++i) {
            const auto value = FigureOf(table.rows[at + i * stride - place_ * stride], figure);
            near_.push_back(value && figure.IsNear(*value, *FigureOf(best, figure)));
        }
    }

    Ranking::Flat Flat() const
    {
        std::size_t from = place_, to = place_;
        while (from > 0 && near_[from - 1]) --from;
        while (to + 1 < near_.size() && near_[to + 1]) ++to;
        return {axis_.name, axis_.values[from], axis_.values[to], from == 0,
                to + 1 == near_.size()};
    }

private:
    const Setting& axis_;
    std::size_t place_;
    std::vector<bool> near_;
};

}  // namespace

bool AllComputed(const Table& table, const Figure& figure)
{
    if (!figure.IsOpening()) return false;
    return std::ranges::all_of(table.rows, [&](const Row& row) {
        if (!row.ranked) return true;
        const auto result = ReadResult(table.plan.out / row.aCase.folder);
        return result && figure.In(*result, true);
    });
}

Table WithFigures(Table table, const Figure& figure, bool computed)
{
    for (Row& row : table.rows) {
        const auto result = ReadResult(table.plan.out / row.aCase.folder);
        if (row.status != Row::Status::kOk || !result) continue;
        if (const auto value = figure.In(*result, computed))
            row.numbers[figure.AsNumber().pointer] = *value;
    }
    return table;
}

Ranking::Ranking(const Table& table, const Figure& figure)
{
    for (const Row& row : table.rows) {
        if (FigureOf(row, figure)) rows.push_back(&row);
    }
    std::ranges::stable_sort(rows, [&](const Row* a, const Row* b) {
        return figure.IsBetter(*FigureOf(*a, figure), *FigureOf(*b, figure));
    });
    if (rows.empty()) return;
    const double best = *FigureOf(*rows[0], figure);
    near = static_cast<int>(std::ranges::count_if(
        rows, [&](const Row* row) { return figure.IsNear(*FigureOf(*row, figure), best); }));
    std::size_t stride = table.rows.size();
    for (const Setting& axis : table.plan.axes) {
        stride /= axis.values.size();
        if (near > 0) flat.push_back(Line(table, figure, *rows[0], axis, stride).Flat());
    }
}

}  // namespace amisim
