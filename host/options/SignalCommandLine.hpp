#pragma once

#include <CLI/CLI.hpp>

#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// Groups of options in the help.
inline constexpr const char* kTimeGroup = "Time and blocks";
inline constexpr const char* kSignalGroup = "Pattern and transmitter";
inline constexpr const char* kChannelGroup = "Channel";
inline constexpr const char* kWaveGroup = "Measured waveform";
inline constexpr const char* kTransmitterGroup = "Transmitter's model (docs/link.md)";
inline constexpr const char* kLinkGroup = "Links of several segments (docs/link.md)";

/// Lets an option of a whole number be given as 1e4 or 10_000, too.
CLI::Validator WholeNumber();

/// Defines the options that make the signal at the model's input; the texts state the defaults.
void AddSignalOptions(CLI::App& run, SignalOptions& options);

/// Options that would be of no effect beside the others are refused rather than passed over.
/// @throws CLI::ParseError
void CheckTogether(const CLI::App& run);

}  // namespace amisim
