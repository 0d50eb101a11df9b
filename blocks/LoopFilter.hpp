#pragma once

#include <cmath>

#include "runtime/DFModel.hpp"

/// Charge pump into a second-order passive loop filter: R in series with C1, and C2 in shunt at
/// the output node. A phase-detector decision of +1, -1 or 0 pumps +Icp, -Icp or no current; any
/// other value keeps the last current. Over a step T of constant current I, with a and b the
/// voltages of C1 and C2, S = C1 + C2 and D = exp(-S T / (C2 C1 R)), the exact solution is
///
///     b' = ( C1 C2 b + C1^2 I R + C1^2 a + C2 C1 a + C2^2 b + I T C1 + I T C2
///          + C1 D C2 b - C1^2 D I R - C1^2 D a - C1 D C2 a + C1^2 D b ) / S^2
///     a' = ( C1 C2 a + C1^2 a + C1 C2 b + C2^2 b - C1 C2 R I + I T C1 + I T C2
///          - C2^2 D b + C2 D I C1 R + C1 D C2 a + C2^2 D a - C1 D C2 b ) / S^2
///
/// evaluated in just this order. The output is b'. Initialize resets no voltage.
class LoopFilter final : public Vantor::DFModel
{
public:
    double Input = 0.0;
    double Output = 0.0;
    double VC1 = 0.0;             ///< volts on the series capacitor
    double VC2 = 0.0;             ///< volts on the shunt capacitor, the output node
    double C1 = 0.0;              ///< farads
    double C2 = 0.0;              ///< farads
    double R = 0.0;               ///< ohms
    double Icp = 0.0;             ///< charge-pump current, amperes
    double Ipump = 0.0;           ///< current of this step, amperes
    double SampleInterval = 0.0;  ///< seconds per firing

    /// Fails on a SampleInterval that is not positive.
    bool Initialize() override;
    bool Run() override;

    struct Voltages
    {
        double C1, C2;
    };

    /// The voltages after a step from these, with the pump current of the latest firing.
    Voltages After(Voltages voltages) const;

private:
    /// Products of the constants, in the equation's grouping; they change with the parameters only.
    struct Coefficients
    {
        double C1 = NAN;  // of the parameters they were made from: none yet
        double C2, R, Step;
        double Decay;
        double SumSquared;
        double C1C2, C2C1, C1C1, C2C2;
        double C1DecayC2, C1C1Decay, C2C2Decay;
    };

    /// The terms that hold the pump current; they change with it only.
    struct PumpTerms
    {
        double Ipump;
        double C1C1IR, ITC1, ITC2, C1C1DecayIR, C1C2RI, C2DecayIC1R;
    };

    void UpdateCoefficients();
    void UpdatePumpTerms();

    Coefficients m_k{};
    PumpTerms m_pump{};
};

inline bool LoopFilter::Run()
{
    if (Input == 1.0)
        Ipump = Icp;
    else if (Input == -1.0)
        Ipump = -Icp;
    else if (Input == 0.0)
        Ipump = 0.0;

    const bool bSameParameters =
        m_k.C1 == C1 && m_k.C2 == C2 && m_k.R == R && m_k.Step == SampleInterval;
    if (!bSameParameters) UpdateCoefficients();
    if (!bSameParameters || m_pump.Ipump != Ipump) UpdatePumpTerms();

    const Voltages voltages = After({VC1, VC2});
    VC1 = voltages.C1;
    VC2 = voltages.C2;
    Output = VC2;
    return true;
}

inline LoopFilter::Voltages LoopFilter::After(Voltages voltages) const
{
    const double a = voltages.C1;
    const double b = voltages.C2;
    const Coefficients& k = m_k;
    const PumpTerms& i = m_pump;
    const double q = -k.C1C2 * b - i.C1C1IR - k.C1C1 * a - k.C2C1 * a - k.C2C2 * b - i.ITC1 -
                     i.ITC2 - k.C1DecayC2 * b + i.C1C1DecayIR + k.C1C1Decay * a + k.C1DecayC2 * a -
                     k.C1C1Decay * b;
    const double p = k.C1C2 * a + k.C1C1 * a + k.C1C2 * b + k.C2C2 * b - i.C1C2RI + i.ITC1 +
                     i.ITC2 - k.C2C2Decay * b + i.C2DecayIC1R + k.C1DecayC2 * a + k.C2C2Decay * a -
                     k.C1DecayC2 * b;
    return {p / k.SumSquared, -q / k.SumSquared};
}
