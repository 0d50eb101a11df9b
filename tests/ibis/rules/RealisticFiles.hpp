#pragma once

#include <string>

#include "ibis/records/Model.hpp"

namespace ibis {

/// Tables as an extraction from a circuit simulator writes them, of 60 to 100 rows: transistors of
/// the quadratic law, clamp diodes behind a resistance, and edges of both charging the pad.
std::string RealisticTables(const TypeTraits& type);

/// The same of a transistor between two pins.
std::string RealisticSwitch();

}  // namespace ibis
