#include "ibis/records/Board.hpp"

#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"

namespace ibis {
namespace {

BoardPath ReadPath(const Section& section)
{
    BoardPath path{section.argument, section.place, {}};
    for (const auto row : section.rows) {
        AppendPath(row, path.elements);
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
    for (const auto row : section.RowsOf(Key::PinList)) {
        board.pinsByName.try_emplace(row[0].Text(), board.pins.size());
        board.pins.push_back({row[0], row.size() > 1 ? row[1] : Word()});
    }
    for (const Section* const path : section.Children(Key::PathDescription)) {
        board.paths.push_back(ReadPath(*path));
    }
    for (const auto row : section.RowsOf(Key::ReferenceDesignatorMap)) {
        board.partsByName.try_emplace(row[0].Text(), board.parts.size());
        board.parts.push_back(ReadPart(row));
    }
    return board;
}

}  // namespace ibis
