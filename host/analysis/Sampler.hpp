#pragma once

#include <cstdint>

#include "host/signal/Random.hpp"

namespace amisim {

/// What a receiver's decisions suffer behind its output.
struct SamplerSettings
{
    /// In unit intervals; positive is late.
    struct Jitter
    {
        double mean = 0;         // by which all sampling instants are late
        double random = 0;       // standard deviation of a normal distribution
        double uniform = 0;      // half of the peak to peak of an even one
        double sine = 0;         // amplitude of a sine that is met at any phase
        double alternating = 0;  // by which every other instant is late, and the next early
    };
    Jitter clock;              // of the sampling clock, on top of the clock times
    Jitter recovered;          // of the clock recovery, where no clock times come back
    double gaussianNoise = 0;  // V rms
    double uniformNoise = 0;   // V, half of the peak to peak
    double sensitivity = 0;    // V from the threshold that a decision needs to be sure
    std::uint64_t seed = 1;
};

/// What stands between a receiver's output and its decisions: jitter of the clock that samples, and
/// noise at the sampler. All of it is drawn anew for each unit interval, and holds for the whole of
/// it: at every phase of an eye the voltages have then the distribution that they have without,
/// convolved with that of the noise, and so with time.
class Sampler
{
public:
    /// @param recovered  whether the jitter of the clock recovery takes part
    explicit Sampler(const SamplerSettings& settings = {}, bool recovered = false);

    struct Draw
    {
        double late = 0;   // UI
        double volts = 0;  // added to the signal
    };
    /// For the next unit interval.
    Draw Next();

    /// No noise goes beyond that.
    double MostVolts() const { return 8 * settings_.gaussianNoise + settings_.uniformNoise; }

    double Sensitivity() const { return settings_.sensitivity; }

    /// No instant is moved further than that, UI.
    double Furthest() const { return moves_ ? kFurthest : 0; }
    static constexpr double kFurthest = 0.5;

private:
    double Late(const SamplerSettings::Jitter& jitter);

    SamplerSettings settings_;
    bool recovered_, moves_, noisy_;
    Random random_;
    std::int64_t drawn_ = 0;
};

}  // namespace amisim
