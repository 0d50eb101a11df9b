#pragma once

#include <algorithm>
#include <complex>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/EyeTrend.hpp"
#include "host/analysis/Findings.hpp"
#include "host/analysis/Sampler.hpp"
#include "host/analysis/Slicers.hpp"
#include "host/analysis/SymbolComparer.hpp"
#include "host/analysis/ThresholdCrossings.hpp"
#include "host/analysis/VoltageHistogram.hpp"

namespace amisim {

/// Looks at a waveform in its clock's own frame as it streams by: phase 0 is a clock edge, phase 1
/// the next one, and data are sampled half a unit interval after the edge. Between two edges the
/// phase runs evenly.
class EyeAnalysis
{
public:
    struct Settings
    {
        int samplesPerBit = 64;
        std::int64_t ignoreSamples = 0;         // at the start: seen, not counted
        double sentUnitInterval = 64;           // samples, the transmitter's
        Slicers slicers;                        // until told otherwise
        BitMapping mapping = BitMapping(2);     // of as many levels as the slicers tell apart
        const SymbolHistory* sent = nullptr;    // null: nothing to compare with
        const SymbolHistory* origin = nullptr;  // what a link's first transmitter sent, likewise
        bool decisionsOnly = false;             // no density, no levels but those decided by
    };

    explicit EyeAnalysis(const Settings& settings);

    /// In place of the settings' ignoreSamples, before any that counts has come.
    void IgnoreUpTo(std::int64_t samples) { settings_.ignoreSamples = samples; }

    /// Has what stands between this waveform and its decisions take part; to be called before the
    /// first unit interval that counts.
    void Use(const Sampler& sampler);

    /// Decides by these from the unit interval on that begins at this sample or later. In the order
    /// of the samples.
    void Use(const Slicers& slicers, double from);

    /// That were told last.
    const Slicers& LastSlicers() const
    {
        return pending_.empty() ? slicers_ : pending_.back().slicers;
    }

    /// Takes the next samples of the waveform and the clock edges up to their end (a model's clock
    /// list for the same block). Samples after the last edge are kept until the next one is known.
    void Add(std::span<const double> wave, std::span<const ClockFrame::Edge> edges);
    void Finish();

    /// Tells how far the signal goes, V: from now on a sample of eight times that is a wild one,
    /// and taken as twice that. Should such samples turn out to be no exception, they are the
    /// signal and taken as they are, from then on.
    void Expect(double amplitude);

    static constexpr std::size_t kColumns = 256;  // phases a unit interval
    static constexpr std::size_t kDensityRows = 512;
    static constexpr std::size_t kLevelColumns = 64;  // phases a unit interval, split by decision

    /// Trace density: column c holds the phase (c + 1/2) / kColumns after a clock edge. The trace
    /// is drawn with straight lines between samples.
    const VoltageHistogram& Density() const { return density_; }

    /// For each symbol the voltages of the unit intervals that were decided as it at the sampling
    /// instant, each taken exactly at phase (c + 1/2) / kLevelColumns in column c.
    const std::vector<VoltageHistogram>& Decided() const { return decided_; }

    /// For each threshold the transitions through it, before and after its own instant of decision.
    const std::vector<ThresholdCrossings>& Crossings() const { return crossings_; }
    /// Clock edges whose transitions, if any, have been counted.
    std::int64_t Boundaries() const { return boundaries_; }

    /// What a threshold has been compared with. Symbols by what was sent as far as that is known,
    /// else as they were decided.
    struct Slice
    {
        VoltageHistogram below, above;  // voltages of the symbols next below it and next above
        std::int64_t errors = 0;        // symbols found on the wrong side or not surely on either
    };

    /// The signal at the instants of decision, and how its symbols compare. Two are tried at once:
    /// half a unit interval after the clock edge, where data are sampled, and a quarter later, for
    /// an output that itself switches at the sampling instant.
    struct Decisions
    {
        double offset = 0.5;                              // unit intervals after the clock edge
        std::vector<Slice> slices;                        // one for each threshold
        std::optional<SymbolComparer> symbols, endToEnd;  // against those sent, and the origin's
        std::int64_t unsure = 0;    // decided rightly, but nearer to a threshold than is needed
        std::int64_t compared = 0;  // when the last window was taken

