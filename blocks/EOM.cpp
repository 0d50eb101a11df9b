#include "blocks/EOM.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "blocks/LogFile.hpp"
#include "mathematics/Mathematics.hpp"
#include "runtime/Numeric.hpp"

namespace {

constexpr const char* pLogPath = "EOM.txt";
constexpr double dPi = 3.141592653589793;
constexpr double dTwoPi = 6.283185307179586;
constexpr double dPerBin = 0.015625;  // 1/64

/// How far phase clock k lags the VCO's sine, radians.
double Lag(int k)
{
    return (k * dTwoPi) * dPerBin;
}

}  // namespace

bool EOM::Setup()
{
    const bool bMade = PhaseSines.Initialize(Bins) && PhaseClocks.Initialize(Bins);
    if (!bMade) return false;
    for (size_t k = 0; k < Bins; ++k) {
        PhaseSines[k].SetRate(1);
        PhaseClocks[k].SetRate(1);
    }
    Clock.SetRate(1);
    Signal.SetRate(1);
    ClockSine.SetRate(1);
    Start.SetRate(1);
    EyeReady.SetRate(1);
    Range.SetRate(1);
    HEO.SetRate(1);
    VEO.SetRate(1);
    MinOpening.SetRate(1);
    return true;
}

bool EOM::Initialize()
{
    std::memset(Hist, 0, sizeof Hist);
    PrevPhaseClocks = 0;
    PrevClockSine = Phase = 0.0;
    SetScale(0.1);
    RangeIndex = Count = PrevStart = Measuring = PrevClock = 0;
    HEOValue = Bins;
    HEOStart = VEOValue = VEOStart = MinOpeningValue = 0;
    m_bLogExists = false;
    return true;
}

bool EOM::Run()
{
    if (!m_bLogExists) {
        LogFile(pLogPath).Touch();
        m_bLogExists = true;
    }

    const double dSine = Oscillator ? 0.0 : ClockSine[0];
    const int iStart = Start[0];
    const int iClock = Clock[0];
    const double dThreshold = -Scale;  // a new Scale reaches it one firing later

    if (iStart == 1 && PrevStart == 0) Begin();
    if (Count < EOMNbits) EyeReady[0] = 0;
    if (Measuring == 0) {
        if (!Oscillator) ClearPhaseOutputs();
    } else {
        if (iClock == 1 && PrevClock == 0 && ++Count >= EOMNbits) Complete();

        if (Oscillator) {
            Measure(Oscillator->GetState(), Signal[0], dThreshold);
        } else {
            SetPhase(dSine, PrevClockSine);
            CountFalling(UpdatePhaseClocks(), Signal[0], dThreshold);
        }
    }

    MinOpening[0] = MinOpeningValue;
    VEO[0] = VEOValue;
    HEO[0] = HEOValue;
    Range[0] = RangeIndex;
    PrevClockSine = dSine;
    PrevStart = iStart;
    PrevClock = iClock;
    return true;
}

void EOM::Begin()
{
    std::memset(Hist, 0, sizeof Hist);
    PrevPhaseClocks = 0;
    Count = 0;
    Measuring = 1;
    EyeReady[0] = 0;
}

void EOM::Complete()
{
    EyeReady[0] = 1;
    PrintHistogram();
    MeasureEye();
    if (RangeIndex <= 2 && VEOValue >= 60) {
        ++RangeIndex;
        SetScale((RangeIndex + 1) * 0.1);
    }
    MinOpeningValue = VEOValue <= HEOValue ? VEOValue : HEOValue;
    Measuring = 0;
}

void EOM::PrintHistogram() const
{
    LogFile log(pLogPath);
    log.Print(" Print EOM data to file \n");
    for (int j = Bins - 1; j >= 0; --j) {
        for (int i = 0; i < Bins; ++i) {
            log.Print(Hist[i][j]);
            log.Print("\t");
        }
        log.Print("\n");
    }
}

