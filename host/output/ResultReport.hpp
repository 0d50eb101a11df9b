#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/cli/RunOptions.hpp"
#include "host/model/ModelSource.hpp"
#include "host/output/RunResult.hpp"
#include "host/signal/SignalDescription.hpp"

namespace amisim {

/// The contents of result.json. What is not known is null.
nlohmann::ordered_json ToJson(const RunResult& result, const RunOptions& options,
                              const ModelSource& model);

/// The few numbers that matter, as a table for the terminal.
std::string ToTable(const RunResult& result, const RunOptions& options);

}  // namespace amisim
