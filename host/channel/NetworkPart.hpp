#pragma once

#include <map>
#include <string>

#include "host/channel/ChannelNetwork.hpp"

namespace amisim {

/// One file of a channel.
struct NetworkPart
{
    ChannelNetwork network;
    /// By the aggressors that couple in it alone, as they were told: the victim's lane and theirs.
    std::map<std::string, SParameters> beside = {};
};

/// Reads it as ReadNetwork has them. @param element  of the cascade, from 1; 0: a buffer
/// Throws Error with the file's name.
NetworkPart ReadPart(const std::filesystem::path& path, const ChannelReading& reading,
                     std::size_t element);

}  // namespace amisim
