#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ibis/ami/AmiFile.hpp"

namespace ibis {

/// The text as a finite decimal number; the .ami syntax knows no scale suffixes.
std::optional<double> AsNumber(std::string_view text);

/// The text as the standard writes a value of this type: "True" for "true", "3" for "3.0" as an
/// Integer; nothing if it is none.
std::optional<std::string> AsType(Type type, std::string_view text);

/// The value that the parameter takes for this text, as the file writes it: a List's own "3.0" for
/// 3, and the value of a List_Tip for the tip. Nothing where type or Format do not admit it. A
/// Value admits all of its type: the standard states no limits for it.
std::optional<std::string> Admitted(const AmiParameter& parameter, std::string_view text);

}  // namespace ibis
