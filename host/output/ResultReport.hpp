#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/RunResult.hpp"

namespace amisim {

/// The contents of result.json. What is not known is null.
nlohmann::ordered_json ToJson(const RunResult& result, const RunOptions& options,
                              const ModelSource& model);

/// The few numbers that matter, as a table for the terminal.
std::string ToTable(const RunResult& result, const RunOptions& options);

/// The run's settings in one line, for titles: "10 dB line, PRBS31, 100 ppm, 2 mV noise".
std::string Describe(const SignalOptions& options);

}  // namespace amisim
