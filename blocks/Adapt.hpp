#pragma once

#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"

class LogFile;

/// Equaliser adaptation: steers the CTLE level and the five DFE taps from eye measurements, one
/// setting per measurement.
///
///   1  CTLE adapt till CDR lock: up in steps of 2 until the eye is open enough for the clock
///      recovery to hold lock (HEO above 5). Entered again whenever HEO falls to 3 or less.
///   2  CTLE adapt till optimum: up in steps of 1 while the eye improves, then one step back.
///   3  DFE adapt: each tap in turn, in the direction that improves the eye, then one step back.
///
/// An eye no wider than high, HEO <= (Range + 1) x VEO, is judged by its merit (Range + 1) x HEO,
/// any other by its VEO; the other of the two decides ties. Every measurement and every change of
/// phase is logged to Adapt.txt.
class Adapt final : public Vantor::DFModel
{
public:
    static constexpr int NumberOfTaps = 5;

    Vantor::IntCircularBuffer Start;         ///< 1 when adaptation may begin
    Vantor::IntCircularBuffer EyeReady;      ///< its rising edge delivers a measurement
    Vantor::IntCircularBuffer HEO;           ///< phase bins
    Vantor::IntCircularBuffer VEO;           ///< amplitude bins
    Vantor::IntCircularBuffer Range;         ///< vertical range index
    Vantor::IntCircularBuffer RequestClear;  ///< its rising edge clears the eye request
    Vantor::IntCircularBufferBus Taps;       ///< element i carries tap C(i+1)
    Vantor::IntCircularBuffer EQLevel;
    Vantor::IntCircularBuffer EyeRequest;  ///< 1 while a new measurement is wanted
    Vantor::IntCircularBuffer CTLEDone;
    Vantor::IntCircularBuffer DFEDone;
    int DFEAdapt = 0;   ///< 1 enables phase 3
    int CTLEAdapt = 0;  ///< 1 enables phase 2
    int TapDir[NumberOfTaps] = {};
    int TapDone[NumberOfTaps] = {};
    int Tap[NumberOfTaps] = {};
    int TapStarted[NumberOfTaps] = {};
    int TapIndex = 0;
    int DFEDoneFlag = 0;
    int CTLEDoneFlag = 0;
    int Level = 0;
    int PrevHEO = 0;
    int PrevVEO = 0;
    int PrevRange = 0;
    int HorizLimited = 0;
    int Started = 0;
    int PrevStarted = 0;
    int PrevRequestClear = 0;
    int PrevEyeReady = 0;  ///< Initialize leaves it
    int CurHEO = 0;
    int CurVEO = 0;
    int CurRange = 0;
    int LockHEO = 0;
    int LockVEO = 0;
    int LockRange = 0;
    int LockPhase = 1;
    int EyeRequestFlag = 0;
    int EyeCount = 0;  ///< measurements requested so far

    bool Setup() override;
    bool Initialize() override;
    bool Run() override;

private:
    void RequestEye();
    void MeasuredForLock(LogFile& log);
    void MeasuredForOptimum(LogFile& log);

    void StepCTLE(LogFile& log);
    bool CTLEImproves() const;
    void FinishCTLE(LogFile& log);

    void StepDFE(LogFile& log);
    int CompareWithReference() const;
    void AdvanceTap(LogFile& log);

    void RestoreReference();
    void PrintMeasurement(LogFile& log, int iHEO, int iVEO, int iRange) const;

    bool m_bLogExists = false;
};
