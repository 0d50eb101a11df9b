#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

#include "host/analysis/Findings.hpp"

namespace amisim {

/// The curves of an eye as WriteCurves has left them in an output folder.
struct SavedCurves
{
    Bathtub time, voltage;  // without their fits
    std::vector<Contour> contours;
};

/// @param eye  as the files name it: "output", "statistical_output"
/// @return no points for what is not there
/// @throws Error (kInput) with "file:line: what was expected" for files that are none of these
SavedCurves ReadCurves(const std::filesystem::path& folder, std::string_view eye);

}  // namespace amisim
