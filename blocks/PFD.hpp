#pragma once

#include "runtime/DFModel.hpp"

/// Bang-bang phase detector. At each transition of the data it samples the signs of the VCO's sine
/// (in phase) and of its quarter-period-delayed copy (quadrature); where the in-phase sign has
/// changed since the last transition and the quadrature sign is negative, the change's direction is
/// the phase error. A positive quadrature sign answers 0; an unchanged in-phase sign keeps the last
/// answer. Ports are fields the network copies; Initialize resets nothing.
class PFD final : public Vantor::DFModel
{
public:
    double InPhase = 0.0;
    double Quadrature = 0.0;
    double Data = 0.0;
    double PrevData = 0.0;  ///< the data level, 1.0 or 0.0, of the previous firing
    int PrevInPhaseSign = 0;
    int PrevPhaseError = 0;
    int InPhaseSign = 0;
    int QuadratureSign = 0;
    int PhaseError = 0;

    /// Whether a firing with this data would see a transition; without one it changes nothing.
    bool SeesTransition(double dData) const { return (PrevData > 0.0) != (dData > 0.0); }

    bool Run() override;
};
