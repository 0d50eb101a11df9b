#pragma once

#include <string_view>
#include <unordered_map>
#include <vector>

#include "ibis/records/Part.hpp"
#include "ibis/records/StubPath.hpp"

namespace ibis {

/// A [Path Description] of a board: from a pin through sections and branches to nodes.
struct BoardPath
{
    std::string_view name;
    ibis::Place place;
    std::vector<PathElement> elements;
};

/// A [Begin Board Description].
struct Board
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    Value pinCount;  ///< [Number Of Pins]
    struct Pin
    {
        Word name, signal;
    };
    std::vector<Pin> pins;  ///< rows of [Pin List]
    std::vector<BoardPath> paths;
    std::vector<Part> parts;  ///< rows of [Reference Designator Map]

    std::unordered_map<std::string_view, std::size_t> pinsByName, partsByName;
};

Board ReadBoard(const Section& section);

}  // namespace ibis
