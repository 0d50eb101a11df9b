#include "host/channel/ElementCoupling.hpp"

#include <fmt/format.h>

#include "base/Error.hpp"
#include "touchstone/Cascade.hpp"
#include "touchstone/Interpolation.hpp"
#include "touchstone/Lanes.hpp"

namespace amisim {
namespace {

constexpr int kPair = 2, kTwoLanes = 4;  // legs

/// At these frequencies, with so many legs, between such references.
SParameters Ready(const SParameters& s, const std::vector<double>& grid, int legs, double reference)
{
    return Renormalise(WithLegs(OnGrid(s, grid), legs), reference);
}

}  // namespace

const ChannelElement& ElementOf(const ChannelNetwork& network, const ElementAggressor& aggressor)
{
    if (aggressor.element > network.Elements()) {
        throw Error(
            ExitCode::kInput,
            network.Elements() == 0
                ? fmt::format("{}: expected a channel of files (--touchstone)", aggressor.name)
                : fmt::format("{}: expected @1 to @{} for one of the channel's files",
                              aggressor.name, network.Elements()));
    }
    return network.elements[network.buffersBefore + aggressor.element - 1];
}

ChannelNetwork BesideLane(const ChannelNetwork& network, const ElementAggressor& aggressor,
                          const SParameters& twoLanes)
{
    const ChannelElement& own = ElementOf(network, aggressor);
    std::vector<SParameters> lanes;
    for (const ChannelElement& element : network.elements)
        lanes.push_back(&element == &own ? twoLanes : WithLegs(element.s, kPair));
    ChannelNetwork beside;
    beside.s = Cascade(lanes);
    beside.ports = CascadeLane(0, 2);
    beside.aggressors = {{CascadeLane(1, 2), aggressor.isNear, aggressor.name}};
    return beside;
}

ChannelNetwork BesideLane(const ChannelNetwork& network, const ElementAggressor& aggressor,
                          const ChannelNetwork& coupling)
{
    const SParameters& lane = ElementOf(network, aggressor).s;
    if (coupling.s.ports > 4) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: expected two or four ports, from the aggressor's to the "
                                "signal's, found {}",
                                aggressor.name, coupling.s.ports));
    }
    const SParameters own = LegsOf(coupling);
    const std::vector<double> grid = CommonGrid({lane, own});
    const double reference = lane.reference.front();
    SParameters twoLanes = Ready(lane, grid, kTwoLanes, reference);
    const SParameters pairs = Ready(own, grid, kPair, reference);
    const DifferentialPorts to = CascadeLane(0, 2), from = CascadeLane(1, 2);
    const int sent = aggressor.isNear ? from.outP : from.inP;
    const auto ports = static_cast<std::size_t>(twoLanes.ports);
    for (std::size_t k = 0; k < grid.size(); ++k) {
        for (int i = 0; i < kPair; ++i) {
            const auto row = k * ports + static_cast<std::size_t>(to.outP + i - 1);
            for (int j = 0; j < kPair; ++j) {
                twoLanes.values[row * ports + static_cast<std::size_t>(sent + j - 1)] =
                    pairs.At(k, kPair + 1 + i, 1 + j);
            }
        }
    }
    return BesideLane(network, aggressor, twoLanes);
}

}  // namespace amisim
