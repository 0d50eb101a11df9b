#include "host/signal/ChannelOptions.hpp"

#include <fmt/format.h>

namespace amisim {

ChannelReading ReadingOf(const SignalOptions& o)
{
    return {o.bitRate, o.portOrder,  o.mixedMode,     o.ends,       o.lanes,
            o.victim,  o.aggressors, o.sourceNetwork, o.loadNetwork};
}

ChannelReading CrosstalkReading(const SignalOptions& options,
                                const std::optional<DifferentialPorts>& ports,
                                const std::optional<ModeOrder>& modes)
{
    ChannelReading reading{options.bitRate, options.crosstalkPortOrder, options.mixedMode,
                           options.ends};
    if (!reading.portOrder.empty()) {
        reading.modes = "no";
    } else if (modes) {
        reading.modes = ToText(*modes);
    } else if (ports) {
        reading.portOrder =
            fmt::format("{}{},{}{}", ports->inP, ports->outP, ports->inN, ports->outN);
    }
    return reading;
}

}  // namespace amisim
