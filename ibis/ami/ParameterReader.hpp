#pragma once

#include <string>
#include <string_view>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// Reads what a parameter's list states into the parameter, whose name and groups are set. What
/// cannot be understood (rules 829 and 850 to 863) is reported and makes the parameter unusable.
void ReadParameter(const AmiNode& node, AmiParameter& parameter, Findings& findings);

/// True for a list that has a Usage or a Type and so defines a parameter.
bool IsParameter(const AmiNode& node);

/// True for Value, Range, List and so on.
bool IsFormatName(std::string_view name);

/// True for these and for Usage, Type, Default and whatever else a parameter holds.
bool IsLeafName(std::string_view name);

/// The words of a Description.
std::string ReadDescription(const AmiNode& node, Findings& findings);

}  // namespace ibis
