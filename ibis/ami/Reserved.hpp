#pragma once

#include <limits>
#include <span>

#include "ibis/ami/CheckAmi.hpp"

namespace ibis {

/// What the standard says of a reserved parameter.
struct ReservedParameter
{
    int number = 0;  ///< of the rule on its value
    std::string_view name;
    Version since = 50;
    AmiDirection direction = AmiDirection::Both;
    unsigned usages = 0;  ///< BitOf each that it may have
    unsigned types = 0;
    unsigned formats = 0;
    std::string_view whenAbsent;           ///< the value that holds then, if there is one
    Severity gravest = Severity::Warning;  ///< of what contradicts this row
    double least = -std::numeric_limits<double>::infinity();
    double below = std::numeric_limits<double>::infinity();  ///< least <= value < below
};

template <class Enumerator>
constexpr unsigned BitOf(Enumerator one)
{
    return 1u << static_cast<unsigned>(one);
}

/// Every reserved parameter that is known, by number.
std::span<const ReservedParameter> ReservedParameters();

/// The row of this name, or null.
const ReservedParameter* FindReservedParameter(std::string_view name);

/// Holds the file's reserved parameters against their rows: names, versions, directions, Usage,
/// Type, Format and limits (rules 900 to 969).
void CheckReserved(const AmiFile& file, const AmiContext& context, Findings& findings);

}  // namespace ibis
