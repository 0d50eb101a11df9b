#pragma once

#include <optional>
#include <vector>

#include "host/analysis/EyeMask.hpp"
#include "host/analysis/Findings.hpp"
#include "host/pictures/Plot.hpp"

namespace amisim {

/// Shows an eye density two unit intervals wide around the sampling instant: brightness is the
/// logarithm of how often the trace passed, so that rare ones show too.
struct EyePicture
{
    plot::Heading heading;
    const VoltageHistogram& density;
    double sampledAt = 0.5;  // unit intervals after the clock edge

    /// An opening that is marked.
    struct Mark
    {
        double sampledAt = 0.5;      // unit intervals after the clock edge
        Opening opening = {};        // there
        double threshold = 0;        // V
        double left = 0, right = 0;  // of the sampling instant, unit intervals, at the threshold
    };
    std::vector<Mark> marks = {};
    std::vector<Contour> contours = {};
    std::optional<MaskFindings> mask = {};

    /// It refers to this object.
    operator Picture() const;

private:
    void Draw(Canvas& canvas) const;
    double DrawDensity(Canvas& canvas, const plot::Panel& panel) const;
    void DrawContours(Canvas& canvas, const plot::Panel& panel) const;
    void DrawMask(Canvas& canvas, const plot::Panel& panel) const;
    void DrawMark(Canvas& canvas, const plot::Panel& panel, const Mark& mark) const;
    std::vector<std::string> Caption() const;
};

}  // namespace amisim
