#pragma once

#include "host/network/NetworkReport.hpp"
#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// Everything that is found of a channel from its files, of which the options name touchstone, fext
/// and next, and how they are to be taken. Pulse and step are between the terminations, the rest
/// between references.
/// @param limits  "" for none, else as for FindLimits
/// @throws Error with the file's name
NetworkReport MakeReport(const SignalOptions& options, const std::string& limits);

}  // namespace amisim
