#pragma once

#include <vector>

#include "host/run/Segment.hpp"
#include "host/run/SimulationOptions.hpp"

namespace amisim {

/// Makes the analogue parts that models state of their buffers part of the signals: Ts4file at its
/// end of the channel, driven with Tx_V from Tx_R or ended in Rx_R; without one of a receiver the
/// resistors of its [Model], and its C_comp where that is asked for. What the user asks for comes
/// before that. Notes go to the models.
void UseBuffers(SimulationOptions& options, std::vector<SegmentModels>& models);

}  // namespace amisim
