#pragma once

#include <string_view>

#include "ibis/findings/Findings.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/records/Section.hpp"

namespace ibis {

/// Where a number stands, for what is said about it.
struct NumberPlace
{
    Quantity quantity = Quantity::Any;  ///< what it measures
    std::string_view of;                ///< "typ of [Pulldown]", "C_comp"
    std::string_view key;  ///< what is told once for all of the same key, such as a table's column
};

/// Reports what is odd about a number that has been read: no number at all, a scale factor that is
/// none or can be misread, a unit that contradicts the quantity.
void CheckNumber(const Number& number, const Word& word, const NumberPlace& place,
                 Findings& findings);

/// There is nothing that CheckNumber could say: the quick way for tables.
inline bool IsPlain(const Number& number, Quantity quantity)
{
    return (number.kind == Number::Kind::Number || number.kind == Number::Kind::NotAvailable) &&
           number.doubt == Number::Doubt::None &&
           (number.unit.empty() || QuantityOf(number.unit) == quantity);
}

}  // namespace ibis
