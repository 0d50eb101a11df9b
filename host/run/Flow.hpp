#pragma once

#include "host/process/ModelSource.hpp"

namespace amisim {

/// What the stimulus, or what a transmitter's AMI_GetWave makes of it, is convolved with.
enum class Response {
    kRoad,         // transmitter's analogue part and channel, as the first AMI_Init is handed it
    kTransmitter,  // the same as the transmitter's AMI_Init gives it back
    kReceiver,     // that as the receiver's AMI_Init gives it back
    kDivided,      // kRoad with what the receiver's AMI_Init has added to kTransmitter
    kNone          // the receiver's AMI_GetWave makes the output from its input
};

/// How a signal comes through two models in the time domain (IBIS 7.2 section 10): a row of a table
/// of all kinds of transmitters and receivers. No filter may act twice, in AMI_Init and in
/// AMI_GetWave.
struct Flow
{
    bool txWave, txImpulse;  // the transmitter has AMI_GetWave; its AMI_Init returns the impulse
    bool rxWave;             // the receiver has AMI_GetWave
    Response input;          // of the receiver
    Response output;
};

/// @param transmitter  null: the one that is built in, which is part of the road
const Flow& FlowOf(const ModelSource* transmitter, const ModelSource& receiver);

}  // namespace amisim
