#pragma once

#include <string>
#include <vector>

#include "host/tune/Figure.hpp"

namespace amisim {

/// Whether every case that compares with others has an eye that was computed; where one has none,
/// counted eyes are compared, so that all are seen in the same way.
bool AllComputed(const Table& table, const Figure& figure);

/// The table with the figure among the rows' numbers.
Table WithFigures(Table table, const Figure& figure, bool computed);

/// The cases of a grid by their figure, and how flat the optimum is.
struct Ranking
{
    /// Values of an axis, one beside the other and the best among them, that are near the best
    /// while the other axes stay there.
    struct Flat
    {
        std::string axis, from, to;
        bool atBegin, atEnd;  // the grid ends there, the range perhaps does not
    };

    std::vector<const Row*> rows;  // the best first; equals in the order of the grid
    std::vector<Flat> flat;        // one for each axis; none where no eye is open
    int near = 0;                  // cases of the grid that are near the best, this among them

    /// @param table  with figures; is referred to
    Ranking(const Table& table, const Figure& figure);
};

}  // namespace amisim