        // The symbols that the comparer still holds; voltages: a row of all thresholds for each.
        std::vector<Symbol> decided;
        std::vector<std::uint32_t> unsureAt;  // thresholds, the lowest in bit 0
        std::vector<double> voltages;
    };
    const Decisions& AtSampling() const { return atSampling_; }
    const Decisions& AtLater() const { return later_; }

    /// How open the eye is at the sampling instant, against time.
    const EyeTrend& Trend() const { return trend_; }

    /// Mean over all crossings of e^(2 pi i phase), phase 0 being the clock edge: 1 in
    /// magnitude where all have the same phase, 0 where they are spread evenly as those of a signal
    /// with another clock. Nothing where nothing crosses.
    std::optional<std::complex<double>> MeanCrossing() const;

    /// True when the signal has no more levels than symbols and switches where data are sampled,
    /// like a slicer's decisions.
    bool IsSliced() const;

    double Sensitivity() const { return sampler_.Sensitivity(); }

    std::int64_t UnitIntervals() const { return intervals_; }  // counted
    std::int64_t NotFinite() const { return notFinite_; }      // samples taken as 0 V
    std::int64_t FirstNotFinite() const { return firstNotFinite_; }
    const WildSamples& Wild() const { return wild_; }

private:
    double TakeNotFinite(std::size_t from);
    double TakeWild(std::size_t from);
    void SeekLevels(std::span<const double> wave);
    void AddInterval(double begin, double end);
    double ValueAt(double time) const;  // of the waveform, straight between samples
    void TakeSlicers(double begin);
    struct Decision
    {
        Symbol symbol;
        double distance;  // V from the nearest threshold
    };
    Decision Decide(Decisions& at, double begin);
    void TakeWindow(Decisions& at);
    void CountWrong(Decisions& at, bool compared);
    void CountCrossings(double begin, double end);
    void CountLevels(double begin, double end, Symbol symbol);
    void CountDensity(std::span<const double> wave, double first, double begin, double end);

    double FurthestMoved() const
    {
        return (sampler_.Furthest() + furthestLate_) * settings_.samplesPerBit;
    }

    /// Points of the density's trace from a sample to the next.
    std::size_t StepsPerSample() const
    {
        return std::max<std::size_t>(1,
                                     kColumns / static_cast<std::size_t>(settings_.samplesPerBit));
    }

    /// The samples from the first one at a time or after it to the first one at another or after
    /// it.
    struct Samples
    {
        double first;
        std::span<const double> wave;
    };
    Samples Between(double begin, double end) const;

    struct Pending
    {
        double from;  // sample
        Slicers slicers;
    };

    Settings settings_;
    Slicers slicers_;  // of the unit interval being counted
    std::deque<Pending> pending_;
    double furthestLate_ = 0;   // of all slicers, UI
    std::vector<double> wave_;  // samples from waveStart_ on
    std::int64_t waveStart_ = 0;
    std::vector<ClockFrame::Edge> edges_;  // whose unit interval is not complete yet
    VoltageHistogram density_;
    std::vector<VoltageHistogram> decided_;
    Decisions atSampling_, later_;
    std::vector<ThresholdCrossings> crossings_;
    EyeTrend trend_;
    Sampler sampler_;
    ThresholdCrossings::Draws draws_;    // of the unit interval being counted
    std::vector<std::int32_t> columns_;  // of what is being counted, and its voltages
    std::vector<double> voltages_;
    std::int64_t boundaries_ = 0;
    double joinedAt_ = -1;        // end of the unit interval before, if by the same slicers
    std::vector<double> levels_;  // seen, until there are more than symbols
    bool fewLevels_ = true;
    std::int64_t intervals_ = 0, notFinite_ = 0, firstNotFinite_ = -1;
    WildSamples wild_{.takenAs = VoltageHistogram::kMost / 2};
    double wildFrom_ = VoltageHistogram::kMost / 2;  // V
};

}  // namespace amisim
