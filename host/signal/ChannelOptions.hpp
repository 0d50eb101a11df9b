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

/// Whether a file of --fext or --next is told with the element that it is about: "x.s4p@2".
bool IsPlaced(const std::filesystem::path& told);

/// The file of an aggressor that couples in one element alone, and the channel beside its lane.
struct PlacedCoupling
{
    ChannelNetwork file, network;
};

/// Reads it as that element's own file is read, unless told.
/// @param network  of the channel; none where that is not told by S parameters
/// @throws Error (kInput) where it has no such element, else as ReadNetwork
PlacedCoupling ReadPlaced(const SignalOptions& options,
                          const std::optional<ChannelNetwork>& network,
                          const std::filesystem::path& told, bool isNear);

}  // namespace amisim
