#include "host/pictures/LinePlot.hpp"

#include <algorithm>

#include "host/pictures/Font.hpp"

namespace amisim::plot {
namespace {

constexpr double kRight = 22, kTitle = 24, kNoTitle = 8, kKeyRow = 18, kText = 12;
constexpr double kSample = 24, kKeyGap = 16;  // of a curve in the key, between two of them

/// Around the values, with some room on either side if asked for.
Axis AxisOf(const std::vector<Curve>& curves, const std::vector<double> Curve::*values,
            double first, double last, Scale scale, double room)
{
    const bool logarithmic = scale == Scale::kLogarithmic;
    double least = INFINITY, greatest = -INFINITY;
    for (const Curve& curve : curves) {
        for (const double v : curve.*values) {
            if (!std::isfinite(v) || (logarithmic && v <= 0)) continue;
            least = std::min(least, v);
            greatest = std::max(greatest, v);
        }
    }
    if (least > greatest) least = logarithmic ? 0.1 : 0, greatest = 1;
    if (logarithmic) {
        if (room > 0) least /= 1.5, greatest *= 2;
        if (least == greatest) least /= 10;
    } else {
        room *= greatest - least;
        // Of what is equal but for the rounding, no differences are shown.
        const double magnitude = std::max(std::abs(least), std::abs(greatest));
        if (greatest - least <= 1e-12 * magnitude) room = magnitude > 0 ? 0.1 * magnitude : 1;
        least -= room;
        greatest += room;
    }
    if (std::isnan(first)) first = least;
    if (std::isnan(last)) last = greatest;
    return {first, last > first ? last : first + 1, scale};
}

}  // namespace

Axis LinePlot::AcrossAxis() const
{
    return AxisOf(curves, &Curve::x, acrossFrom, acrossTo, scaleAcross, 0);
}

Axis LinePlot::UpwardsAxis() const
{
    Axis axis = AxisOf(curves, &Curve::y, from, to, scale, 0.05);
    axis.counts = counts;
    return axis;
}

std::vector<Tick> LinePlot::UpwardsTicks() const
{
    return UpwardsAxis().Ticks(scale == Scale::kLogarithmic ? 8 : 5);
}

double LinePlot::Aside() const
{
    return Panel::Aside(UpwardsTicks());
}

std::vector<LinePlot::KeyEntry> LinePlot::Key(double width) const
{
    std::vector<KeyEntry> key;
    double left = 0;
    int row = 1;
    for (const Curve& curve : curves) {
        if (curve.label.empty()) continue;
        const double longest = width / 3 - kSample - kKeyGap;
        KeyEntry entry{&curve, font::Shortened(curve.label, kText, longest), 0, 0};
        const double taken = kSample + 6 + font::Width(entry.label, kText);
        if (left + taken > width) left = 0, ++row;
        entry.left = left;
        entry.row = row;
        left += taken + kKeyGap;
        key.push_back(std::move(entry));
    }
    // One row, if it is short, stands to the right of the title.
    const double end = left - kKeyGap;
    if (row > 1 || key.empty() || font::Width(title, kText) + kKeyGap + end > width) return key;
    for (KeyEntry& entry : key) entry.left += width - end, entry.row = 0;
    return key;
}

Panel LinePlot::PanelIn(const Area& whole, double aside) const
{
    const double width = whole.width - aside - kRight;
    const auto key = Key(width);
    const double above = title.empty() && key.empty() ? kNoTitle
                         : key.empty()                ? kTitle
                                                      : kTitle + kKeyRow * key.back().row;
    return {{whole.left + aside, whole.top + above, width, whole.height - above - Panel::kBelow},
            AcrossAxis(),
            UpwardsAxis()};
}

void LinePlot::DrawKey(Canvas& canvas, const Panel& panel, double top) const
{
    for (const KeyEntry& entry : Key(panel.area.width)) {
        const double x = panel.area.left + entry.left;
        const double y = top + kTitle / 2 + kKeyRow * entry.row;
        const Point sample[] = {{x, y}, {x + kSample, y}};
        const Area row{x - 4, y - kKeyRow / 2, kSample + 8, kKeyRow};
        canvas.Line(sample, entry.curve->stroke, row);
        if (entry.curve->dots) canvas.Dot({x + kSample / 2, y}, 3, entry.curve->stroke.colour, row);
        canvas.Text({x + kSample + 6, y}, entry.label, {});
    }
}

void LinePlot::DrawCurves(Canvas& canvas, const Panel& panel) const
{
    const Area& area = panel.area;
    const Area around{area.left - 4, area.top - 4, area.width + 8, area.height + 8};
    for (const Curve& curve : curves) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < std::min(curve.x.size(), curve.y.size()); ++i) {
            const bool out = scale == Scale::kLogarithmic && !(curve.y[i] > 0);
            points.push_back({panel.X(curve.x[i]), out ? NAN : panel.Y(curve.y[i])});
        }
        canvas.Line(points, curve.stroke, area);
        for (const Point& point : points) {
            if (curve.dots && !std::isnan(point.x) && !std::isnan(point.y))
                canvas.Dot(point, 3, curve.stroke.colour, around);
        }
    }
}

