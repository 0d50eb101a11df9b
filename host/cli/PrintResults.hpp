#pragma once

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// The result in a few lines on standard output, and the model's failure on standard error.
void PrintResults(const RunResult& result, const RunOptions& options, const ModelSource& model);

}  // namespace amisim
