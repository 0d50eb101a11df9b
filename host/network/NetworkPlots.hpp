#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/network/Limits.hpp"
#include "host/pictures/LinePlot.hpp"

namespace amisim {

/// What `amisim channel` may draw, by the files' names without their ends.
inline constexpr std::string_view kNetworkPictures[] = {
    "loss", "deviation", "return-loss", "crosstalk", "conversion", "impedance", "response"};

/// One picture: panels under each other.
struct NetworkPicture
{
    std::string_view name;
    std::vector<plot::LinePlot> plots;
};

/// All that the channel has curves for; limits are dashed.
std::vector<NetworkPicture> PicturesOf(const NetworkFigures& figures, const ChannelCurves& response,
                                       const LimitSet* limits);

}  // namespace amisim
