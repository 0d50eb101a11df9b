#pragma once

#include <string>

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// The page report.html: what result.json holds and the curves, in one text that a browser shows
/// without anything else. Curves carry six digits there.
std::string ReportPage(const RunResult& result, const RunOptions& options,
                       const ModelSource& model);

}  // namespace amisim
