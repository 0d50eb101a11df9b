#pragma once

#include <vector>

#include "ibis/rules/Check.hpp"

namespace ibis {

/// Tries every rule on the records of a file (those of its text have been tried while it was read).
void CheckFile(const IbisFile& file, Findings& findings);

/// The rules that CheckFile tries.
std::vector<const Rule*> RecordRules();

}  // namespace ibis
