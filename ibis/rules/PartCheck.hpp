#pragma once

#include <vector>

#include "ibis/records/Part.hpp"
#include "ibis/rules/Check.hpp"

namespace ibis {

/// Reports a part whose file or component is not there, and of pins such as "U1.4" those that it
/// has not. Where nothing that the file names stands beside it, that it is not there is noted only:
/// the file came alone then.
void CheckPart(const Part& part, const std::vector<Word>& pins, Severity severity, Report& report);

}  // namespace ibis
