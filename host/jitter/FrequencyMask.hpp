#pragma once

#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace amisim {

/// A limit over frequency: of the jitter that a receiver must tolerate (UI peak to peak), or of
/// what its clock may pass on (dB). Between its points it runs straight, over a logarithmic
/// frequency, in UI on a logarithmic scale, too. Two points of one frequency are a step.
struct FrequencyMask
{
    enum class Kind { kTolerance, kTransfer };
    struct Point
    {
        double frequency, value;  // Hz; UI peak to peak or dB
    };
    std::string name;
    Kind kind = Kind::kTolerance;
    std::vector<Point> points;  // frequencies not falling
    double offset = 0;          // added to the curve through the points

    double From() const { return points.front().frequency; }
    double To() const { return points.back().frequency; }
    /// At a step the stricter of its two values; nothing where the mask says nothing.
    std::optional<double> At(double frequency) const;
    /// Where it bends or steps, its ends among them, each once.
    std::vector<double> Corners() const;
    /// The points to draw it by between two frequencies.
    std::vector<Point> Within(double low, double high) const;
};

/// The built-in masks' names.
std::vector<std::string> MaskNames(FrequencyMask::Kind kind);

/// A built-in mask, else a file of two columns, frequency in Hz and limit, as text; # begins a
/// comment.
/// @param bitRate  bit/s; some masks follow it
/// @throws Error (kUsage) for what is neither a name nor a file, (kInput) for a file, naming its
///         line
FrequencyMask FindMask(FrequencyMask::Kind kind, const std::string& nameOrFile, double bitRate);

/// The point where a mask has the least margin; null where it says nothing of any.
/// @param found  has points and MarginAt
template <typename Found>
auto TightestOf(const Found& found) -> decltype(found.points.data())
{
    decltype(found.points.data()) tightest = nullptr;
    for (const auto& point : found.points) {
        const auto margin = found.MarginAt(point);
        if (margin && (!tightest || *margin < *found.MarginAt(*tightest))) tightest = &point;
    }
    return tightest;
}

}  // namespace amisim
