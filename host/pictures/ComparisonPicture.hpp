#pragma once

#include <string>
#include <vector>

#include "host/pictures/Plot.hpp"
#include "host/results/SavedCurves.hpp"

namespace amisim {

/// A result in a comparison, with the curves of the eye at its output.
struct ComparedCurves
{
    std::string name;
    SavedCurves counted, computed;  // no points where there are none
};

/// Bathtubs upon each other, and the outlines of the eyes at the lowest error ratio that has them
/// for as many results as any. Dashed is what was not counted. Of more results than there are
/// colours the next ones have these again.
Picture ComparisonPicture(const std::vector<ComparedCurves>& results, plot::Heading heading);

}  // namespace amisim
