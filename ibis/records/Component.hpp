#pragma once

#include <string_view>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

/// POWER, GND, NC and CIRCUITCALL stand for a model in [Pin]; capitals count.
bool IsReservedModelName(std::string_view name);

/// A row of [Pin].
struct Pin
{
    Word name, signal, model;
    Word r, l, c;  ///< empty where the row has three columns
    int columns = 0;
};

/// A row of [Diff Pin]; the words are empty where the row ends before them.
struct DiffPin
{
    Word pin, inverting, vdiff, delayTyp, delayMin, delayMax;
    int columns = 0;
};

/// A [Component] with what stands under it. The rest is in its section.
struct Component
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    std::vector<Pin> pins;
    std::vector<DiffPin> diffPins;

    std::vector<std::uint32_t> byName;  ///< rows of pins, sorted by name, equal names in file order

    /// The first pin of this name, or null.
    const Pin* FindPin(std::string_view pin) const;
};

Component ReadComponent(const Section& section);

}  // namespace ibis
