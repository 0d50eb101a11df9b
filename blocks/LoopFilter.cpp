#include "blocks/LoopFilter.hpp"

#include "mathematics/Mathematics.hpp"
#include "runtime/DFErrorHandler.hpp"

bool LoopFilter::Initialize()
{
    if (SampleInterval > 0.0) return true;
    Vantor::DFErrorHandler::PostError(this, "SampleInterval must be a positive number.");
    return false;
}

void LoopFilter::UpdateCoefficients()
{
    const double dSum = C1 + C2;
    m_k.C1 = C1;
    m_k.C2 = C2;
    m_k.R = R;
    m_k.Step = SampleInterval;
    m_k.Decay = Mathematics::Exp(-(C1 + C2) * SampleInterval / (C2 * C1 * R));
    m_k.SumSquared = dSum * dSum;
    m_k.C1C2 = C1 * C2;
    m_k.C2C1 = C2 * C1;
    m_k.C1C1 = C1 * C1;
    m_k.C2C2 = C2 * C2;
    m_k.C1DecayC2 = C1 * m_k.Decay * C2;
    m_k.C1C1Decay = m_k.C1C1 * m_k.Decay;
    m_k.C2C2Decay = m_k.C2C2 * m_k.Decay;
}

void LoopFilter::UpdatePumpTerms()
{
    const double T = SampleInterval;
    m_pump.Ipump = Ipump;
    m_pump.C1C1IR = m_k.C1C1 * Ipump * R;
    m_pump.ITC1 = Ipump * T * C1;
    m_pump.ITC2 = Ipump * T * C2;
    m_pump.C1C1DecayIR = m_k.C1C1Decay * Ipump * R;
    m_pump.C1C2RI = m_k.C1C2 * R * Ipump;
    m_pump.C2DecayIC1R = C2 * m_k.Decay * Ipump * C1 * R;
}
