#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ibis {

/// Of known names the one that a user who wrote name most probably meant, or "" when none is near.
std::string NearestName(std::string_view name, const std::vector<std::string>& known);

}  // namespace ibis
