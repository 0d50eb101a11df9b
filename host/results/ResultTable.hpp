#pragma once

#include <string>

#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// The few numbers that matter, as a table for the terminal: a line each, then the openings of the
/// eye before and after the model at each bit error ratio. Of a run that is to send none only
/// these.
std::string ToTable(const RunResult& result, const SimulationOptions& options);

}  // namespace amisim
