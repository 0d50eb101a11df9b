#pragma once

#include <filesystem>
#include <vector>

#include "host/cli/Comparison.hpp"
#include "host/pictures/Picture.hpp"

namespace amisim {

/// What the title of a page made by SaveComparison is.
inline constexpr const char* kComparisonTitle = "Comparison of runs";

/// The bathtubs and eyes of the results laid upon each other.
/// @throws Error (kInput) for curves in a folder that are none
Picture ComparisonOf(const std::vector<ComparedResult>& results);

/// Writes a page with the tables, the picture and all eyes beside each other.
/// @throws Error (kInput) where it cannot be written
void SaveComparison(const std::filesystem::path& path, const std::vector<ComparedResult>& results,
                    const std::vector<ComparedLine>& settings,
                    const std::vector<ComparedLine>& numbers);

}  // namespace amisim
