#pragma once

#include <string>
#include <vector>

#include "host/pictures/Plot.hpp"

namespace amisim::plot {

/// Colours that colour-blind readers tell apart (Okabe and Ito, "Color Universal Design", 2008).
inline constexpr Colour kBlue = {0.00, 0.45, 0.70}, kVermilion = {0.84, 0.37, 0.00},
                        kGreen = {0.00, 0.62, 0.45};

/// Points joined by a line where neither is NaN.
struct Curve
{
    std::vector<double> x, y;
    Stroke stroke;
    std::string label;  // in the key; empty: not listed
};

/// One panel with curves, its axes, ticks and key; a picture is one or several of them.
struct LinePlot
{
    std::string title;
    std::string across, upwards;   // names with units
    Scale scale = Scale::kLinear;  // upwards
    Scale scaleAcross = Scale::kLinear;
    std::vector<Curve> curves;

    struct Range
    {
        double from, to;
        std::string label;
    };
    std::vector<Range> shaded;  // along the axis across
    struct Mark
    {
        double x;
        std::string label;
    };
    std::vector<Mark> marks;                  // upright lines
    double from = NAN, to = NAN;              // limits upwards; NaN: those of the curves
    double acrossFrom = NAN, acrossTo = NAN;  // the same across

    /// Draws into a part of the canvas, from its y `top` on and `height` pixels high.
    void Draw(Canvas& canvas, int top, int height) const;

private:
    Axis AxisOf(const std::vector<double> Curve::*values, double from, double to,
                Scale scale) const;
};

/// Draws plots under each other, beneath a heading.
Canvas DrawPlots(const std::vector<LinePlot>& plots, const Heading& heading);

}  // namespace amisim::plot
