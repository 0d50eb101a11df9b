#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/files/WavePoints.hpp"
#include "host/signal/BitMapping.hpp"
#include "host/signal/BitRateEstimate.hpp"
#include "host/signal/Transmitter.hpp"
#include "touchstone/Termination.hpp"

namespace amisim {

/// What signal the model is to be given; the defaults are those of the command line.
struct SignalOptions
{
    // Where a symbol is more than a bit, these are symbols.
    std::optional<std::int64_t> bits;  // absent: 20,000, or the whole of the waveform file
    double bitRate = 10.3125e9;        // bit/s
    int samplesPerBit = 64;

    std::optional<int> levels;  // of a symbol, 2 to kMostLevels; absent: as the models say, or 2
    std::string pam4Mapping{BitMapping::kGray};  // levels of 00, 01, 10 and 11

    // The pattern: of the last two, the one that is given comes before the first.
    int prbs = 31;
    std::filesystem::path pattern;
    int clockPattern = 0;  // ones, and as many zeros: the highest level and the lowest

    double amplitude = 0.8;         // V, differential peak to peak
    bool amplitudeIsAsked = false;  // rather than by default
    double riseTime = 0.15;         // UI, from 20 % to 80 %
    Deemphasis deemphasis;
    double phase = 0;  // UI, where the first bit begins
    // As between two crystals. Without any offset or noise a clock recovery may have a false place
    // of rest, where it stays if that is where it starts.
    double ppm = 100;
    double randomJitter = 0;               // UI rms
    double sineJitter = 0;                 // UI peak
    double sineFrequency = 1e6;            // Hz
    double dutyCycleDistortion = 0;        // UI, width of a single 1 less that of a single 0
    double noise = 0;                      // V rms
    std::optional<double> noiseBandwidth;  // Hz; absent: up to half the sample rate
    std::uint64_t seed = 1;

    // The channel: files if any are given, else the line.
    double lossDb = 10;                             // at half the bit rate
    double skinPart = 0.5;                          // of the loss
    std::vector<std::filesystem::path> touchstone;  // one behind the other
    Terminations ends;                              // of it
    bool bufferCapacitance = false;                 // the models' own C_comp beside its ends
    // Networks of four ports between it and its ends: those of the models' buffers.
    std::filesystem::path sourceNetwork, loadNetwork;
    std::filesystem::path impulse, step;
    std::string portOrder;           // empty: found out
    std::string mixedMode = "auto";  // whether and how files hold mixed-mode data: ChannelReading
    bool acceptChannel = false;      // whatever its grade
    // Of files with more than four ports, as ChannelReading has them.
    std::string lanes, victim;
    std::vector<std::string> aggressors;

    // Aggressors and the channels from them to the model's input, or to the end of one of the
    // channel's files, counted from 1, in which they couple: "x.s4p@2".
    std::vector<std::filesystem::path> fext, next;
    std::string crosstalkPortOrder;   // empty: as the channel's
    double aggressorAmplitude = 0.8;  // V, differential peak to peak
    double aggressorPpm = 0;          // of the aggressors' bit rate above the nominal one

    std::filesystem::path wave;               // instead of all that
    WaveReading reading;                      // of it
    bool findBitRate = false;                 // from the waveform
    std::optional<BitRateEstimate> estimate;  // if it was found

    int Levels() const { return levels.value_or(2); }
    BitMapping Mapping() const { return BitMapping(Levels(), pam4Mapping); }

    double BitTime() const { return 1 / bitRate; }                       // s
    double SampleInterval() const { return BitTime() / samplesPerBit; }  // s

    /// Where the bit rate is to be found from the waveform, finds it. To be called before the bit
    /// time is made use of. @throws Error (kInput) when there is none to be found
    void FindBitRate();

    /// All files that are read for it.
    std::vector<std::filesystem::path> Files() const;

    /// @throws Error (kUsage) for what no single option can tell
    void Check() const;

    static constexpr std::int64_t kDefaultBits = 20000;
};

}  // namespace amisim
