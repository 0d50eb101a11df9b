#pragma once

#include <cstdint>

#include "runtime/CircularBufferBus.hpp"
#include "runtime/DFModel.hpp"

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

    /// The owner's word that nobody reads PhaseSines and PhaseClocks: they are then not written,
    /// and the phase clocks are found without the sines.
    bool PhasesUnread = false;

    double Hist[Bins][Bins] = {};  ///< hits, by phase bin and amplitude bin
    double PrevClockSine = 0.0;
    double Phase = 0.0;                 ///< of the VCO's sine in this firing, radians
    std::uint64_t PrevPhaseClocks = 0;  ///< bit k: level of phase clock k in the previous firing
    double Scale = 0.1;                 ///< half the amplitude span, in signal units; not to be written
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

    std::uint64_t UpdatePhaseClocks();
    std::uint64_t PhaseClockLevels() const;
    void CountSample(int iPhase, double dSignal, double& dThreshold);
    void ClearPhaseOutputs();

    /// Upper threshold of amplitude bin b, for b = 1 to 64; element 0 is not used.
    double m_thresholds[Bins + 1] = {};
    bool m_bLogExists = false;
};
