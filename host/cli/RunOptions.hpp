#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/output/WaveWriter.hpp"

namespace amisim {

/// What a run is asked for; the defaults are those of the command line.
struct RunOptions
{
    std::filesystem::path model;
    std::filesystem::path out = "out";
    std::vector<std::string> parameters;  // Name=Value

    std::optional<std::int64_t> bits;  // absent: 20,000, or the whole of the waveform file
    double bitRate = 10.3125e9;        // bit/s
    int samplesPerBit = 64;
    std::int64_t blockBits = 256;
    std::optional<std::int64_t> ignoreBits;  // absent: the model's own, else half of the bits

    int prbs = 31;
    double amplitude = 0.4;       // V peak
    double riseTime = 0.15;       // UI, from 20 % to 80 %
    double phase = 0;             // UI, where the first bit begins
    // As between two crystals. Without any offset or noise a clock recovery may have a false place
    // of rest, where it stays if that is where it starts.
    double ppm = 100;
    double noise = 0;  // V rms
    std::uint64_t seed = 1;
    double lossDb = 10;     // at half the bit rate
    double skinPart = 0.5;  // of the loss

    std::filesystem::path wave;  // instead of all that

    WaveWriter::Kind saveWave = WaveWriter::Kind::kNpy;
    std::optional<double> timeLimit;  // s, whole run
    double callLimit = 60;            // s, one call of the model

    double BitTime() const { return 1 / bitRate; }
    double SampleInterval() const { return BitTime() / samplesPerBit; }

    static constexpr std::int64_t kDefaultBits = 20000;

    /// @throws Error (kUsage) for what no single option can tell
    void Check() const;
};

}  // namespace amisim
