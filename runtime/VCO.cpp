#include "runtime/VCO.hpp"

#include "mathematics/Mathematics.hpp"
#include "runtime/DFErrorHandler.hpp"

namespace Vantor {

bool VCO::Initialize()
{
    m_state.Phase = InitialPhase;
    m_state.Firing = 0;
    if (SampleInterval <= 0) {
        DFErrorHandler::PostError(this, "SampleInterval must be a positive number.");
        return false;
    }
    return true;
}

double VCO::SineAt(double dTheta) const
{
    return Mathematics::Cos(dTheta) * Amplitude;
}

}  // namespace Vantor
