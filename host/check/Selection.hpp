#pragma once

#include <filesystem>
#include <set>
#include <vector>

#include "ibis/findings/Finding.hpp"

namespace amisim {

/// Leaves out the findings of rules that are off.
void LeaveOut(const std::set<int>& off, std::vector<ibis::Finding>& findings);

/// Leaves out the findings that an earlier check has found too: those of the file that `amisim
/// check
/// --json` wrote. A finding is the same where rule, file name and text are, whatever lines have
/// moved to.
/// @throws Error (kInput) for a file that is no such record
void LeaveOutKnown(const std::filesystem::path& baseline, std::vector<ibis::Finding>& findings);

}  // namespace amisim
