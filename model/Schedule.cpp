// One firing of the network: every block once, in a fixed order. Where a consumer stands before
// its producer it reads the token of the firing before; these back edges are marked in the wiring.
//
// Most blocks answer the same as in the last firing unless the recovered clock has just moved, and
// firing them again would change nothing. They are passed over:
//
//   constants and what hangs on them    after the first firing
//   the clocked blocks, taps and level  while the clock stands still, but for a few firings after
//                                       a rising edge
//   the VCO's sine and its copies       while nobody looks: the eye monitor at rest, no transition
//   the detector and its converters     without a transition of the data
//   forks                               always: what they would copy stands there already
//
// A firing that failed is followed by a full one, since a block that fails says so every time.

#include <algorithm>

#include "model/Retimer_RX_RT.hpp"

namespace {

/// Firings until the clocked blocks are at rest. A rising edge may complete an eye measurement,
/// whose result reaches Adapt one firing later and Adapt's answer the eye monitor after another;
/// by then both tokens of the delayed start are the same. A falling edge is only remembered.
constexpr int AwakeAfterRisingEdge = 3;
constexpr int AwakeAfterFallingEdge = 1;

}  // namespace

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
    if (bEverything || iClock > iPreviousClock)
        m_iAwake = AwakeAfterRisingEdge;
    else if (iClock < iPreviousClock)
        m_iAwake = std::max(m_iAwake, AwakeAfterFallingEdge);
    const bool bAwake = m_iAwake > 0;
    const bool bEyeWatched = bAwake || Eom1.Measuring;
    if (bEyeWatched) bOk &= RunSineForks();
    if (bEverything) bOk &= Cdr.Phase.RunQuarterPeriod();

    if (bAwake) {
        --m_iAwake;
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
    if (bEyeWatched) bOk &= Eom1.Run();
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
    if (!bOk) m_iAwake = AwakeAfterRisingEdge;
    return bOk;
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
