// Parameters to blocks, storage to ports, and the end of both.

#include "receiver/Retimer_RX_RT.hpp"

namespace {

void DeclareExternal(Vantor::DoubleCircularBuffer& port)
{
    port.SetRate(1);
    if (port.GetHistoryDepth() == 0) port.SetHistoryDepth(1);
}

void SetConstant(Vantor::ConstUnTimed<double>& source, double dLevel)
{
    source.Level = dLevel;
    source.InitialDelay = 0;
}

}  // namespace

bool Retimer_RX_RT::RunEquations()
{
    SymbolRate = 1.0 / SymbolTime;
    TimeStep = 1.0 / (SamplesPerSymbol * SymbolRate);
    return true;
}

bool Retimer_RX_RT::Setup()
{
    DeleteArrayParameters();
    RunEquations();

    Ctle.SymbolTime = SymbolTime;
    Ctle.SamplesPerSymbol = SamplesPerSymbol;
    Ctle.TapsOnRequest = !FireEverything;
    bool bOk = Ctle.Setup();

    for (double& dTap : Dfe.FixedTaps) dTap = 0.0;
    Dfe.SymbolTime = SymbolTime;
    Dfe.SamplesPerSymbol = SamplesPerSymbol;
    bOk &= Dfe.Setup();

    Cdr.C1 = 2.2e-08;
    Cdr.C2 = 5e-11;
    Cdr.R = 100.0;
    Cdr.Icp = 2.5e-05;
    Cdr.SamplesPerSymbol = SamplesPerSymbol;
    Cdr.Factor = Factor;
    Cdr.VCO_Sensitivity = VCO_Sensitivity;
    Cdr.InitialPhase = 0.0;
    Cdr.Amplitude = 1.0;
    Cdr.SymbolTime = SymbolTime;
    Cdr.VCO.SineOnRequest = !FireEverything;
    bOk &= Cdr.Setup();

    ClockTimes1.SampleInterval = TimeStep;
    AdaptStart.N = 500;
    bOk &= AdaptStart.Setup();
    EomStart.N = 100;
    bOk &= EomStart.Setup();
    bOk &= EyeRequestHold.Fields.Setup();
    Eom1.EOMNbits = EOMNbits;
    Eom1.Oscillator = FireEverything ? nullptr : &Cdr.VCO;
    bOk &= Eom1.Setup();
    Adapt1.DFEAdapt = 0;
    Adapt1.CTLEAdapt = CTLEAdapt;
    bOk &= Adapt1.Setup();

    bOk &= OutputSelect.Setup(3);
    SetConstant(OutputMode, RX_Config);
    bOk &= EqLevelSelect.Setup(2);
    SetConstant(AdaptStartLevel, 1.0);
    SetConstant(DfeMode, 0.0);
    bOk &= EyeRequestFork.Outputs.Initialize(2);
    SetConstant(CtleMode, CTLEAdapt);
    SetConstant(EqLevelFixed, EQ_Level);
    bOk &= EqualizedFork.Outputs.Initialize(3);
    bOk &= ClockFork.Outputs.Initialize(7);

    DeclareExternal(WaveIn);
    DeclareExternal(WaveOut);
    DeclareExternal(ClockOut);
    return bOk;
}

bool Retimer_RX_RT::Initialize()
{
    // Without memory nothing is attached, and a firing ends at the first port.
    DeleteBuffers();
    if (!FireEverything && !m_bank.Initialize(Ctle.GetMostTaps(), *Kernel)) return false;
    Netlist net;
    if (!net.Make([this](Netlist& wiring) { Describe(wiring); })) return false;
    if (!m_stores.Bind(net, !FireEverything)) return false;

    m_bFirstFiring = true;
    m_bAtRest = false;
    bool bOk = ClockTimes1.Initialize();
    if (FireEverything)
        for (Vantor::TimeResponseFIR& response : Ctle.EqResponse) bOk &= response.Initialize();
    bOk &= Dfe.Line.Slicer.Fields.Initialize();
    for (auto& delay : Dfe.Line.DecisionDelay) bOk &= delay.Fields.Initialize();
    for (auto& source : Dfe.TapFixed) bOk &= source.Initialize();
    bOk &= AdaptStart.Initialize();
    bOk &= EomStart.Initialize();
    bOk &= EyeRequestHold.Fields.Initialize();
    bOk &= Cdr.Phase.QuarterPeriod.Initialize();
    bOk &= Cdr.Phase.Detector.Initialize();
    bOk &= Cdr.VCO.Initialize();
    bOk &= Cdr.Filter.Initialize();
    bOk &= Eom1.Initialize();
    bOk &= Adapt1.Initialize();
    for (auto* source : {&OutputMode, &AdaptStartLevel, &DfeMode, &CtleMode, &EqLevelFixed})
        bOk &= source->Initialize();
    return bOk;
}

bool Retimer_RX_RT::Finalize()
{
    bool bOk = ClockTimes1.Finalize();
    for (Vantor::TimeResponseFIR& response : Ctle.EqResponse) bOk &= response.Finalize();
    bOk &= Dfe.Line.Slicer.Fields.Finalize();
    for (auto& delay : Dfe.Line.DecisionDelay) bOk &= delay.Fields.Finalize();
    bOk &= AdaptStart.Finalize();
    bOk &= EomStart.Finalize();
    bOk &= EyeRequestHold.Fields.Finalize();
    bOk &= Cdr.Phase.QuarterPeriod.Finalize();
    bOk &= Cdr.Phase.Detector.Finalize();
    bOk &= Cdr.VCO.Finalize();
    bOk &= Cdr.Filter.Finalize();
    bOk &= Eom1.Finalize();
    bOk &= Adapt1.Finalize();
    DeleteBuffers();
    DeleteArrayParameters();
    return bOk;
}

void Retimer_RX_RT::DeleteBuffers()
{
    m_stores.Free();
    m_bank.Finalize();
}

void Retimer_RX_RT::DeleteArrayParameters()
{
    Ctle.DeleteArrayParameters();
}
