#pragma once

#include <CLI/CLI.hpp>

#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// Groups of options in the help.
inline constexpr const char* kTimeGroup = "Time and blocks";
inline constexpr const char* kSignalGroup = "Pattern and transmitter";
inline constexpr const char* kChannelGroup = "Channel";
inline constexpr const char* kWaveGroup = "Measured waveform";

/// Lets an option of a whole number be given as 1e4 or 10_000, too.
CLI::Validator WholeNumber();

/// Defines the options that make the signal at the model's input; the texts state the defaults.
void AddSignalOptions(CLI::App& run, SignalOptions& options);

}  // namespace amisim
