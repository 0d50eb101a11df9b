#pragma once

#include <string>
#include <vector>

#include "ibis/findings/Finding.hpp"
#include "ibis/records/IbisFile.hpp"

namespace amisim {

/// What was found as a page: a table of the findings, and of each [Model] its plots with those
/// that concern it. It is one file that loads nothing.
std::string CheckPage(const std::vector<ibis::Finding>& findings,
                      const std::vector<ibis::IbisFile>& files);

/// What the page of any check begins with.
std::string CheckPageTitle();

}  // namespace amisim
