#pragma once

#include <cmath>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/Names.hpp"

namespace base {

/// A number as JSON, null where it is none.
inline nlohmann::ordered_json OrNull(double value)
{
    return std::isfinite(value) ? nlohmann::ordered_json(value) : nlohmann::ordered_json(nullptr);
}

inline nlohmann::ordered_json OrNull(const std::optional<double>& value)
{
    return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

/// The same back. @throws nlohmann::json::exception for anything else
inline std::optional<double> NumberOf(const nlohmann::ordered_json& json)
{
    return json.is_null() ? std::nullopt : std::optional(json.get<double>());
}

}  // namespace base
