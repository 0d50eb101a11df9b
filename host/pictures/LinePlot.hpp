#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "host/pictures/Plot.hpp"

namespace amisim::plot {

/// Points joined by a line where neither is NaN.
struct Curve
{
    std::vector<double> x, y;
    Stroke stroke;
    std::string label = {};               // in the key; empty: not listed
    bool dots = false;                    // the points are seen
    std::vector<std::string> names = {};  // beside the points
};

/// Values in another unit, for a curve.
inline std::vector<double> Scaled(std::vector<double> values, double factor, double offset = 0)
{
    for (double& value : values) value = value * factor + offset;
    return values;
}

/// One panel with curves, its axes, ticks and key; a picture is one or several of them.
struct LinePlot
{
    std::string title;
    std::string across, upwards;   // names with units
    Scale scale = Scale::kLinear;  // upwards
    Scale scaleAcross = Scale::kLinear;
    bool counts = false;  // upwards: whole numbers
    std::vector<Curve> curves;

    struct Range
    {
        double from, to;
        std::string label;
    };
    std::vector<Range> shaded;    // along the axis across
    std::vector<Tick> marks;      // upright lines
    std::vector<Tick> places;     // labels of the axis across, where these are no round values
    double from = NAN, to = NAN;  // limits upwards; NaN: those of the curves
    double acrossFrom = NAN, acrossTo = NAN;  // the same across

    /// What it takes to the left of the panel.
    double Aside() const;
    /// Where the curves stand in a part of a canvas.
    Panel PanelIn(const Area& whole, double aside) const;
    void Draw(Canvas& canvas, const Area& whole, double aside) const;

private:
    struct KeyEntry
    {
        const Curve* curve;
        std::string label;
        double left;
        int row;  // 0: beside the title
    };
    std::vector<KeyEntry> Key(double width) const;
    Axis AcrossAxis() const;
    Axis UpwardsAxis() const;
    std::vector<Tick> UpwardsTicks() const;
    void DrawKey(Canvas& canvas, const Panel& panel, double top) const;
    void DrawCurves(Canvas& canvas, const Panel& panel) const;
    void DrawLabels(Canvas& canvas, const Panel& panel) const;
};

/// Plots under each other, beneath a heading.
Picture PlotsPicture(std::vector<LinePlot> plots, Heading heading);

}  // namespace amisim::plot
