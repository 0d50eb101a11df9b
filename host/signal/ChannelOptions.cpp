#include "host/signal/ChannelOptions.hpp"

#include <fmt/format.h>

#include "base/ElementFile.hpp"
#include "base/Error.hpp"
#include "host/channel/ElementCoupling.hpp"

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

bool IsPlaced(const std::filesystem::path& told)
{
    return base::ElementFileOf(told).element != 0;
}

PlacedCoupling ReadPlaced(const SignalOptions& options,
                          const std::optional<ChannelNetwork>& network,
                          const std::filesystem::path& told, bool isNear)
{
    const base::ElementFile placed = base::ElementFileOf(told);
    const ElementAggressor aggressor{placed.element, isNear, told.string()};
    static const ChannelNetwork kNone;
    const ChannelNetwork& channel = network ? *network : kNone;
    const ChannelElement& element = ElementOf(channel, aggressor);
    ChannelNetwork file =
        ReadNetwork({placed.file}, CrosstalkReading(options, element.order, element.modes));
    ChannelNetwork beside = BesideLane(channel, aggressor, file);
    return {std::move(file), std::move(beside)};
}

}  // namespace amisim
