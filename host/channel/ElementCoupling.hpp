#pragma once

#include <string>

#include "host/channel/ChannelNetwork.hpp"

namespace amisim {

/// An aggressor that couples into the signal in one element of its cascade alone.
struct ElementAggressor
{
    std::size_t element;  ///< from 1
    bool isNear;
    std::string name;  ///< as it was told
};

/// The channel beside a lane that is like it in all elements but one. Throws Error (kInput) where
/// the channel has no such element.
/// @param twoLanes  that element: the signal's lane and the aggressor's, in the order of a cascade
ChannelNetwork BesideLane(const ChannelNetwork& network, const ElementAggressor& aggressor,
                          const SParameters& twoLanes);

/// The same where a file of its own tells of that element how much comes from the aggressor's ports
/// to the signal's at the receiver's end. There, too, the aggressor's lane is like the signal's; of
/// the file neither reflections count nor what couples back.
ChannelNetwork BesideLane(const ChannelNetwork& network, const ElementAggressor& aggressor,
                          const ChannelNetwork& coupling);

/// The element, from 1. Throws Error (kInput) with the aggressor's name where there is none.
const ChannelElement& ElementOf(const ChannelNetwork& network, const ElementAggressor& aggressor);

}  // namespace amisim
