#pragma once

#include "blocks/Delay.hpp"
#include "blocks/LoopFilter.hpp"
#include "blocks/PFD.hpp"
#include "receiver/SymbolTiming.hpp"
#include "runtime/Arithmetic.hpp"
#include "runtime/CircularBuffer.hpp"
#include "runtime/Fork.hpp"
#include "runtime/TypeConverter.hpp"
#include "runtime/VCO.hpp"

/// The clock-recovery loop: phase detector, charge pump and loop filter, VCO.
class ClockRecovery : public SymbolTiming
{
public:
    /// The phase detector with the quarter-period shifter that gives it its quadrature clock.
    class PhaseDetection
    {
    public:
        Delay QuarterPeriod;
        Vantor::DoubleCircularBuffer QuarterPeriodOutput;
        PFD Detector;
        Vantor::DoubleCircularBuffer InPhase;
        Vantor::DoubleCircularBuffer Quadrature;
        Vantor::DoubleCircularBuffer Data;
        Vantor::IntCircularBuffer InPhaseSign;
        Vantor::IntCircularBuffer QuadratureSign;
        Vantor::IntCircularBuffer PhaseError;
        Vantor::Add<int> PhaseSum;
        Vantor::Fork<Vantor::DoubleCircularBuffer> VcoPhaseFork;

        bool Setup();
        bool RunQuarterPeriod();
        bool RunDetector();
    };

    PhaseDetection Phase;
    Vantor::VCO VCO;
    LoopFilter Filter;
    Vantor::DoubleCircularBuffer FilterInput;
    Vantor::DoubleCircularBuffer FilterOutput;
    Vantor::IntToDouble PhaseToDouble;
    Vantor::Fork<Vantor::DoubleCircularBuffer> VcoFork;
    Vantor::Fork<Vantor::DoubleCircularBuffer> LoopFork;
    double C1 = 2.2e-08;           ///< farads
    double C2 = 5e-11;             ///< farads
    double R = 100.0;              ///< ohms
    double Icp = 2.5e-05;          ///< amperes
    double Factor = 1.0;           ///< VCO centre frequency over the symbol rate
    double VCO_Sensitivity = 8e8;  ///< Hz/V
    double InitialPhase = 0.0;     ///< radians
    double Amplitude = 1.0;
    double CentreFrequency = 0.0;  ///< derived, hertz

    bool RunEquations();
    bool Setup();

    bool RunFilter()
    {
        Filter.Input = FilterInput[0];
        const bool bOk = Filter.Run();
        FilterOutput[0] = Filter.Output;
        return bOk;
    }
};
