#pragma once

#include <complex>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/analysis/BitComparer.hpp"
#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/Findings.hpp"
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
        std::int64_t ignoreSamples = 0;    // at the start: seen, not counted
        double sentUnitInterval = 64;      // samples, the transmitter's
        const BitHistory* sent = nullptr;  // null: nothing to compare with
    };

    explicit EyeAnalysis(const Settings& settings);

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
    static constexpr std::size_t kCrossingBins = 4096;  // a unit interval
    static constexpr std::size_t kLevelColumns = 64;    // phases a unit interval, split by decision

    /// Trace density: column c holds the phase (c + 1/2) / kColumns after a clock edge. The trace
    /// is drawn with straight lines between samples.
    const VoltageHistogram& Density() const { return density_; }

    /// Voltages of the unit intervals decided as 1 (voltage at the sampling instant above 0 V) and
    /// as 0, each taken exactly at phase (c + 1/2) / kLevelColumns in column c.
    const VoltageHistogram& Ones() const { return ones_; }
    const VoltageHistogram& Zeros() const { return zeros_; }

    /// Transitions against their distance from the clock edge between two sampling instants, from
    /// -1/2 to 1/2 unit intervals in kCrossingBins: the last crossing of 0 V before a sampling
    /// instant, and the first one after. Where noise makes a transition cross 0 V several times,
    /// these are the two that reach furthest into the eye.
    const std::vector<std::uint64_t>& LastBefore() const { return lastBefore_; }
    const std::vector<std::uint64_t>& FirstAfter() const { return firstAfter_; }
    /// Clock edges whose transitions, if any, have been counted.
    std::int64_t Boundaries() const { return boundaries_; }

    /// The signal at the instants of decision, and how its bits compare. Two are tried at once:
    /// half a unit interval after the clock edge, where data are sampled, and a quarter later, for
    /// an output that itself switches at the sampling instant.
    struct Decisions
    {
        double offset;  // unit intervals after the clock edge
        VoltageHistogram levels;
        std::optional<BitComparer> bits;
        VoltageHistogram wrong;      // the levels among them that were decided wrongly
        std::vector<double> window;  // levels of the bits that the comparer still holds
    };
    const Decisions& AtSampling() const { return atSampling_; }
    const Decisions& AtLater() const { return later_; }

    /// Mean over the crossings of 0 V of e^(2 pi i phase), phase 0 being the clock edge: 1 in
    /// magnitude where all have the same phase, 0 where they are spread evenly as those of a signal
    /// with another clock. Nothing where nothing crosses.
    std::optional<std::complex<double>> MeanCrossing() const;

    /// True when the signal has two levels only and switches where data are sampled, like a
    /// slicer's decisions.
    bool IsSliced() const;

    double TransitionDensity() const;  // transitions per unit interval

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
    double Decide(Decisions& at, double begin);
    void TakeWindow(Decisions& at);
    void CountLevels(double begin, double end, bool one);
    void CountTransition();

    Settings settings_;
    std::vector<double> wave_;  // samples from waveStart_ on
    std::int64_t waveStart_ = 0;
    std::vector<ClockFrame::Edge> edges_;  // whose unit interval is not complete yet
    VoltageHistogram density_, ones_, zeros_;
    Decisions atSampling_, later_;
    std::vector<std::uint64_t> lastBefore_, firstAfter_;
    std::int64_t boundaries_ = 0;
    // First and last crossing, from the clock edge, in the halves of a unit interval: the second
    // half of the one before, and both of this one.
    struct Crossings
    {
        double first = 0, last = 0;
        bool any = false;
        void Add(double phase)
        {
            if (!any) first = phase;
            last = phase;
            any = true;
        }
    };
    Crossings before_, firstHalf_, secondHalf_;
    double joinedAt_ = -1;  // end of the unit interval before
    bool twoLevels_ = true;
    double low_ = 0, high_ = 0;  // the levels while there are but two; equal until the second one
    std::int64_t intervals_ = 0, notFinite_ = 0, firstNotFinite_ = -1;
    WildSamples wild_{.takenAs = VoltageHistogram::kMost / 2};
    double wildFrom_ = VoltageHistogram::kMost / 2;  // V
};

}  // namespace amisim
