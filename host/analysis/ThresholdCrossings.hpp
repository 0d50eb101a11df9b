#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "host/analysis/Sampler.hpp"

namespace amisim {

/// Counts the transitions of a waveform through a decision threshold against their distance from
/// the clock edge between two sampling instants, from -1/2 to 1/2 unit intervals in kBins: the last
/// crossing before a sampling instant, and the first one after. Where noise makes a transition
/// cross several times, these are the two that reach furthest into the eye.
class ThresholdCrossings
{
public:
    static constexpr std::size_t kBins = 4096;

    /// @param threshold  V
    explicit ThresholdCrossings(double threshold)
        : threshold_(threshold), lastBefore_(kBins), firstAfter_(kBins)
    {
    }

    void SetThreshold(double threshold) { threshold_ = threshold; }

    /// What the sampler does to the unit interval before, to this one and to the next.
    struct Draws
    {
        Sampler::Draw before, now, after;
    };

    /// Takes a unit interval (begin, end: times in samples).
    /// @param wave    its samples, and the first one after it
    /// @param first   number of the first of them
    /// @param joined  whether the unit interval before was taken last
    void Add(std::span<const double> wave, double first, double begin, double end, bool joined,
             const Draws& draws = {});

    const std::vector<std::uint64_t>& LastBefore() const { return lastBefore_; }
    const std::vector<std::uint64_t>& FirstAfter() const { return firstAfter_; }

    std::uint64_t Transitions() const;

private:
    // First and last crossing, from the clock edge, in half a unit interval.
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

    struct Halves
    {
        Crossings first, second;
    };
    static Halves Scan(std::span<const double> wave, double first, double begin, double end,
                       double threshold);

    double threshold_;
    std::vector<std::uint64_t> lastBefore_, firstAfter_;
    // In the second half of the unit interval before, with its own noise and with that of the next.
    Crossings before_, beforeNext_;
};

}  // namespace amisim
