#include "blocks/PFD.hpp"

bool PFD::Run()
{
    if (!SeesTransition(Data)) return true;

    PrevInPhaseSign = InPhaseSign;
    InPhaseSign = InPhase > 0.0 ? 1 : -1;
    QuadratureSign = Quadrature > 0.0 ? 1 : -1;
    PrevPhaseError = PhaseError;
    if (InPhaseSign > PrevInPhaseSign)
        PhaseError = QuadratureSign == 1 ? 0 : -1;
    else if (InPhaseSign < PrevInPhaseSign)
        PhaseError = QuadratureSign == 1 ? 0 : 1;
    else
        PhaseError = PrevPhaseError;
    PrevData = Data > 0.0 ? 1.0 : 0.0;
    return true;
}
