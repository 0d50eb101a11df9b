#include "host/run/Flow.hpp"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace amisim {
namespace {

using enum Response;

constexpr Flow kFlows[] = {
    // AMI_GetWave, impulse; AMI_GetWave
    {false, false, true, kRoad, kNone},       {false, false, false, kRoad, kReceiver},
    {false, true, true, kTransmitter, kNone}, {false, true, false, kTransmitter, kReceiver},
    {true, false, true, kRoad, kNone},        {true, false, false, kRoad, kReceiver},
    {true, true, true, kRoad, kNone},         {true, true, false, kRoad, kDivided},
};

}  // namespace

const Flow& FlowOf(const ModelSource* transmitter, const ModelSource& receiver)
{
    const bool wave = transmitter && transmitter->getWave;
    const bool impulse = transmitter && transmitter->returnsImpulse;
    const auto* const flow = std::ranges::find_if(kFlows, [&](const Flow& row) {
        return row.txWave == wave && row.txImpulse == impulse && row.rxWave == receiver.getWave;
    });
    if (flow == std::end(kFlows)) throw std::logic_error("no such flow");
    return *flow;
}

}  // namespace amisim
