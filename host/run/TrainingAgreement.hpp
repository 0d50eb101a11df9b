#pragma once

#include <vector>

#include "host/run/Segment.hpp"

namespace amisim {

/// Has the models of a link train each other where they can: hands both a BCI_ID of their own and
/// the BCI_State "Training". Where one of them declares a part in a training and none takes place,
/// a note says why, and it stays "Off". To be called when the models have got their names.
/// @throws Error (kUsage) for a message interval too long to be held
void AgreeOnTraining(const SimulationOptions& options, std::vector<SegmentModels>& models);

}  // namespace amisim
