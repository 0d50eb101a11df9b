#pragma once

#include "host/channel/ChannelNetwork.hpp"
#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// How the signal's own files of S parameters are to be taken.
ChannelReading ReadingOf(const SignalOptions& options);

/// How those of aggressors are: as the signal's own were found, unless told.
ChannelReading CrosstalkReading(const SignalOptions& options,
                                const std::optional<DifferentialPorts>& ports,
                                const std::optional<ModeOrder>& modes);

}  // namespace amisim
