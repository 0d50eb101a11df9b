#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// Settings of the user by parameter name (see AmiFile::Find); of two for one parameter the later
/// counts.
using Overrides = std::vector<std::pair<std::string, std::string>>;

/// Throws Error for a file that is no whole definition of parameters, or that defines an input
/// in a way that cannot be understood: nothing may be left out of the string in silence.
void RequireSendable(const AmiFile& file);

/// "Name=Value" as two strings; blanks around either are dropped. Throws Error if there is no
/// '=' or no name.
std::pair<std::string, std::string> SplitOverride(std::string_view text);

/// The parameter string that a host hands to AMI_Init: the root's name and the In and InOut
/// parameters of both branches in document order, nesting kept, strings in quotes, each with its
/// default or its override, on one line with single blanks:
///
///     (Retimer_RX_RT (RX_Config 2) (taps (-1 0.0) (0 1.0)) (Mode "fast"))
///
/// An override may name a List value by its List_Tip. Throws Error, naming what is allowed,
/// when an override does not suit the parameter's type or Format, when it names an unknown
/// parameter or one that is not an input, when an input has neither default nor override, and when
/// the file as a whole or the definition of an input cannot be understood.
std::string ParameterString(const AmiFile& file, const Overrides& overrides = {});

/// The parameter's value with an override checked and written as in the file: "True" for true,
/// the List's own "3.0" for 3. Throws Error as ParameterString does.
std::string CheckedValue(const AmiFile& file, const AmiParameter& parameter,
                         std::string_view value);

}  // namespace ibis
