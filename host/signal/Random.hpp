#pragma once

#include <cstdint>

#include "host/signal/SignalSource.hpp"

namespace amisim {

/// xoshiro256++ (Blackman and Vigna): the same numbers from the same seed on every machine.
class Random
{
public:
    /// @param stream  tells apart the random things of one run, which share the user's seed
    explicit Random(std::uint64_t seed, std::uint64_t stream = 0);

    std::uint64_t Bits();

    double Uniform() { return Fraction(Bits()); }  // [0, 1)

    /// Standard normal deviate by the ziggurat method (Marsaglia and Tsang), 128 layers.
    double Normal();

private:
    /// By way of a signed number, which processors convert at once.
    static double Fraction(std::uint64_t bits)
    {
        return static_cast<double>(static_cast<std::int64_t>(bits >> 11)) * 0x1p-53;
    }

    std::uint64_t state_[4];
};

/// Adds white Gaussian noise, independent from sample to sample.
class NoiseSource : public SignalSource
{
public:
    NoiseSource(SignalSource& input, double rms, Random random)
        : input_(input), rms_(rms), random_(random)
    {
    }
    std::size_t Read(std::span<double> out) override;

private:
    SignalSource& input_;
    double rms_;  // V
    Random random_;
};

}  // namespace amisim
