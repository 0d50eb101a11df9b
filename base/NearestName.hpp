#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Names.hpp"

namespace base {

/// Of known names the one that a user who wrote name most probably meant, or "" when none is near.
std::string NearestName(std::string_view name, const std::vector<std::string>& known);

/// The name of the list that differs from this one in case and underscores only, or "".
std::string_view SameButForCase(std::string_view name, std::span<const std::string_view> known);

/// "; did you mean Range?", or "" where none of the known names is near.
std::string DidYouMean(std::string_view name, std::span<const std::string_view> known);

}  // namespace base
