#pragma once

#include <nlohmann/json.hpp>

#include "host/process/ModelSource.hpp"
#include "host/results/Numbers.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// Counts up when a member of result.json changes its meaning or goes; new members leave it as it
/// is.
inline constexpr int kResultSchema = 1;

/// The contents of result.json, as docs/results.md describes it. What is not known is null.
nlohmann::ordered_json ToJson(const RunResult& result, const SimulationOptions& options,
                              const ModelSource& model);

/// A number as a member: an integer where it counts, null where it is not known.
nlohmann::ordered_json ToJson(const Number& number, std::optional<double> value);

/// The JSON as text of valid UTF-8, whatever bytes a model's texts hold.
/// @param indent  blanks a level; -1: all in one line
std::string ToText(const nlohmann::ordered_json& json, int indent);

}  // namespace amisim
