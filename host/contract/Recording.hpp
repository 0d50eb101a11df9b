#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/contract/Instance.hpp"

namespace amisim::contract {

/// A pseudo-random pattern with smooth edges of 0.4 V and a little noise, the same for the same
/// seed and stream.
std::vector<double> MakeWave(const Bench& bench, std::size_t bits, double samplesPerBit,
                             std::uint64_t stream = 0);

/// What a model made of a waveform, block by block.
struct Recording
{
    std::vector<double> output;
    std::vector<ClockList> lists;  // one for each block

    std::vector<double> Clocks() const;  // of all blocks
    std::uint64_t Digest() const;        // of every bit of output and clocks
};

/// Feeds the wave in blocks of these sizes, and then of the last of them until it ends.
Recording Record(Instance& instance, std::span<const double> wave,
                 const std::vector<std::size_t>& sizes);

/// Init, the whole wave, Close.
Recording RunOnce(Bench& bench, const Start& start, std::span<const double> wave,
                  const std::vector<std::size_t>& sizes = {4096});

/// How two outputs differ by more than rounding: "differs at sample 12 first, there by 0.1 V", or
/// "".
std::string DifferenceOfOutputs(const Recording& a, const Recording& b);

/// Likewise the clock times, a millionth of a unit interval being the same.
std::string DifferenceOfClocks(const Recording& a, const Recording& b, double bitTime);

/// Both.
std::string Difference(const Recording& a, const Recording& b, double bitTime);

/// Index of the first value that is NaN or infinite, or the size.
std::size_t FirstNotFinite(std::span<const double> values);

}  // namespace amisim::contract
