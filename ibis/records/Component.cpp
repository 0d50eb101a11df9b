#include "ibis/records/Component.hpp"

#include <algorithm>
#include <numeric>

#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

Word At(std::span<const Word> row, size_t column)
{
    return column < row.size() ? row[column] : Word();
}

Pin ReadPin(std::span<const Word> row)
{
    return {At(row, 0),
            At(row, 1),
            At(row, 2),
            At(row, 3),
            At(row, 4),
            At(row, 5),
            static_cast<int>(row.size())};
}

DiffPin ReadDiffPin(std::span<const Word> row)
{
    return {At(row, 0),
            At(row, 1),
            At(row, 2),
            At(row, 3),
            At(row, 4),
            At(row, 5),
            static_cast<int>(row.size())};
}

template <class Record>
std::vector<Record> ReadRows(const Rows& rows, Record (*read)(std::span<const Word>))
{
    std::vector<Record> records;
    records.reserve(rows.size());
    for (const auto row : rows) {
        records.push_back(read(row));
    }
    return records;
}

}  // namespace

bool IsReservedModelName(std::string_view name)
{
    return name == "POWER" || name == "GND" || name == "NC" || name == "CIRCUITCALL";
}

const Pin* Component::FindPin(std::string_view pin) const
{
    const auto found = std::lower_bound(byName.begin(), byName.end(), pin,
                                        [this](std::uint32_t row, std::string_view wanted) {
                                            return pins[row].name.Text() < wanted;
                                        });
    return found != byName.end() && pins[*found].name == pin ? &pins[*found] : nullptr;
}

Component ReadComponent(const Section& section)
{
    Component component;
    component.section = &section;
    component.name = section.argument;
    component.place = section.place;
    component.pins = ReadRows(section.RowsOf(Key::Pin), ReadPin);
    component.byName.resize(component.pins.size());
    std::iota(component.byName.begin(), component.byName.end(), 0U);
    std::stable_sort(component.byName.begin(), component.byName.end(),
                     [&](std::uint32_t a, std::uint32_t b) {
                         return component.pins[a].name.Text() < component.pins[b].name.Text();
                     });
    component.diffPins = ReadRows(section.RowsOf(Key::DiffPin), ReadDiffPin);
    return component;
}

}  // namespace ibis
