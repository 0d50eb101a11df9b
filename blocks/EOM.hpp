#pragma once

#include <bit>
#include <cstdint>

#include "blocks/PhaseClocks.hpp"
#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"
#include "runtime/VCO.hpp"

/// Eye opening monitor. On request it measures the eye of the equalised signal over EOMNbits rising
/// clock edges: 64 phase clocks, spaced evenly over one period of the VCO's sine, each count the
/// signal's amplitude bin at their falling edge into a 64 x 64 histogram (phase x amplitude; the
/// amplitude span is +-Scale). Then it appends the histogram to EOM.txt and reduces it to
///
///   HEO  horizontal opening in phase bins: the narrowest, over the five amplitude rows around
///        zero, of each row's widest open run;
///   VEO  vertical opening in amplitude bins: the tallest open run in the column at the centre of
///        the horizontal opening;
///
/// where a bin is open with at most EOMNbits / 1000 hits. A VEO of 60 or more widens the span for
/// the measurements to come: 0.1, 0.2, 0.3, 0.4, never back.
class EOM final : public Vantor::DFModel
{
public:
    static constexpr int Bins = 64;

    Vantor::IntCircularBuffer Clock;         ///< each rising edge counts one bit
    Vantor::DoubleCircularBuffer Signal;     ///< the equalised signal
    Vantor::DoubleCircularBuffer ClockSine;  ///< the VCO's sine, amplitude 1
    Vantor::IntCircularBuffer Start;         ///< its rising edge starts, or restarts, a measurement
    Vantor::IntCircularBuffer EyeReady;      ///< 1 from completion to the next start
    Vantor::IntCircularBuffer Range;
    Vantor::IntCircularBuffer HEO;
    Vantor::IntCircularBuffer VEO;
    Vantor::IntCircularBuffer MinOpening;        ///< the smaller of VEO and HEO
    Vantor::DoubleCircularBufferBus PhaseSines;  ///< 64 phase-shifted sines
    Vantor::IntCircularBufferBus PhaseClocks;    ///< 1 while the matching sine is not negative
    int EOMNbits = 0;                            ///< clock edges per measurement

    /// The owner's word that ClockSine is the sine of this oscillator, which fires before the
    /// monitor and once before any measurement, and that nobody reads PhaseSines and PhaseClocks.
    /// None of these ports is then touched; the phase clocks are found from the oscillator's phase.
    const Vantor::VCO* Oscillator = nullptr;

    double Hist[Bins][Bins] = {};  ///< hits, by phase bin and amplitude bin
    double PrevClockSine = 0.0;
    double Phase = 0.0;                 ///< of the VCO's sine when it was last asked for, radians
    std::uint64_t PrevPhaseClocks = 0;  ///< bit k: level of phase clock k in the previous firing
    double Scale = 0.1;  ///< half the amplitude span, in signal units; not to be written
    int RangeIndex = 0;
    int Count = 0;  ///< clock edges counted in the running measurement
    int PrevStart = 0;
    int Measuring = 0;
    int PrevClock = 0;
    int HEOValue = 0;
    int HEOStart = 0;
    int VEOValue = 0;
    int VEOStart = 0;
    int Column = 0;  ///< phase bin of the vertical scan; Initialize leaves it
    int MinOpeningValue = 0;

    bool Setup() override;
    bool Initialize() override;
    bool Run() override;

    /// What a firing of a running measurement comes to where neither clock nor start moves and an
    /// Oscillator is given, its state in this firing.
    void Measure(const Vantor::VCO::State& oscillator, double dSignal)
    {
        Measure(oscillator, dSignal, -Scale);
    }

private:
    /// A run of open bins: where it starts and how many.
    struct OpenRun
    {
        int Start = 0;
        int Length = 0;
    };

    void Begin();
    void Complete();
    void PrintHistogram() const;
    void MeasureEye();
    OpenRun WidestOpenRun(const double* pBins, int iStride) const;
    void SetScale(double dScale);

    void Measure(const Vantor::VCO::State& oscillator, double dSignal, double dThreshold);
    std::uint64_t AskSines(const Vantor::VCO::State& oscillator);
    void SetPhase(double dSine, double dPreviousSine);
    std::uint64_t UpdatePhaseClocks();
    std::uint64_t PhaseClockLevels() const;
    void CountFalling(std::uint64_t iLevels, double dSignal, double dThreshold);
    void ClearPhaseOutputs();

    /// Upper threshold of amplitude bin b, for b = 1 to 64; element 0 is not used.
    double m_thresholds[Bins + 1] = {};
    double m_dBinsPerUnit = 0.0;
    bool m_bLogExists = false;
};

inline void EOM::Measure(const Vantor::VCO::State& oscillator, double dSignal, double dThreshold)
{
    std::uint64_t iLevels;
    if (!PhaseClocksFromPhase(oscillator.Theta, oscillator.PreviousTheta, iLevels)) [[unlikely]]
        iLevels = AskSines(oscillator);
    CountFalling(iLevels, dSignal, dThreshold);
}

inline void EOM::CountFalling(std::uint64_t iLevels, double dSignal, double dThreshold)
{
    // dThreshold is set once per firing: where two phase clocks fall together, the second search
    // starts from the threshold where the first one stopped.
    for (std::uint64_t iFalling = PrevPhaseClocks & ~iLevels; iFalling; iFalling &= iFalling - 1) {
        // The lowest bin whose upper threshold the signal does not exceed; bin 0 ends at
        // dThreshold.
        int b = 0;
        if (dSignal > dThreshold) {
            const double dGuess = (dSignal + Scale) * m_dBinsPerUnit;
            b = dGuess >= Bins ? Bins : dGuess >= 1 ? static_cast<int>(dGuess) : 1;
            while (b > 1 && !(dSignal > m_thresholds[b - 1])) --b;
            while (b < Bins && dSignal > m_thresholds[b]) ++b;
            dThreshold = m_thresholds[b];
        }
        Hist[std::countr_zero(iFalling)][b < Bins ? b : Bins - 1] += 1.0;
    }
    PrevPhaseClocks = iLevels;
}
