#pragma once

#include <span>

#include "base/Names.hpp"

namespace base {

/// Adds numbers, times a factor, to those at the same places, as far as there are both.
void AddMultiple(double factor, std::span<const double> of, std::span<double> sum);

}  // namespace base
