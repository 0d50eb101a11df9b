#pragma once

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/OutputFolder.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// The result in a few lines on standard output.
void PrintResults(const RunResult& result, const RunOptions& options, const ModelSource& model);

/// Once it has been written: where the report is and, on standard error, what could not be written
/// and how the model failed.
void PrintEnding(const RunResult& result, const OutputFolder& folder);

}  // namespace amisim
