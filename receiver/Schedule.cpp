// One firing of the network: every block once, in a fixed order. Where a consumer stands before
// its producer it reads the token of the firing before; these back edges are marked in the wiring.
//
// Most blocks answer the same as in the last firing unless the recovered clock has just moved, and
// firing them again would change nothing. They are passed over:
//
//   constants and what hangs on them    after the first firing
//   the clocked blocks, taps and level  while the clock stands still and all of them are settled
//   the VCO's sine and its copies       while nobody looks: without a transition of the data
//   the detector and its converters     without a transition of the data
//   forks                               always: what they would copy stands there already
//
// A firing that failed is followed by a full one, since a block that fails says so every time.
//
// What is left then is one loop: oscillator, equaliser, sum, filter (RunAtRest).

#include <algorithm>
#include <span>

#include "receiver/Retimer_RX_RT.hpp"

bool Retimer_RX_RT::Run()
{
    const bool bEverything = FireEverything || m_bFirstFiring;
    m_bFirstFiring = false;
    bool bOk = true;

    WaveIn.CopyToken(NetIn);
    bOk &= RunResponses();
    if (bEverything) bOk &= RunConstants();

    const int iPreviousClock = Cdr.VCO.Clock[0];
    bOk &= Cdr.VCO.Run();
    const int iClock = Cdr.VCO.Clock[0];
    const bool bAwake = !m_bAtRest || iClock != iPreviousClock;
    if (bEverything) {
        bOk &= RunSineForks();
        bOk &= Cdr.Phase.RunQuarterPeriod();
    }

    if (bAwake) {
        bOk &= RunFork(ClockFork);
        bOk &= RunFork(Dfe.Line.DfeClockFork);
        bOk &= AdaptStart.Run();
        bOk &= RunDecisionDelays();
        bOk &= EyeRequestHold.Run();
        bOk &= EyeRequestHoldToInt.Run();
        bOk &= Adapt1.Run();
        bOk &= RunTaps();
        bOk &= RunFork(EyeRequestFork);
        bOk &= EomStart.Run();
        EomStart.Output.Advance();
        bOk &= EqLevelToDouble.Run();
        bOk &= EqLevelSelect.Run();
        bOk &= EqLevelToInt.Run();
    }
    bOk &= RunSelectedResponse();

    bOk &= Dfe.Line.DfeSum.Run();
    bOk &= RunFork(Dfe.Line.DfeFork);
    bOk &= RunFork(EqualizedFork);
    if (bAwake || Eom1.Measuring) bOk &= Eom1.Run();
    if (bAwake) {
        Eom1.Start.Advance();
        bOk &= EyeRequestToDouble.Run();
        bOk &= Dfe.Line.Slicer.Run();
        bOk &= RunFork(Dfe.Line.DecisionFork[0]);
    }

    if (bEverything || Cdr.Phase.Detector.SeesTransition(Cdr.Phase.Data[0])) {
        if (!bEverything) bOk &= RunSkippedQuarterPeriod();
        bOk &= Cdr.Phase.RunDetector();
        bOk &= Cdr.Phase.PhaseSum.Run();
        bOk &= Cdr.PhaseToDouble.Run();
    }
    bOk &= Cdr.RunFilter();
    bOk &= RunFork(Cdr.LoopFork);

    bOk &= ClockTimes1.Run();
    if (bAwake) bOk &= ClockToDouble.Run();
    if (bEverything) {
        bOk &= OutputMode.Run();
        bOk &= OutputModeToInt.Run();
    }
    bOk &= OutputSelect.Run();

    NetOut.CopyToken(WaveOut);
    NetClock.CopyToken(ClockOut);
    m_bAtRest = bOk && !bEverything && IsSettled();
    return bOk;
}

