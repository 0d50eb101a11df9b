#pragma once

#include <string>
#include <string_view>

#include "ibis/findings/Findings.hpp"

namespace ibis {

/// Reports a text that is none: empty, with zero bytes, in a two-byte encoding. True if there is
/// nothing to read in it.
bool ReportUnreadable(std::string_view text, Findings& findings);

/// What a file without [IBIS Ver] looks like: "it looks like a Touchstone file".
std::string WhatItLooksLike(std::string_view text);

}  // namespace ibis
