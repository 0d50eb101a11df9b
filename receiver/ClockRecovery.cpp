#include "receiver/ClockRecovery.hpp"

bool ClockRecovery::RunEquations()
{
    SymbolTiming::RunEquations();
    CentreFrequency = SymbolRate * Factor;
    return true;
}

bool ClockRecovery::Setup()
{
    RunEquations();
    bool bOk = Phase.Setup();
    VCO.SampleInterval = TimeStep;
    VCO.Amplitude = Amplitude;
    VCO.FreeRunningFrequency = CentreFrequency;
    VCO.Sensitivity = VCO_Sensitivity;
    VCO.InitialPhase = InitialPhase;
    Filter.C1 = C1;
    Filter.C2 = C2;
    Filter.R = R;
    Filter.Icp = Icp;
    Filter.SampleInterval = TimeStep;
    bOk &= Filter.Setup();
    bOk &= VcoFork.Outputs.Initialize(2);
    bOk &= LoopFork.Outputs.Initialize(2);
    return bOk;
}

bool ClockRecovery::PhaseDetection::Setup()
{
    bool bOk = QuarterPeriod.Setup();
    bOk &= Detector.Setup();
    bOk &= PhaseSum.Inputs.Initialize(2);
    bOk &= VcoPhaseFork.Outputs.Initialize(2);
    return bOk;
}

bool ClockRecovery::PhaseDetection::RunQuarterPeriod()
{
    const bool bOk = QuarterPeriod.Run();
    QuarterPeriodOutput[0] = QuarterPeriod.Output;
    return bOk;
}

bool ClockRecovery::PhaseDetection::RunDetector()
{
    Detector.InPhase = InPhase[0];
    Detector.Quadrature = Quadrature[0];
    Detector.Data = Data[0];
    const bool bOk = Detector.Run();
    InPhaseSign[0] = Detector.InPhaseSign;
    QuadratureSign[0] = Detector.QuadratureSign;
    PhaseError[0] = Detector.PhaseError;
    return bOk;
}
