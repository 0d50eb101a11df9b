#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/analysis/VoltageHistogram.hpp"

namespace amisim {

/// A place in an eye: x in unit intervals, y in V.
struct EyePlace
{
    double x, y;
};

/// What a standard wants of an eye: areas that hardly any sample of the waveform may lie in.
struct EyeMask
{
    static constexpr double kUnlimited = std::numeric_limits<double>::infinity();

    std::string name;
    /// Corners, in order round, of the area in the middle of the eye. x counts from the crossing;
    /// the centre, half a unit interval from there and half way between the levels, sees each side
    /// from within, whatever the area's shape.
    std::vector<EyePlace> corners;
    double low = -kUnlimited, high = kUnlimited;  // below and above which nothing may be, as y
    double hitRatio = 0;                          // part of the samples that may lie there
    bool normalised = false;  // y: 0 is the level of zeros, 1 that of ones; else V around 0

    EyePlace Centre() const { return {0.5, normalised ? 0.5 : 0}; }

    /// @throws Error (kUsage, without a file's name) for corners that do not surround the centre
    void Check() const;
};

/// A mask laid upon an eye.
struct MaskFindings
{
    std::string name;
    bool atInput = false;
    std::vector<EyePlace> corners;  // as laid: UI after the clock edge, V
    EyePlace centre{};
    double low = -EyeMask::kUnlimited, high = EyeMask::kUnlimited;  // V
    double allowed = 0;                                             // hit ratio
    std::uint64_t samples = 0;             // of the eye; 0: there was nothing to lay it upon
    std::uint64_t inside = 0, beyond = 0;  // samples within the corners, and outside the limits
    /// That the corners may be moved from the centre by before more samples than are allowed lie
    /// within them; NaN where any scale is met.
    double scale = std::numeric_limits<double>::quiet_NaN();

    std::uint64_t Hits() const { return inside + beyond; }
    double HitRatio() const { return static_cast<double>(Hits()) / static_cast<double>(samples); }
    /// Samples that may hit.
    double Budget() const { return allowed * static_cast<double>(samples); }
    bool Passed() const { return samples > 0 && static_cast<double>(Hits()) <= Budget(); }
    double MarginPercent() const { return 100 * (scale - 1); }
};

/// By what factor a mask's corners must be moved away from its centre for its edge to meet a place.
double ScaleTo(EyePlace place, const std::vector<EyePlace>& corners, EyePlace centre);

/// Counts an eye's samples in the mask's areas. A sample is taken to lie in the middle of its cell.
/// @param crossing  phase of the eye's mean crossing, which the mask's x counts from
MaskFindings TestMask(const EyeMask& mask, const VoltageHistogram& density, double crossing);

/// The masks that are known by name: docs/analysis.md has them in a table.
const std::vector<EyeMask>& BuiltInMasks();

/// A built-in mask, or that of a file in TOML:
///
///     points = [[0.35, 0], [0.5, 0.15], [0.65, 0], [0.5, -0.15]]   # UI from the crossing, V
///     hits = 5e-5                                                  # hit ratio [0]
///     limits = [-0.425, 0.425]                                     # V [none]
///     normalised = false                                           # y in parts of the eye
///
/// @throws Error: kUsage for what is neither, and for a file with "file:line: what was expected";
/// kInput for a file that cannot be read
EyeMask FindMask(const std::string& nameOrFile);

}  // namespace amisim
