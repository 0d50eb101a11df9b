#include "host/pictures/EyePicture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/pictures/Font.hpp"
#include "host/results/EyeDensity.hpp"

namespace amisim {
namespace {

constexpr double kPlotHeight = 345, kRight = 76, kCaptionLine = 16;
constexpr int kShades = 1023;
using colours::kContour, colours::kFaint, colours::kMark, colours::kMask;

/// The bright end is kept for the crossings; most of an eye is of middling density.
Colour ColourAt(double level)
{
    return colours::EyeDensities().At(std::pow(level, 1.6));
}

/// The same as pixels, from level 0 to 1.
std::vector<std::uint32_t> Shades()
{
    std::vector<std::uint32_t> shades;
    for (int i = 0; i <= kShades; ++i) {
        std::uint32_t pixel = 0;
        for (const double part : ColourAt(1.0 * i / kShades))
            pixel = pixel << 8 | static_cast<std::uint32_t>(std::lround(part * 255));
        shades.push_back(pixel);
    }
    return shades;
}

/// A bar with a scale of densities, the densest at its top.
void DrawDensities(Canvas& canvas, const Area& plot, double decades)
{
    const Area bar{plot.Right() + 14, plot.top, 10, plot.height};
    plot::DrawScale(canvas, bar, ColourAt);
    for (int decade = 0; decade <= decades; ++decade) {
        const double y = bar.top + bar.height * decade / decades;
        canvas.Rectangle({bar.Right(), y - 0.25, 3, 0.5}, kFaint);
        canvas.TextIfFree({bar.Right() + 5, y}, decade == 0 ? "1" : plot::PowerOfTen(-decade),
                          {.size = plot::kSmall});
    }
    canvas.Text({canvas.Width() - 12, plot.top + plot.height / 2}, "density",
                {.colour = kFaint, .size = plot::kSmall, .align = Align::kCentre, .upwards = true});
}

}  // namespace

double EyePicture::DrawDensity(Canvas& canvas, const plot::Panel& panel) const
{
    // A single pass maps just above the scale's dark end, the densest cell to its bright one.
    const EyeDensity cells(density);
    canvas.Rectangle(panel.area, colours::EyeDensities().At(0));
    if (!(cells.Peak() > 0)) return 1;
    const double decades = std::log10(std::max(cells.Peak() / cells.Once(), 10.0)) + 0.5;
    static const std::vector<std::uint32_t> shades = Shades();
    const auto columns = static_cast<int>(density.Columns());
    // One column and row more than are seen, for smooth transitions up to the edge.
    const int first = static_cast<int>(std::floor(panel.across.from * columns)) - 1;
    const int width = 2 * columns + 3;
    const double top = panel.upwards.to / density.BinHeight(),
                 middle = static_cast<double>(density.Rows()) / 2;
    // Beyond the cells there is nothing but what is painted already.
    const double rows = static_cast<double>(density.Rows());
    const int lowest = static_cast<int>(std::max(std::floor(middle - top) - 1, -1.0));
    const int highest = static_cast<int>(std::min(std::ceil(middle + top), rows));
    std::vector<std::uint32_t> pixels;
    for (int row = highest; row >= lowest; --row) {
        for (int i = 0; i < width; ++i) {
            const auto column = static_cast<std::size_t>((first + i + 2 * columns) % columns);
            const double part = cells.Cell(column, row) / cells.Peak();
            const double level = part > 0 ? 1 + std::log10(part) / decades : 0;
            const auto shade = std::lround(std::max(level, 0.0) * kShades);
            pixels.push_back(shades[static_cast<std::size_t>(shade)]);
        }
    }
    const double start = panel.X(1.0 * first / columns);
    const double above = panel.Y((highest + 1 - middle) * density.BinHeight());
    canvas.Image(std::move(pixels), width,
                 {start, above, panel.X(1.0 * (first + width) / columns) - start,
                  panel.Y((lowest - middle) * density.BinHeight()) - above},
                 panel.area);
    return decades;
}

/// Dashed where extrapolated.
void EyePicture::DrawContours(Canvas& canvas, const plot::Panel& panel) const
{
    for (const Contour& contour : contours) {
        std::vector<Point> points;
        for (std::size_t i = 0; i < contour.phase.size(); ++i)
            points.push_back({panel.X(contour.phase[i]), panel.Y(contour.high[i])});
        for (std::size_t i = contour.phase.size(); i-- > 0;)
            points.push_back({panel.X(contour.phase[i]), panel.Y(contour.low[i])});
        if (points.empty()) continue;
        points.push_back(points.front());
        canvas.Line(points,
                    {.colour = kContour,
                     .width = 1,
                     .dash = contour.extrapolated || contour.computed ? 3.0 : 0},
                    panel.area);
    }
}

/// Filled as it is, dashed as far as it may grow or must shrink.
void EyePicture::DrawMask(Canvas& canvas, const plot::Panel& panel) const
{
    if (!mask || mask->corners.empty()) return;
    const Area& area = panel.area;
    const auto outline = [&](double scale) {
        std::vector<Point> points;
        for (const EyePlace corner : mask->corners) {
            points.push_back({panel.X(mask->centre.x + (corner.x - mask->centre.x) * scale),
                              panel.Y(mask->centre.y + (corner.y - mask->centre.y) * scale)});
        }
        points.push_back(points.front());
        return points;
    };
    canvas.Polygon(outline(1), kMask, 0.4, area);
    const auto draw = [&](double scale, double dash) {  // to be seen upon bright and dark
        const auto points = outline(scale);
        canvas.Line(points, {.colour = colours::kInk, .width = 2.2, .opacity = 0.7}, area);
        canvas.Line(points, {.colour = kMask, .width = 1, .dash = dash}, area);
    };
    draw(1, 0);
    if (std::isfinite(mask->scale)) draw(mask->scale, 3);
    const auto limit = [&](double volts, double from, double to) {
        const double y = panel.Y(volts), end = panel.Y(to);
        if (!(volts > from && volts < to) && !(volts < from && volts > to)) return;
        canvas.Rectangle({area.left, std::min(y, end), area.width, std::abs(y - end)}, kMask, 0.4);
    };
    limit(mask->high, panel.upwards.from, panel.upwards.to);
    limit(mask->low, panel.upwards.to, panel.upwards.from);
}

/// The sampling instant with the vertical opening, and the horizontal one at the threshold.
void EyePicture::DrawMark(Canvas& canvas, const plot::Panel& panel, const Mark& mark) const
{
    const Area& area = panel.area;
    const double centre = panel.X(mark.sampledAt), middle = panel.Y(mark.threshold), bar = 5;
    const Stroke stroke{.colour = kMark, .width = 0.8};
    const auto line = [&](double x1, double y1, double x2, double y2, const Stroke& as) {
        canvas.Line(std::vector<Point>{{x1, y1}, {x2, y2}}, as, area);
    };
    if (mark.opening.Height() > 0) {
        const double high = panel.Y(mark.opening.high), low = panel.Y(mark.opening.low);
        line(centre, high, centre, low, stroke);
        for (const double y : {high, low}) line(centre - bar, y, centre + bar, y, stroke);
    }
    if (mark.left + mark.right > 0) {
        const double from = panel.X(mark.sampledAt - mark.left);
        const double to = panel.X(mark.sampledAt + mark.right);
        line(from, middle, to, middle, stroke);
        for (const double x : {from, to}) line(x, middle - bar, x, middle + bar, stroke);
    }
}

std::vector<std::string> EyePicture::Caption() const
{
    std::string ratios;
    for (const Contour& contour : contours) {
        const std::string ratio = plot::Ratio(contour.ber);
        if (!contour.phase.empty() && ratios.find(ratio) == ratios.npos)
            ratios += (ratios.empty() ? "" : ", ") + ratio;
    }
    std::vector<std::string> lines;
    const auto add = [&](const std::string& text) {
        const auto wrapped = font::Wrapped(text, plot::kSmall, plot::kWidth - 150, 2);
        lines.insert(lines.end(), wrapped.begin(), wrapped.end());
    };
    if (!ratios.empty()) {
        const bool computed = std::ranges::any_of(contours, &Contour::computed);
        add(fmt::format("Contours inwards: error ratio {}; dashed: {}", ratios,
                        computed ? "computed" : "extrapolated"));
    }
    if (mask) {
        const double margin = mask->MarginPercent();
        add(fmt::format("Mask {}: {}{}", font::Shortened(mask->name, plot::kSmall, 200),
                        mask->Passed() ? "passed" : "missed",
                        std::isfinite(margin)
                            ? fmt::format(", margin {}{:.1f} % (dashed)", margin < 0 ? "−" : "+",
                                          std::abs(margin))
                            : ""));
    }
    return lines;
}

void EyePicture::Draw(Canvas& canvas) const
{
    const double greatest = EyeDensity(density).Greatest();
    // Of a trace that stays where it is, no row is stretched over the whole picture.
    double top = greatest > 0 ? std::max(1.12 * greatest, 16 * density.BinHeight()) : 1;
    // Room for the mask, but no eye so small that it is not seen.
    constexpr double kLeastPart = 32;
    for (const EyePlace corner : mask ? mask->corners : std::vector<EyePlace>{})
        top = std::max(top, std::min(1.12 * std::abs(corner.y), kLeastPart * density.Range()));
    const plot::Axis voltages{-top, top}, millivolts{-1000 * top, 1000 * top};
    std::vector<plot::Tick> ticks = millivolts.Ticks(9), phases;
    for (plot::Tick& tick : ticks) tick.value /= 1000;
    for (int quarter = -4; quarter <= 4; ++quarter) {
        const char* const labels[] = {"−1", "", "−0.5", "", "0", "", "0.5", "", "1"};
        phases.push_back({sampledAt + quarter / 4.0, labels[quarter + 4]});
    }
    const double aside = plot::Panel::Aside(ticks);
    const plot::Panel panel{
        {aside, heading.Height(plot::kWidth), plot::kWidth - aside - kRight, kPlotHeight},
        {sampledAt - 1, sampledAt + 1},
        voltages};
    heading.Draw(canvas, aside);
    const double decades = DrawDensity(canvas, panel);
    panel.Name(canvas, "time from the sampling instant, UI", "voltage, mV");
    panel.Grid(canvas, phases, ticks, kMark, 0.14);
    DrawMask(canvas, panel);
    DrawContours(canvas, panel);
    const double centre = panel.X(sampledAt);
    canvas.Line(std::vector<Point>{{centre, panel.area.top}, {centre, panel.area.Bottom()}},
                {.colour = kMark, .width = 0.6, .dash = 3}, panel.area);
    for (const Mark& mark : marks) DrawMark(canvas, panel, mark);
    DrawDensities(canvas, panel.area, decades);
    double y = panel.area.Bottom() + plot::Panel::kBelow + kCaptionLine / 2;
    for (const std::string& line : Caption()) {
        canvas.Text({panel.area.left + panel.area.width / 2, y}, line,
                    {.colour = kFaint, .size = plot::kSmall, .align = Align::kCentre});
        y += kCaptionLine;
    }
}

EyePicture::operator Picture() const
{
    const double caption = kCaptionLine * static_cast<double>(Caption().size());
    return {plot::kWidth,
            heading.Height(plot::kWidth) + kPlotHeight + plot::Panel::kBelow + caption + 6,
            [picture = *this](Canvas& canvas) { picture.Draw(canvas); }};
}

}  // namespace amisim
