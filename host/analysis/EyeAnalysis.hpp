#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "host/analysis/BitComparer.hpp"
#include "host/analysis/ClockFrame.hpp"
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

    static constexpr std::size_t kColumns = 256;  // phases a unit interval
    static constexpr std::size_t kDensityRows = 512;
    static constexpr std::size_t kCrossingBins = 4096;  // a unit interval

    /// Trace density: column c holds the phase (c + 1/2) / kColumns after a clock edge. The trace
    /// is drawn with straight lines between samples.
    const VoltageHistogram& Density() const { return density_; }

    /// The signal at the instants of decision, and how its bits compare. Two are tried at once:
    /// half a unit interval after the clock edge, where data are sampled, and a quarter later, for
    /// an output that itself switches at the sampling instant.
    struct Decisions
    {
        double offset;  // unit intervals after the clock edge
        VoltageHistogram levels;
        std::optional<BitComparer> bits;
    };
    const Decisions& AtSampling() const { return atSampling_; }
    const Decisions& AtLater() const { return later_; }

    /// True when most crossings of 0 V come nearer to the sampling instant than to the clock edges:
    /// either the signal is a slicer's output, or the clock has not locked.
    bool CrossesAtSampling() const;
    /// True when that is so and the signal has two levels only, like a slicer's decisions.
    bool IsSliced() const { return twoLevels_ && CrossesAtSampling(); }

    /// Horizontal opening at 0 V, in unit intervals: from the sampling instant as far to either
    /// side as at most `probability` crossings of 0 V per unit interval are met.
    struct Sides
    {
        double left = 0, right = 0;
        double Width() const { return left + right; }
    };
    Sides Horizontal(double probability) const;

    std::int64_t UnitIntervals() const { return intervals_; }  // counted
    std::int64_t NotFinite() const
    {
        return notFinite_;
    }  // samples that are NaN or infinite, taken as 0
    std::int64_t FirstNotFinite() const { return firstNotFinite_; }

private:
    void SeekLevels(std::span<const double> wave);
    void AddInterval(double begin, double end);
    double ValueAt(double time) const;  // of the waveform, straight between samples
    void Decide(Decisions& at, double begin);

    Settings settings_;
    std::vector<double> wave_;  // samples from waveStart_ on
    std::int64_t waveStart_ = 0;
    std::vector<ClockFrame::Edge> edges_;  // whose unit interval is not complete yet
    VoltageHistogram density_;
    Decisions atSampling_, later_;
    std::vector<std::uint64_t> crossings_;
    bool twoLevels_ = true;
    double low_ = 0, high_ = 0;  // the levels while there are but two; equal until the second one
    std::int64_t intervals_ = 0, notFinite_ = 0, firstNotFinite_ = -1;
};

}  // namespace amisim
