#pragma once

#include <filesystem>
#include <span>

#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/Findings.hpp"
#include "host/analysis/Spool.hpp"

namespace amisim {

/// Looks at the clock edges of a run: the time interval error (TIE) of edge n is its distance from
/// the straight line through the counted edges (least squares of time over number), in unit
/// intervals of that line.
///
/// The line is known only when all edges are there, so they are spooled, 8 bytes an edge, and
/// gone through once more at the end.
class ClockAnalysis
{
public:
    struct Settings
    {
        double sampleInterval = 0, bitTime = 0;  // s
        double countFrom = 0;                    // samples: edges from here on count
        std::filesystem::path folder;            // for the spool
        double sentUnitInterval = 0;             // samples; 0 where that is not known
    };
    explicit ClockAnalysis(Settings settings);

    /// In place of the settings' countFrom.
    void CountFrom(double sample) { settings_.countFrom = sample; }

    /// Takes the next edges.
    void Add(std::span<const ClockFrame::Edge> edges);

    /// Everything but the counts of times, which ClockFrame has.
    /// @param sines  cycles a sample of those that the transmitter's jitter has
    ClockFindings Find(std::span<const double> sines = {});

private:
    /// Goes through all edges: take(number, time in samples, whether after a gap).
    template <typename Take>
    void Replay(Take take);

    Settings settings_;
    double nominal_;  // samples
    Spool spool_;
    std::int64_t edges_ = 0;
    double firstTime_ = 0, lastNumber_ = -1;
};

}  // namespace amisim
