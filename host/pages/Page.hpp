#pragma once

#include <string>

#include "host/process/ModelSource.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// The page report.html: what result.json holds and the curves, in one text that a browser shows
/// without anything else. Curves carry six digits there.
std::string ReportPage(const RunResult& result, const SimulationOptions& options,
                       const ModelSource& model);

}  // namespace amisim