void EOM::MeasureEye()
{
    constexpr int iFirstRow = 30;
    constexpr int iRows = 5;
    HEOValue = Bins;
    HEOStart = 0;
    for (int k = 0; k < iRows; ++k) {
        const OpenRun run = WidestOpenRun(&Hist[0][iFirstRow + k], Bins);
        if (run.Length < HEOValue) {
            HEOValue = run.Length;
            HEOStart = run.Start;
        }
    }
    VEOValue = 0;
    if (HEOValue > 1) {
        Column = HEOStart + HEOValue / 2;
        const OpenRun run = WidestOpenRun(Hist[Column], 1);
        VEOValue = run.Length;
        VEOStart = run.Start;
    }
}

EOM::OpenRun EOM::WidestOpenRun(const double* pBins, int iStride) const
{
    const double dMostHits = EOMNbits * 0.001;
    OpenRun run;
    OpenRun widest;
    bool bWasOpen = pBins[0] <= dMostHits;
    for (int i = 1; i < Bins; ++i) {
        const bool bOpen = pBins[i * iStride] <= dMostHits;
        if (bOpen && !bWasOpen)
            run = {i, 1};
        else if (bOpen)
            ++run.Length;
        else if (bWasOpen && run.Length > widest.Length)
            widest = run;
        bWasOpen = bOpen;
    }
    if (run.Length > widest.Length) widest = run;
    return widest;
}

void EOM::SetScale(double dScale)
{
    Scale = dScale;
    for (int b = 1; b <= Bins; ++b) m_thresholds[b] = (2 * b) * Scale * dPerBin - Scale;
    m_dBinsPerUnit = 0.5 * Bins / Scale;
}

std::uint64_t EOM::AskSines(const Vantor::VCO::State& oscillator)
{
    SetPhase(Oscillator->SineAt(oscillator.Theta), Oscillator->SineAt(oscillator.PreviousTheta));
    return PhaseClockLevels();
}

void EOM::SetPhase(double dSine, double dPreviousSine)
{
    // Strictly rising, unlike the quarter-period shifter's test.
    const bool bRising = dSine - dPreviousSine > 0.0;
    Phase = bRising ? Mathematics::Asin(dSine) : dPi - Mathematics::Asin(dSine);
}

std::uint64_t EOM::UpdatePhaseClocks()
{
    std::uint64_t iLevels = 0;
    for (int k = 0; k < Bins; ++k) {
        const auto i = static_cast<size_t>(k);
        const double dShiftedSine = Mathematics::Sin(Phase - Lag(k));
        PhaseSines[i][0] = dShiftedSine;
        PhaseClocks[i][0] = dShiftedSine >= 0.0;
        iLevels |= std::uint64_t{dShiftedSine >= 0.0} << k;
    }
    return iLevels;
}

std::uint64_t EOM::PhaseClockLevels() const
{
    // With d = Phase - Lag(k), between -5/2 pi and 3/2 pi, sin(d) >= 0 just when 0 <= d <= pi or
    // -2 pi <= d < -pi, pi being the double next below the number. d falls as k rises, so each
    // bound is passed once: the clocks below bit Passed(bound) are those with d above the bound.
    if (std::isnan(Phase)) return 0;
    const auto below = [](int n) {
        return n >= Bins ? ~std::uint64_t{0} : (std::uint64_t{1} << n) - 1;
    };
    const auto passed = [&](auto beyond, double dBound) {
        int k = std::clamp(Vantor::ToInt32((Phase - dBound) * (Bins / dTwoPi)), 0, Bins);
        while (k > 0 && !beyond(Phase - Lag(k - 1))) --k;
        while (k < Bins && beyond(Phase - Lag(k))) ++k;
        return below(k);
    };
    const std::uint64_t iAbovePi = passed([](double d) { return d > dPi; }, dPi);
    const std::uint64_t iNotNegative = passed([](double d) { return d >= 0.0; }, 0.0);
    const std::uint64_t iFromMinusPi = passed([](double d) { return d >= -dPi; }, -dPi);
    const std::uint64_t iFromMinusTwoPi = passed([](double d) { return d >= -2 * dPi; }, -2 * dPi);
    return (iNotNegative & ~iAbovePi) | (iFromMinusTwoPi & ~iFromMinusPi);
}

void EOM::ClearPhaseOutputs()
{
    for (size_t k = 0; k < Bins; ++k) {
        PhaseClocks[k][0] = 0;
        PhaseSines[k][0] = 0.0;
    }
}
