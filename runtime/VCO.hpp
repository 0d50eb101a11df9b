#pragma once

#include <cstdint>

#include "runtime/CircularBuffer.hpp"
#include "runtime/CosineSign.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// Voltage-controlled oscillator in sampled time. At firing n, with the control voltage v[n],
///
///     phase[n] = phase[n-1] + v[n] * 2 pi * Sensitivity * SampleInterval
///     theta[n] = n * SampleInterval * 2 pi * FreeRunningFrequency + phase[n]
///     sine[n]  = Amplitude * cos(theta[n]),   clock[n] = sine[n] > 0.
///
/// theta is never reduced modulo 2 pi.
class VCO final : public DFModel
{
public:
    DoubleCircularBuffer Control;  ///< volts
    DoubleCircularBuffer Sine;
    IntCircularBuffer Clock;  ///< 1 while the sine is above zero, else 0

    double SampleInterval = 1e-10;      ///< seconds per firing
    double Amplitude = 1.0;             ///< peak of the sine
    double FreeRunningFrequency = 1e9;  ///< hertz at zero control
    double Sensitivity = 1.0;           ///< hertz per volt
    double InitialPhase = 0.0;          ///< radians

    /// The owner's word that it asks for the sine with WriteSine whenever somebody will read it.
    /// A firing then finds the clock from the phase alone. Needs an Amplitude of 1.
    bool SineOnRequest = false;

    /// Restarts the phase, then checks SampleInterval.
    bool Initialize() override;

    bool Run() override
    {
        constexpr double dTwoPi = 6.283185307179586;
        m_dPreviousTheta = m_dTheta;
        m_dPhase = m_dPhase + Control[0] * ((dTwoPi * Sensitivity) * SampleInterval);
        m_dTheta =
            static_cast<double>(m_iFiring) * (SampleInterval * (dTwoPi * FreeRunningFrequency)) +
            m_dPhase;
        if (SineOnRequest) {
            Clock[0] = CosineIsPositive(m_dTheta);
        } else {
            WriteSine();
            Clock[0] = Sine[0] > 0.0;
        }
        ++m_iFiring;
        return true;
    }

    /// Writes the sine of the latest firing.
    void WriteSine() { Sine[0] = SineAt(m_dTheta); }

    /// The sine of the firing before the latest one.
    double PreviousSine() const { return SineAt(m_dPreviousTheta); }

private:
    double SineAt(double dTheta) const;

    double m_dPhase = 0.0;
    std::uint64_t m_iFiring = 0;
    double m_dTheta = 0.0;
    double m_dPreviousTheta = 0.0;
};

}  // namespace Vantor
