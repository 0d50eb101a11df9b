#pragma once

#include <CLI/CLI.hpp>

#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// An option with a number in a range.
template <typename Value>
void AddNumber(CLI::App& run, const char* group, const char* name, Value& value, const char* unit,
               Value low, Value high, const char* text)
{
    run.add_option(name, value, text)
        ->check(CLI::Range(low, high).description(""))
        ->capture_default_str()
        ->type_name(unit)
        ->group(group);
}

/// A file that may be given any number of times, one at a time.
void AddFiles(CLI::App& app, const char* group, const char* name,
              std::vector<std::filesystem::path>& files, const char* text);

/// Defines the options that say how S parameters are to be taken: which ports they have, what they
/// end in, and where crosstalk comes from.
void AddNetworkOptions(CLI::App& app, const char* group, SignalOptions& options);

/// What aggressors send.
void AddAggressorAmplitude(CLI::App& app, const char* group, SignalOptions& options);
void AddRiseTime(CLI::App& app, const char* group, SignalOptions& options);

}  // namespace amisim
