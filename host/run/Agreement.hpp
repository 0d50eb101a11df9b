#pragma once

#include "host/process/ModelSource.hpp"
#include "host/signal/SignalOptions.hpp"

namespace amisim {

/// Has the signal sent with as many levels as the models declare, where the options leave that
/// open, and with their PAM4_Mapping. A model that declares nothing takes any.
/// @param transmitter  null: the one that is built in
/// @throws Error (kModelLoad) where what is sent, the transmitter's model and the receiver's are
/// not
///         of one modulation; names both
void AgreeOnModulation(SignalOptions& signal, const ModelSource& receiver,
                       const ModelSource* transmitter);

}  // namespace amisim
