#pragma once

#include <vector>

#include "host/analysis/Slicers.hpp"

namespace amisim {

/// Evenly spaced around 0 V between levels from -amplitude to amplitude.
Slicers EvenSlicers(int levels, double amplitude);

/// Halfway between the means of so many groups of voltages: those that lie nearest to each mean
/// (Lloyd's algorithm), from evenly spaced ones on. A group of nothing stays where it is.
/// @param voltages  V; of fewer than there are levels, and of such as are all alike: even slicers
Slicers SlicersBetween(std::vector<double> voltages, int levels);

}  // namespace amisim
