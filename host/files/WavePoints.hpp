#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace amisim {

struct WavePoint
{
    double time = 0;   // s; 0 where the file holds no times
    double value = 0;  // V, or what the file is about
    int digits = 0;    // significant ones, of the time as it is written down
};

/// How a waveform file is to be read.
struct WaveReading
{
    /// By its number from 1 or its name in the heading; "A-B" is the difference of two. Empty: the
    /// second, or the only one.
    std::string column = "";
    std::optional<double> step = {};  // s from point to point, whatever times the file holds
    double scale = 1;                 // of the values
    double offset = 0;                // taken off the scaled values
    bool findOffset = false;          // midway between high and low instead
};

/// The points of a waveform file, one after the other, so that a file need not fit in memory.
///
///  - Text: columns separated by commas, semicolons or blanks, with decimal points or (unless
///  commas
///    separate) commas; lines of text or of keys and values above, and columns of text before the
///    numbers. Of several columns of numbers the first holds times, of the others one is read, or
///    two. One column holds voltages alone; so do several where the first counts the samples. Then
///    the step is read from the heading if it has one. Units are read from the heading.
///  - .npy: an array of N voltages, or N x columns as above, or columns x N; numbers of any real
///  type,
///    byte order and memory order.
class WavePoints
{
public:
    virtual ~WavePoints() = default;

    /// The next point; false at the end. @throws Error (kInput)
    bool Next(WavePoint& point);
    virtual void Rewind() = 0;

    /// File and line or number of the point last read, for messages.
    virtual std::string Place() const = 0;

    bool HasTime() const { return hasTime_; }
    const std::optional<double>& Step() const { return step_; }  // s; of points without times
    const std::filesystem::path& Path() const { return path_; }

    /// What a user should know about units, steps and columns.
    const std::vector<std::string>& Notes() const { return notes_; }

    /// @throws Error (kInput) that names file, line and remedy
    static std::unique_ptr<WavePoints> Open(const std::filesystem::path& path,
                                            const WaveReading& reading);

protected:
    WavePoints(const std::filesystem::path& path, const WaveReading& reading)
        : path_(path), step_(reading.step), scale_(reading.scale), offset_(reading.offset)
    {
    }

    /// The point as it stands in the file, in s and V.
    virtual bool Read(WavePoint& point) = 0;

    /// The column to be read, from 0, and the one to be taken off it. `first` is the first that may
    /// be, `names` tells the column of a name, and `known` are those for the message.
    struct Columns
    {
        std::size_t value = 0;
        std::optional<std::size_t> minus;
    };
    Columns FindColumns(const std::string& column, std::size_t first, std::size_t count,
                        const std::function<std::optional<std::size_t>(std::string_view)>& names,
                        const std::vector<std::string>& known) const;

    std::filesystem::path path_;
    bool hasTime_ = false;
    std::optional<double> step_;
    std::vector<std::string> notes_;

private:
    void TakeOffMiddle();

    double scale_, offset_;
};

}  // namespace amisim
