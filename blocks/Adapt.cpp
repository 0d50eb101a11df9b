#include "blocks/Adapt.hpp"

#include <algorithm>

#include "blocks/LogFile.hpp"

namespace {

constexpr int iHighestLevel = 31;

/// The eye's width weighed with the range its height needed.
int Merit(int iRange, int iHEO)
{
    return static_cast<int>((static_cast<unsigned>(iRange) + 1U) * static_cast<unsigned>(iHEO));
}

}  // namespace

bool Adapt::Setup()
{
    if (!Taps.Initialize(NumberOfTaps)) return false;
    for (size_t i = 0; i < NumberOfTaps; ++i) Taps[i].SetRate(1);
    for (Vantor::IntCircularBuffer* port : {&Start, &EyeReady, &HEO, &VEO, &Range, &RequestClear,
                                            &EQLevel, &EyeRequest, &CTLEDone, &DFEDone})
        port->SetRate(1);
    return true;
}

bool Adapt::Initialize()
{
    for (int* pPerTap : {TapDir, TapDone, Tap, TapStarted})
        std::fill(pPerTap, pPerTap + NumberOfTaps, 0);
    TapIndex = DFEDoneFlag = CTLEDoneFlag = Level = 0;
    PrevHEO = PrevVEO = PrevRange = HorizLimited = 0;
    Started = PrevStarted = PrevRequestClear = 0;
    CurHEO = CurVEO = CurRange = LockHEO = LockVEO = LockRange = 0;
    LockPhase = 1;
    EyeRequestFlag = EyeCount = 0;
    m_bLogExists = false;
    return true;
}

bool Adapt::Run()
{
    LogFile log("Adapt.txt");
    if (!m_bLogExists) {
        log.Touch();
        m_bLogExists = true;
    }

    const int iClear = RequestClear[0];
    const int iReady = EyeReady[0];
    if (Start[0] == 1) Started = 1;
    if (Started == 1 && PrevStarted == 0 && (DFEAdapt == 1 || CTLEAdapt == 1)) {
        RequestEye();
        log.Print("Begin CTLE adapt till CDR lock \n");
        log.Print("EQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value \t VEO value \t Range \n");
    }
    if (iReady == 1 && PrevEyeReady == 0) {
        if (LockPhase != 0)
            MeasuredForLock(log);
        else
            MeasuredForOptimum(log);
    }
    // After the measurement: an edge here clears a request made in this very firing.
    if (iClear == 1 && PrevRequestClear == 0) EyeRequestFlag = 0;

    for (size_t i = 0; i < NumberOfTaps; ++i) Taps[i][0] = Tap[i];
    EQLevel[0] = Level;
    CTLEDone[0] = CTLEDoneFlag;
    DFEDone[0] = DFEDoneFlag;
    EyeRequest[0] = EyeRequestFlag;

    PrevEyeReady = iReady;
    PrevRequestClear = iClear;
    PrevStarted = Started;
    PrevHEO = CurHEO;
    PrevVEO = CurVEO;
    PrevRange = CurRange;
    return true;
}

void Adapt::RequestEye()
{
    EyeRequestFlag = 1;
    ++EyeCount;
}

void Adapt::MeasuredForLock(LogFile& log)
{
    // Kept apart from the Cur fields on purpose: the first step towards the optimum then compares
    // with no eye at all and goes up.
    LockHEO = HEO[0];
    LockVEO = VEO[0];
    LockRange = Range[0];
    PrintMeasurement(log, LockHEO, LockVEO, LockRange);
    RequestEye();
    if (LockHEO <= 5 && Level <= 29) {
        Level += 2;
        return;
    }
    LockPhase = 0;
    log.Print("End CTLE adapt till CDR lock \n");
    if (DFEAdapt == 1 && CTLEAdapt == 0) {
        Tap[0] = 1;
        log.Print("Begin DFE adapt \n");
    } else if (CTLEAdapt == 1) {
        log.Print("Begin CTLE adapt till optimum \n");
    }
}

