#include "host/pictures/LinePlot.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace amisim::plot {
namespace {

constexpr int kWidth = 1000, kLeft = 116, kRight = 30;
constexpr int kAbove = 34, kBelow = 66;

struct Tick
{
    double value;
    std::string label;
};

/// Round values along an axis, about so many of them: whole decades where it is logarithmic.
std::vector<Tick> Ticks(const Axis& axis, double parts)
{
    std::vector<Tick> ticks;
    if (axis.scale == Scale::kLogarithmic) {
        const double first = std::ceil(std::log10(axis.from) - 1e-9);
        const double last = std::floor(std::log10(axis.to) + 1e-9);
        const double step = std::max(1.0, std::ceil((last - first) / parts));
        for (double decade = last; decade >= first; decade -= step) {
            const double value = std::pow(10, decade);
            ticks.push_back(
                {value, decade < 0 ? fmt::format("1e{}", decade) : fmt::format("{:g}", value)});
        }
        return ticks;
    }
    const double step = TickStep(axis.to - axis.from, parts);
    for (double v = std::ceil(axis.from / step - 1e-9) * step; v <= axis.to + 1e-9 * step;
         v += step)
        ticks.push_back({v, fmt::format("{:g}", std::abs(v) < step / 2 ? 0 : v)});
    return ticks;
}

}  // namespace

Axis LinePlot::AxisOf(const std::vector<double> Curve::*values, double first, double last,
                      Scale kind) const
{
    double least = INFINITY, greatest = -INFINITY;
    for (const Curve& curve : curves) {
        for (const double v : curve.*values) {
            if (!std::isfinite(v) || (kind == Scale::kLogarithmic && v <= 0)) continue;
            least = std::min(least, v);
            greatest = std::max(greatest, v);
        }
    }
    if (least > greatest) least = kind == Scale::kLogarithmic ? 0.1 : 0, greatest = 1;
    if (kind == Scale::kLogarithmic) {
        if (values == &Curve::y) greatest *= 2;
        if (least == greatest) least /= 10;
    } else {
        const bool upright = values == &Curve::y;
        const double room = upright ? 0.05 * (greatest - least) : 0;
        least -= room;
        greatest += room;
        if (least == greatest) least -= 1, greatest += 1;
    }
    return {std::isnan(first) ? least : first, std::isnan(last) ? greatest : last, kind};
}

void LinePlot::Draw(Canvas& canvas, int top, int height) const
{
    const Area area{kLeft, top + kAbove, kWidth - kLeft - kRight, height - kAbove - kBelow};
    const Panel panel{canvas,
                      area.left,
                      area.top,
                      area.width,
                      area.height,
                      AxisOf(&Curve::x, acrossFrom, acrossTo, scaleAcross),
                      AxisOf(&Curve::y, from, to, scale)};
    const auto pixel = [](double v) { return static_cast<int>(std::lround(v)); };
    const auto place = [&](double v) {
        return pixel(std::clamp(panel.X(v), 1.0 * area.left, 1.0 * area.left + area.width));
    };
    for (const Range& range : shaded) {
        const int begin = place(range.from), end = place(range.to);
        canvas.Rectangle(begin, area.top, end - begin, area.height, kFaint, 0.14);
    }
    for (const Tick& tick : Ticks(panel.across, 8)) panel.TickAcross(tick.value, tick.label);
    for (const Tick& tick : Ticks(panel.upwards, scale == Scale::kLogarithmic ? 8 : 5))
        panel.TickUpwards(tick.value, tick.label);
    for (const Range& range : shaded) {
        const int begin = place(range.from), end = place(range.to);
        if (end - begin > Canvas::TextWidth(range.label) + 12)
            canvas.Text(end - 8, area.top + 8, range.label, kFaint, 2, Canvas::Align::kRight);
    }
    for (const Mark& mark : marks) {
        if (!(mark.x >= panel.across.from && mark.x <= panel.across.to)) continue;
        const int x = place(mark.x);
        canvas.Rectangle(x, area.top, 2, area.height, kInk, 0.7);
        const bool leftwards = x + 10 + Canvas::TextWidth(mark.label) > area.left + area.width;
        canvas.Text(leftwards ? x - 8 : x + 10, area.top + 32, mark.label, kInk, 2,
                    leftwards ? Canvas::Align::kRight : Canvas::Align::kLeft);
    }

    int key = kWidth - kRight;
    for (auto curve = curves.rbegin(); curve != curves.rend(); ++curve) {
        if (curve->label.empty()) continue;
        key -= Canvas::TextWidth(curve->label);
        canvas.Text(key, top + 8, curve->label, kInk);
        key -= 40;
        const std::vector<Point> sample = {{key + 0.0, top + 15.0}, {key + 32.0, top + 15.0}};
        canvas.Line(sample, curve->stroke, {key, top, 40, kAbove});
        key -= 22;
    }
    for (const Curve& curve : curves) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < std::min(curve.x.size(), curve.y.size()); ++i) {
            const bool out = scale == Scale::kLogarithmic && !(curve.y[i] > 0);
            points.push_back({panel.X(curve.x[i]), out ? NAN : panel.Y(curve.y[i])});
        }
        canvas.Line(points, curve.stroke, area);
    }
    canvas.Text(kLeft, top + 8, title, kInk);
    panel.Name(across, upwards, 104, 36);
}

Canvas DrawPlots(const std::vector<LinePlot>& plots, const Heading& heading)
{
    const int each = plots.size() == 1 ? 500 : 360;
    Canvas canvas(kWidth, Heading::kHeight + each * static_cast<int>(plots.size()), kPaper);
    heading.Draw(canvas, kLeft);
    int top = Heading::kHeight;
    for (const LinePlot& plot : plots) {
        plot.Draw(canvas, top, each);
        top += each;
    }
    return canvas;
}

}  // namespace amisim::plot
