#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace amisim {

struct WavePoint
{
    double time = 0;   // s; 0 where the file holds no times
    double value = 0;  // V, or what the file is about
    int digits = 0;    // significant ones, of the time as it is written down
};

/// The points of a waveform file, one after the other, so that a file need not fit in memory.
///
///  - Text: columns separated by commas or semicolons, or else by blanks. One column holds voltages
///    alone; of several the first holds times (s), of the others one is read. What comes before the
///    first line of numbers is a heading, of which one line names the columns; # begins a comment
///    line.
///  - .npy: an array of N voltages, or N x columns as above; float32 or float64, little endian, in
///    C order.
class WavePoints
{
public:
    virtual ~WavePoints() = default;

    /// The next point; false at the end. @throws Error (kInput)
    virtual bool Next(WavePoint& point) = 0;
    virtual void Rewind() = 0;

    /// File and line or number of the point last read, for messages.
    virtual std::string Place() const = 0;

    bool HasTime() const { return hasTime_; }
    const std::filesystem::path& Path() const { return path_; }

    /// @param column  the column to be read, by its number from 1 or its name in the heading; empty
    ///                for the second, or the only one
    /// @throws Error (kInput) that names file, line and remedy
    static std::unique_ptr<WavePoints> Open(const std::filesystem::path& path,
                                            const std::string& column);

protected:
    explicit WavePoints(const std::filesystem::path& path) : path_(path) {}

    /// The place, from 0, of the column asked for among `columns`; `names` may be empty.
    std::size_t FindColumn(const std::string& column, std::size_t columns,
                           const std::vector<std::string>& names) const;

    std::filesystem::path path_;
    bool hasTime_ = false;
};

}  // namespace amisim
