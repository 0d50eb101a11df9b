#pragma once

#include <span>
#include <vector>

#include "host/statistical/SamplingTime.hpp"
#include "host/statistical/VoltageDensity.hpp"

namespace amisim {

/// Densities as one sees them who looks early and late: their means, weighted by how often.
/// Between two of them the tails are straight on a logarithmic scale.
/// @param columns  at even phases, of which a whole number of SamplingTime's steps is one
/// @param steps    these
/// @param before   how many of the columns lie before the first that is asked for
/// @param count    that are asked for; as many lie behind them as the instants are late
std::vector<VoltageDensity> Blurred(std::span<const VoltageDensity> columns, int steps,
                                    const SamplingTime& when, int before, int count);

}  // namespace amisim