/// What ranges, points and marks are called: beside them, where there is room.
void LinePlot::DrawLabels(Canvas& canvas, const Panel& panel) const
{
    const Area& area = panel.area;
    const auto write = [&](double x, bool leftwards, double y, const std::string& text,
                           const Colour& colour) {
        return canvas.TextIfFree({x + (leftwards ? -6 : 6), y}, text,
                                 {.colour = colour,
                                  .size = kSmall,
                                  .align = leftwards ? Align::kRight : Align::kLeft,
                                  .halo = true});
    };
    for (const Range& range : shaded) {
        const double begin = panel.InX(range.from), end = panel.InX(range.to);
        const double width = font::Width(range.label, kSmall) + 10;
        const bool within = end - begin > width;
        if (within || end + width < area.Right())
            write(end, within, area.top + 10, range.label, colours::kFaint);
    }
    for (const Curve& curve : curves) {
        for (std::size_t i = 0; i < curve.names.size(); ++i) {
            const double x = panel.X(curve.x[i]);
            const bool leftwards = x + 6 + font::Width(curve.names[i], kSmall) > area.Right();
            write(x, leftwards, panel.Y(curve.y[i]) - 8, curve.names[i], colours::kInk);
        }
    }
    for (const Tick& mark : marks) {
        if (!(mark.value >= panel.across.from && mark.value <= panel.across.to)) continue;
        const double x = panel.X(mark.value);
        canvas.Rectangle({x - 0.5, area.top, 1, area.height}, colours::kInk, 0.7);
        const bool leftwards = x + 6 + font::Width(mark.label, kSmall) > area.Right();
        for (int line = 0; area.top + 24 + 13 * line < area.Bottom() - 8; ++line) {
            const double y = area.top + 24 + 13 * line;
            if (write(x, leftwards, y, mark.label, colours::kInk)) break;
        }
    }
}

void LinePlot::Draw(Canvas& canvas, const Area& whole, double aside) const
{
    const Panel panel = PanelIn(whole, aside);
    const Area& area = panel.area;
    canvas.Text({area.left, whole.top + kTitle / 2}, font::Shortened(title, kText, area.width), {});
    DrawKey(canvas, panel, whole.top);
    panel.Name(canvas, across, upwards);
    for (const Range& range : shaded) {
        const double begin = panel.InX(range.from), end = panel.InX(range.to);
        canvas.Rectangle({begin, area.top, end - begin, area.height}, colours::kFaint, 0.13);
    }
    panel.Grid(canvas, places.empty() ? panel.across.Ticks(8) : places, UpwardsTicks(),
               colours::kGrid);
    for (const Area& side : {Area{area.left - 0.75, area.top, 0.75, area.height + 0.75},
                             Area{area.left, area.Bottom(), area.width, 0.75}})
        canvas.Rectangle(side, colours::kFaint);
    DrawCurves(canvas, panel);
    DrawLabels(canvas, panel);
}

Picture PlotsPicture(std::vector<LinePlot> plots, Heading heading)
{
    const double each = plots.size() == 1 ? 350 : 250;
    const double top = heading.Height(kWidth);
    const double height = top + each * static_cast<double>(plots.size()) + 4;
    return {kWidth, height, [=, plots = std::move(plots), heading = std::move(heading)](Canvas& c) {
                double aside = 0, y = top;
                for (const LinePlot& plot : plots) aside = std::max(aside, plot.Aside());
                heading.Draw(c, aside);
                for (const LinePlot& plot : plots) {
                    plot.Draw(c, {0, y, kWidth, each}, aside);
                    y += each;
                }
            }};
}

}  // namespace amisim::plot
