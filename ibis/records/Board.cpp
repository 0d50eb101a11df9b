#include "ibis/records/Board.hpp"

#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

BoardPath ReadPath(const Section& section)
{
    BoardPath path{section.argument, section.place, {}};
    for (size_t i = 0; i < section.rows.size(); ++i) {
        AppendPath(section.rows[i], path.elements);
    }
    return path;
}

}  // namespace

Board ReadBoard(const Section& section)
{
    Board board;
    board.section = &section;
    board.name = section.argument;
    board.place = section.place;
    if (const Section* const count = section.Child(Key::NumberOfPins)) {
        board.pinCount = {count->place, ValueOf(count->argument)};
    }
    if (const Section* const list = section.Child(Key::PinList)) {
        for (size_t i = 0; i < list->rows.size(); ++i) {
            const auto row = list->rows[i];
            board.pinsByName.try_emplace(row[0].Text(), board.pins.size());
            board.pins.push_back({row[0], row.size() > 1 ? row[1] : Word()});
        }
    }
    for (const Section* const path : section.Children(Key::PathDescription)) {
        board.paths.push_back(ReadPath(*path));
    }
    if (const Section* const map = section.Child(Key::ReferenceDesignatorMap)) {
        for (size_t i = 0; i < map->rows.size(); ++i) {
            board.partsByName.try_emplace(map->rows[i][0].Text(), board.parts.size());
            board.parts.push_back(ReadPart(map->rows[i]));
        }
    }
    return board;
}

}  // namespace ibis