size_t Retimer_RX_RT::RunAtRest(double* pWave, size_t iSamples)
{
    const Vantor::TimeResponseFIR* const selected = m_bAtRest ? Ctle.GetSelected() : nullptr;
    if (!selected) return 0;
    const std::span<const double> ahead = m_bank.GetAhead(selected->Taps);
    iSamples = std::min(iSamples, ahead.size());

    // In registers, not in the blocks: each sample waits for the voltages of the one before.
    Vantor::VCO::State oscillator = Cdr.VCO.GetState();
    LoopFilter::Voltages voltages{Cdr.Filter.VC1, Cdr.Filter.VC2};
    const bool bClock = Cdr.VCO.Clock[0] == 1;
    const bool bMeasuring = Eom1.Measuring != 0;
    double feedback[DecisionFeedback::NumberOfTaps];
    for (size_t k = 0; k < DecisionFeedback::NumberOfTaps; ++k)
        feedback[k] = Dfe.Line.DfeSum.Subtracted[k][0];
    double& dEqualised = Dfe.Line.DfeSum.Output[0];
    const double& dOutput =
        OutputSelect.Mux.Inputs[static_cast<size_t>(OutputSelect.Control[0])][0];

    size_t i = 0;
    for (; i < iSamples; ++i) {
        const Vantor::VCO::State next = Cdr.VCO.After(oscillator, voltages.C2);
        if (Vantor::CosineIsPositive(next.Theta) != bClock) break;
        double dSum = ahead[i];
        for (const double dTap : feedback) dSum -= dTap;
        if (Cdr.Phase.Detector.SeesTransition(dSum)) break;
        if (bMeasuring) Eom1.Measure(next, dSum);
        voltages = Cdr.Filter.After(voltages);
        oscillator = next;
        dEqualised = dSum;
        pWave[i] = dOutput;
    }
    m_bank.Skip(i);
    Cdr.VCO.SetState(oscillator);
    Cdr.Filter.VC1 = voltages.C1;
    Cdr.Filter.VC2 = Cdr.FilterOutput[0] = voltages.C2;
    ClockTimes1.Skip(i);
    return i;
}

/// Whether the clocked blocks, fired again while the clock stands still, would answer as they just
/// did: the two answers that are heard a firing late, the eye monitor's by Adapt and the delayed
/// start by the eye monitor, have been heard. Adapt reads the rest of the measurement only when
/// EyeReady rises.
inline bool Retimer_RX_RT::IsSettled()
{
    return Adapt1.PrevEyeReady == Eom1.EyeReady[0] && Eom1.PrevStart == EomStart.Value;
}

inline bool Retimer_RX_RT::RunResponses()
{
    if (!FireEverything) {
        m_bank.Push(NetIn[0]);
        return true;
    }
    bool bOk = Ctle.EqInputFork.Run();
    for (size_t j = EqualiserBank::Responses; j-- > 0;) bOk &= Ctle.EqResponse[j].Run();
    return bOk;
}

bool Retimer_RX_RT::RunConstants()
{
    bool bOk = EqLevelFixed.Run();
    for (size_t k = DecisionFeedback::NumberOfTaps; k-- > 0;) bOk &= Dfe.TapFixed[k].Run();
    bOk &= AdaptStartLevel.Run();
    bOk &= AdaptStartToInt.Run();
    bOk &= DfeMode.Run();
    bOk &= Dfe.DfeModeToInt.Run();
    bOk &= RunFork(Dfe.DfeModeFork);
    bOk &= CtleMode.Run();
    bOk &= CtleModeToInt.Run();
    return bOk;
}

inline bool Retimer_RX_RT::RunSineForks()
{
    if (!FireEverything) Cdr.VCO.WriteSine();
    bool bOk = RunFork(Cdr.VcoFork);
    bOk &= RunFork(Cdr.Phase.VcoPhaseFork);
    return bOk;
}

inline bool Retimer_RX_RT::RunDecisionDelays()
{
    bool bOk = true;
    for (size_t k = 0; k < DecisionFeedback::NumberOfTaps; ++k) {
        if (k > 0) bOk &= RunFork(Dfe.Line.DecisionFork[k]);
        bOk &= Dfe.Line.DecisionDelay[k].Run();
    }
    return bOk;
}

inline bool Retimer_RX_RT::RunTaps()
{
    bool bOk = true;
    for (size_t k = DecisionFeedback::NumberOfTaps; k-- > 0;) {
        bOk &= Dfe.TapToDouble[k].Run();
        bOk &= Dfe.TapSelect[k].Run();
        bOk &= Dfe.Line.TapGain[k].Run();
        bOk &= Dfe.Line.TapMpy[k].Run();
    }
    return bOk;
}

inline bool Retimer_RX_RT::RunSelectedResponse()
{
    bool bOk = true;
    if (!FireEverything) {
        if (Vantor::TimeResponseFIR* selected = Ctle.GetSelected()) {
            bOk = selected->ProvideTaps();
            if (bOk)
                selected->Output[0] =
                    m_bank.Output(selected->Taps, static_cast<size_t>(selected->NumberOfTaps));
        }
    }
    return Ctle.EqSelect.Run() && bOk;
}

bool Retimer_RX_RT::RunSkippedQuarterPeriod()
{
    bool bOk = RunSineForks();
    Cdr.Phase.QuarterPeriod.PrevInput = Cdr.VCO.PreviousSine();
    bOk &= Cdr.Phase.RunQuarterPeriod();
    return bOk;
}
