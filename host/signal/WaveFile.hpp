#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "host/signal/SignalSource.hpp"

namespace amisim {

/// A measured waveform from a text file: columns separated by commas, semicolons or blanks; either
/// time (s) and voltage (V), further columns being left out, or voltage alone, one sample a line.
/// Lines before the first number are taken for a heading, lines that begin with # for comments.
///
/// A time column is resampled onto the grid by straight lines between the file's points. The file
/// is read through once at the start, so that a fault in its last line is found before the run, and
/// then again as the samples are needed.
class WaveFile : public SignalSource
{
public:
    /// @param sampleInterval  of the grid, s
    /// @throws Error (kInput) that names file, line and what was expected
    WaveFile(const std::filesystem::path& path, double sampleInterval);

    std::size_t Read(std::span<double> out) override;

    std::int64_t Samples() const { return samples_; }  // on the grid, in the whole file
    bool HasTime() const { return hasTime_; }
    double MeanStep() const { return meanStep_; }  // of the time column, s

private:
    struct Point
    {
        double time, voltage;
    };
    bool NextPoint(Point& point);
    void Rewind();

    std::filesystem::path path_;
    double sampleInterval_;
    std::ifstream file_;
    std::string text_;
    std::int64_t line_ = 0;
    bool heading_ = true;
    bool hasTime_ = false;
    bool known_ = false;  // whether there is a time column
    double meanStep_ = 0;
    std::int64_t samples_ = 0, read_ = 0;
    double start_ = 0;
    Point before_{}, after_{};
};

}  // namespace amisim
