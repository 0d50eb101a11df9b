#pragma once

#include <initializer_list>
#include <span>
#include <string>

#include "ibis/records/Section.hpp"

/// What rules ask about values with the columns typ, min and max.
namespace ibis {

/// The typical value is NA where a number is due. A word that is no number at all is the reader's
/// affair.
bool TypIsNa(std::span<const Word> values);

/// min <= typ <= max, as far as they are given.
bool IsOrdered(const Corners& at);

/// True if any of them is given and negative.
bool HasNegative(const Corners& at);

/// "typ 3.3, min 3, max 3.6 V"; "NA" for what is not given.
std::string CornersText(const Corners& at, const char* unit);

}  // namespace ibis
