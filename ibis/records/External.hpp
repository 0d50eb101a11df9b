#pragma once

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

/// An [External Model] or [External Circuit]. What has not the words that it needs is not listed.
struct External
{
    const Section* section = nullptr;
    std::string language;  ///< lower case; empty where it is not given
    /// A line "Corner Typ buffer.sp io_typ"; of one with more words only the first is known.
    struct Corner
    {
        Word name, file, circuit;
    };
    std::vector<Corner> corners;
    std::vector<Word> ports;
    /// A D_to_A or A_to_D line. The four numbers may be names of Converter_Parameters.
    struct Converter
    {
        std::string_view keyword;  ///< as the standard spells it
        ibis::Place place;
        Word port, from, to;
        std::vector<Word> numbers;  ///< vlow, vhigh, of D_to_A also trise, tfall
        Word corner;

        bool ToAnalogue() const { return keyword == "D_to_A"; }
    };
    std::vector<Converter> converters;

    std::unordered_set<std::string_view> portNames, converterParameters;

    /// It has no digital ports of its own: converters stand between.
    bool IsAnalogue() const;
};

External ReadExternal(const Section& section);

}  // namespace ibis
