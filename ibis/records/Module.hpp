#pragma once

#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "ibis/records/Part.hpp"

namespace ibis {

/// A [Begin EMD]: a module of parts.
struct Module
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    std::vector<Part> parts;  ///< rows of [EMD Parts]
    /// A row of [EMD Designator List], with its rows of [Designator Pin List].
    struct Designator
    {
        Word name, part;
        std::vector<Word> pins;  ///< "U1.4"
    };
    std::vector<Designator> designators;

    std::unordered_map<std::string_view, std::size_t> partsByName, designatorsByName;
    std::unordered_set<std::string_view> pins;  ///< of the module itself "A1", of its parts "U1.4"
    std::unordered_set<std::string_view> signals;  ///< that these pins carry
    std::vector<Word> strayPins;  ///< of [Designator Pin List], of no designator in the list
};

Module ReadModule(const Section& section);

}  // namespace ibis
