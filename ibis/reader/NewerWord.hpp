#pragma once

#include <string_view>

#include "ibis/findings/Findings.hpp"

namespace ibis {

/// Reports under a rule what came with a later version than the file states. A file without a
/// version is taken for the newest.
void ReportIfNewer(const Versions& versions, Version ofFile, const Rule& rule, Place place,
                   std::string_view what, Findings& findings);

}  // namespace ibis
