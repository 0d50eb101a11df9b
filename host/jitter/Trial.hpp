#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/jitter/SequentialTest.hpp"
#include "host/run/Simulation.hpp"

namespace amisim {

/// The link that is tried with one sinusoidal jitter after the other.
struct TriedLink
{
    SimulationOptions options;  // all but what a trial sets: its sine, bits and the part ignored
    const std::vector<SegmentModels>& models;  // of its segments
    Simulation::Surroundings surroundings;
};

/// Unit intervals that each segment of a link is given before anything counts, at least: the loops
/// of clock recoveries have time constants of some ten thousand.
inline constexpr std::int64_t kLeastSettleBits = 100'000;
/// Whole periods of the sine that a trial holds, at least.
inline constexpr double kLeastPeriods = 5;

/// As the user says (--ignore-bits), else what the models ask for, but kLeastSettleBits at least;
/// each segment settles after those before it.
std::int64_t SettleBits(const TriedLink& link);

/// One amplitude of the sine, which the link's first transmitter sends with, and how the link took
/// it, from there to its last receiver.
struct ToleranceTrial
{
    double amplitude = 0;  // UI peak to peak
    bool passed = false;
    std::int64_t bits = 0, errors = 0;  // that counted
    std::string why;                    // of one that failed: "errors", "pattern lost", ...
};

/// @param frequency   Hz; 0: without a sine
/// @param amplitude   UI peak to peak
/// @throws Error as the run fails, kInterrupted among them
ToleranceTrial TryTolerance(const TriedLink& link, double frequency, double amplitude, double ratio,
                            double confidence);

/// The clock that the last receiver recovered against the one that the first transmitter sent by.
struct ClockTrial
{
    std::vector<double> time;  // s: of the sent boundaries, without their jitter
    std::vector<double> late;  // UI: by how much the clock's edges for them come late, a constant
                               // delay left out
    std::int64_t errors = 0, compared = 0;
    bool lost = false;  // the pattern, so that the edges belong to no boundaries for certain
};

/// Runs the link with a sine and takes what the clock does over whole periods of it, settled.
/// @param frequency  Hz; 0: without a sine
/// @param amplitude  UI peak
/// @param bits       that count, at least
/// @throws Error as the run fails
ClockTrial WatchClock(const TriedLink& link, double frequency, double amplitude, std::int64_t bits);

}  // namespace amisim
