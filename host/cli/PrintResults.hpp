#pragma once

#include <cstdint>
#include <string>

#include "host/process/ModelSource.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// The result in a few lines on standard output.
void PrintResults(const RunResult& result, const SimulationOptions& options,
                  const ModelSource& model);

/// Once it has been written: where the report is and, on standard error, what could not be written
/// and how the model failed.
void PrintEnding(const RunResult& result, const OutputFolder& folder);

/// How a run failed, in words: "the model crashed (SIGSEGV) in AMI_GetWave 3", and what it printed.
/// @param bits  that there were until then
std::string FailureText(const RunResult::Failure& failure, std::int64_t bits);

}  // namespace amisim
