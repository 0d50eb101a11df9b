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

    /// What a firing changes.
    struct State
    {
        double Phase = 0.0;  ///< radians
        double Theta = 0.0;
        double PreviousTheta = 0.0;
        std::uint64_t Firing = 0;  ///< the next one's number
    };

    /// Restarts the phase, then checks SampleInterval.
    bool Initialize() override;

    bool Run() override
    {
        m_state = After(m_state, Control[0]);
        if (SineOnRequest) {
            Clock[0] = CosineIsPositive(m_state.Theta);
        } else {
            WriteSine();
            Clock[0] = Sine[0] > 0.0;
        }
        return true;
    }

    /// The state after a firing with this control voltage.
    State After(const State& state, double dControl) const
    {
        constexpr double dTwoPi = 6.283185307179586;
        State next;
        next.Phase = state.Phase + dControl * ((dTwoPi * Sensitivity) * SampleInterval);
        next.Theta =
            static_cast<double>(state.Firing) * (SampleInterval * (dTwoPi * FreeRunningFrequency)) +
            next.Phase;
        next.PreviousTheta = state.Theta;
        next.Firing = state.Firing + 1;
        return next;
    }

    const State& GetState() const { return m_state; }

    /// Goes on from a state that After has given, the clock being what it was.
    void SetState(const State& state) { m_state = state; }

    /// Writes the sine of the latest firing.
    void WriteSine() { Sine[0] = SineAt(m_state.Theta); }

    /// The sine of the firing before the latest one.
    double PreviousSine() const { return SineAt(m_state.PreviousTheta); }

    double SineAt(double dTheta) const;

private:
    State m_state;
};

}  // namespace Vantor
