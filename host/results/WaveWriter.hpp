#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "host/results/BulkFile.hpp"

namespace amisim {

/// Saves a waveform with its times, sample by sample: as CSV ("time_s,voltage_v") or as a NumPy
/// array of shape (samples, 2) of little-endian doubles.
class WaveWriter
{
public:
    enum class Kind { kNone, kCsv, kNpy };

    /// The file is called "wave.csv" or "wave.npy"; with kNone there is none.
    WaveWriter(OutputFolder& folder, Kind kind, double sampleInterval);
    ~WaveWriter();
    WaveWriter(const WaveWriter&) = delete;
    WaveWriter& operator=(const WaveWriter&) = delete;

    void Add(std::span<const double> wave);

private:
    Kind kind_;
    double sampleInterval_;
    std::int64_t count_ = 0;
    std::optional<BulkFile> file_;
    std::string text_;
};

}  // namespace amisim
