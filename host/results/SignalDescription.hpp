#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// The options that made the signal, as result.json holds them.
nlohmann::ordered_json SignalJson(const SignalOptions& options);

/// The signal in a few words, for headings.
std::string Describe(const SignalOptions& options);

}  // namespace amisim