void Adapt::MeasuredForOptimum(LogFile& log)
{
    CurHEO = HEO[0];
    CurVEO = VEO[0];
    CurRange = Range[0];
    HorizLimited = CurHEO <= Merit(CurRange, CurVEO);
    PrintMeasurement(log, CurHEO, CurVEO, CurRange);
    if (CurHEO <= 3) {
        // The eye has nearly closed: the clock recovery may have lost lock.
        if (Level <= 29) {
            ++Level;
            LockPhase = 1;
        }
    } else if (CTLEAdapt == 1 && CTLEDoneFlag == 0) {
        StepCTLE(log);
    } else if (DFEAdapt == 1 && DFEDoneFlag == 0) {
        StepDFE(log);
    } else {
        return;  // adapted: no further measurement
    }
    RequestEye();
}

void Adapt::StepCTLE(LogFile& log)
{
    const bool bRoomAbove = Level < iHighestLevel;
    if (CTLEImproves()) {
        if (bRoomAbove)
            ++Level;
        else
            FinishCTLE(log);
        return;
    }
    if (bRoomAbove) {
        --Level;
        RestoreReference();
    }
    FinishCTLE(log);
}

bool Adapt::CTLEImproves() const
{
    const bool bBetterMerit = Merit(CurRange, CurHEO) > Merit(PrevRange, PrevHEO);
    if (HorizLimited) return bBetterMerit || (CurHEO == PrevHEO && CurVEO > PrevVEO);
    return CurVEO > PrevVEO || (CurVEO == PrevVEO && bBetterMerit);
}

void Adapt::FinishCTLE(LogFile& log)
{
    CTLEDoneFlag = 1;
    log.Print("End CTLE adapt till optimum \n");
    if (DFEAdapt == 1) {
        log.Print("Begin DFE adapt \n");
        Tap[0] = 1;
    }
}

void Adapt::StepDFE(LogFile& log)
{
    if (TapIndex >= NumberOfTaps) return;
    const int k = TapIndex;
    const int iBetter = CompareWithReference();
    if (TapStarted[k] == 0) {
        TapDir[k] = iBetter;
        TapStarted[k] = 1;
        Tap[k] += TapDir[k];
        if (TapDir[k] != 0) return;
        Tap[k] = 0;
    } else if (iBetter > 0) {
        Tap[k] += TapDir[k];
        return;
    } else {
        Tap[k] -= TapDir[k];
    }
    RestoreReference();
    TapDone[k] = 1;
    AdvanceTap(log);
}

int Adapt::CompareWithReference() const
{
    const auto sign = [](int iThis, int iReference) {
        return (iThis > iReference) - (iThis < iReference);
    };
    const int iMerit = sign(Merit(CurRange, CurHEO), Merit(PrevRange, PrevHEO));
    const int iHeight = sign(CurVEO, PrevVEO);
    if (HorizLimited) return iMerit != 0 ? iMerit : iHeight;
    return iHeight != 0 ? iHeight : iMerit;
}

void Adapt::AdvanceTap(LogFile& log)
{
    ++TapIndex;
    if (TapIndex < NumberOfTaps) {
        Tap[TapIndex] = 1;
        return;
    }
    DFEDoneFlag = 1;
    log.Print("End DFE adapt \n");
    log.Print(" Number of EYE computations = ");
    log.Print(EyeCount);
    log.Print("\n");
}

void Adapt::RestoreReference()
{
    CurVEO = PrevVEO;
    CurHEO = PrevHEO;
    CurRange = PrevRange;
}

void Adapt::PrintMeasurement(LogFile& log, int iHEO, int iVEO, int iRange) const
{
    log.Print(Level);
    log.Print("\t\t");
    for (const int iTap : Tap) {
        log.Print(iTap);
        log.Print(" \t");
    }
    log.Print(iHEO);
    log.Print(" \t ");
    log.Print(iVEO);
    log.Print(" \t ");
    log.Print(iRange);
    log.Print("\n");
}
