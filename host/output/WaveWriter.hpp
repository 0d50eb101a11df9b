#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <span>
#include <string>

namespace amisim {

/// A file that is written as the run goes, in place of whatever bore its name; a full disk is
/// reported, not ignored.
class OutputFile
{
public:
    /// @throws Error (kInput) when the file cannot be created
    explicit OutputFile(const std::filesystem::path& path);
    /// @throws Error (kInput) when the text cannot be written
    void Write(std::string_view text);
    /// Overwrites the file's beginning.
    void WriteAtStart(std::string_view text);
    void Close();

private:
    struct CloseFile
    {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    [[noreturn]] void Fail() const;
    std::filesystem::path path_;
    std::unique_ptr<std::FILE, CloseFile> file_;
};

/// Saves a waveform with its times, sample by sample: as CSV ("time_s,voltage_v") or as a NumPy
/// array of shape (samples, 2) of little-endian doubles.
class WaveWriter
{
public:
    enum class Kind { kNone, kCsv, kNpy };

    /// The file is called "wave.csv" or "wave.npy"; with kNone there is none.
    WaveWriter(const std::filesystem::path& folder, Kind kind, double sampleInterval);
    void Add(std::span<const double> wave);
    void Close();

private:
    Kind kind_;
    double sampleInterval_;
    std::int64_t count_ = 0;
    std::unique_ptr<OutputFile> file_;
    std::string text_;
};

}  // namespace amisim
