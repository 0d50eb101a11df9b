#pragma once

#include <cstdint>
#include <vector>

#include "host/signal/Random.hpp"

namespace amisim {

/// Moves the edges of a transmitter in time. Times in samples, frequencies in cycles a sample.
///
///  - Random: normal, independent from boundary to boundary.
///  - Sinusoidal: amplitude * sin(2 pi frequency time), positive meaning late.
///  - Duty-cycle distortion: the width of a single 1 less that of a single 0. Rising edges come a
///    quarter of it early and falling ones a quarter late; boundaries between equal bits stay.
///
/// Besides, what a transmitter's model declares: random and sinusoidal as above, even between minus
/// and plus a value, and late and early by a value in turn, whatever the bits.
class EdgeJitter
{
public:
    struct Declared
    {
        double randomRms = 0;
        double uniform = 0;
        double sineAmplitude = 0, sineFrequency = 0;
        double alternating = 0;
    };
    struct Settings
    {
        double randomRms = 0;
        double sineAmplitude = 0, sineFrequency = 0;
        double dutyCycle = 0;
        Declared declared = {};

        struct Sine
        {
            double amplitude, frequency;
        };
        /// Those that move anything.
        std::vector<Sine> Sines() const;
    };

    EdgeJitter(const Settings& settings, Random random) : settings_(settings), random_(random) {}

    /// By how much the boundary that should be at `time` comes late; to be asked once for each.
    /// @param direction  1 rising, -1 falling, 0 between equal symbols
    double Next(double time, int direction);

private:
    Settings settings_;
    Random random_;
    std::int64_t made_ = 0;
};

}  // namespace amisim
