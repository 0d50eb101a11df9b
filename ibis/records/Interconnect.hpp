#pragma once

#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

struct IbisFile;

/// A terminal line of an [Interconnect Model] or [EMD Model]: "3 Pin_I/O pin_name A1
/// Aggressor_Only".
struct Terminal
{
    Word number, type, qualifier, entry;
    bool aggressorOnly = false;
};

/// An [Interconnect Model] or [EMD Model].
struct Interconnect
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    std::vector<const Setting*> files;  ///< File_TS, File_TS0 and File_IBIS-ISS lines
    Value terminalCount;                ///< Number_of_terminals
    std::vector<Terminal> terminals;

    bool IsTouchstone() const;
};

Interconnect ReadInterconnect(const Section& section);

/// An [Interconnect Model Set] or [EMD Set].
struct InterconnectSet
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    std::vector<Interconnect> models;
};

InterconnectSet ReadInterconnectSet(const Section& section);

/// The set that a row of [Interconnect Model Group] or [EMD Group] names: of this file, or of one
/// beside it.
std::optional<InterconnectSet> FindSet(const IbisFile& file, std::span<const Word> row);

}  // namespace ibis
