#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace amisim {

/// What signal the model is to be given; the defaults are those of the command line.
struct SignalOptions
{
    std::optional<std::int64_t> bits;  // absent: 20,000, or the whole of the waveform file
    double bitRate = 10.3125e9;        // bit/s
    int samplesPerBit = 64;

    int prbs = 31;
    double amplitude = 0.4;  // V peak
    double riseTime = 0.15;  // UI, from 20 % to 80 %
    double phase = 0;        // UI, where the first bit begins
    // As between two crystals. Without any offset or noise a clock recovery may have a false place
    // of rest, where it stays if that is where it starts.
    double ppm = 100;
    double noise = 0;  // V rms
    std::uint64_t seed = 1;
    double lossDb = 10;     // at half the bit rate
    double skinPart = 0.5;  // of the loss

    std::filesystem::path wave;  // instead of all that

    double BitTime() const { return 1 / bitRate; }                       // s
    double SampleInterval() const { return BitTime() / samplesPerBit; }  // s

    static constexpr std::int64_t kDefaultBits = 20000;
};

}  // namespace amisim
