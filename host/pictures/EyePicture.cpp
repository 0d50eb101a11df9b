#include "host/pictures/EyePicture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/Text.hpp"
#include "host/pictures/Plot.hpp"
#include "host/results/EyeDensity.hpp"

namespace amisim {
namespace {

constexpr int kWidth = 1000, kHeight = 690;
constexpr int kLeft = 92, kTop = 94, kPlotWidth = 820, kPlotHeight = 480;

constexpr Colour kMark = {1, 1, 1}, kContour = {0.45, 0.95, 1.00};
constexpr int kShades = 1023;
using plot::kFaint, plot::kInk, plot::kPaper;

}  // namespace

Canvas EyePicture::Draw(const VoltageHistogram& histogram) const
{
    const EyeDensity density(histogram);
    const ColourMap map({{0.035, 0.04, 0.10},
                         {0.19, 0.10, 0.42},
                         {0.52, 0.12, 0.50},
                         {0.86, 0.30, 0.34},
                         {0.98, 0.62, 0.27},
                         {0.99, 0.97, 0.72}});
    const double top = density.Greatest() > 0 ? 1.12 * density.Greatest() : 1;
    const auto phaseAt = [&](double x) { return sampledAt - 1 + 2 * (x - kLeft) / kPlotWidth; };
    const auto voltageAt = [&](double y) { return top * (1 - 2 * (y - kTop) / kPlotHeight); };
    const auto xOf = [&](double fromSampling) {
        return kLeft + kPlotWidth * (fromSampling + 1) / 2;
    };
    const auto yOf = [&](double voltage) { return kTop + kPlotHeight * (1 - voltage / top) / 2; };
    // The bright end is kept for the crossings; most of an eye is of middling density.
    const auto colourAt = [&](double level) { return map.At(std::pow(level, 1.6)); };
    const auto round = [](double v) { return static_cast<int>(std::lround(v)); };

    Canvas canvas(kWidth, kHeight, kPaper);
    // A single pass maps just above the scale's dark end, the densest cell to its bright one.
    std::vector<double> values;
    for (int x = kLeft; x < kLeft + kPlotWidth; ++x) {
        for (int y = kTop; y < kTop + kPlotHeight; ++y)
            values.push_back(density.At(phaseAt(x + 0.5), voltageAt(y + 0.5)));
    }
    const double peak = *std::max_element(values.begin(), values.end());
    const double decades = std::log10(std::max(peak / density.Once(), 10.0)) + 0.5;
    std::vector<Colour> colours;
    for (int i = 0; i <= kShades; ++i) colours.push_back(colourAt(1.0 * i / kShades));
    auto value = values.begin();
    for (int x = kLeft; x < kLeft + kPlotWidth; ++x) {
        for (int y = kTop; y < kTop + kPlotHeight; ++y, ++value) {
            const double level = *value > 0 ? 1 + std::log10(*value / peak) / decades : 0;
            canvas.Put(x, y,
                       colours[static_cast<std::size_t>(round(std::max(level, 0.0) * kShades))]);
        }
    }

    // Grid and ticks.
    for (int quarter = -4; quarter <= 4; ++quarter) {
        const int x = std::min(round(xOf(quarter / 4.0)), kLeft + kPlotWidth - 1);
        canvas.Rectangle(x, kTop, 1, kPlotHeight, kMark, 0.10);
        canvas.Rectangle(x, kTop + kPlotHeight, 1, 6, kFaint);
        if (quarter % 2 == 0) {
            canvas.Text(x, kTop + kPlotHeight + 12, fmt::format("{:g}", quarter / 4.0), kInk, 2,
                        Canvas::Align::kCentre);
        }
    }
    const double step = plot::TickStep(2 * top, 9);
    for (double v = std::ceil(-top / step) * step; v <= top; v += step) {
        const int y = round(yOf(v));
        const double millivolts = std::abs(v) < step / 2 ? 0 : v * 1000;
        canvas.Rectangle(kLeft, y, kPlotWidth, 1, kMark, 0.10);
        canvas.Rectangle(kLeft - 6, y, 6, 1, kFaint);
        canvas.Text(kLeft - 11, y - 7, fmt::format("{:g}", millivolts), kInk, 2,
                    Canvas::Align::kRight);
    }

    // Contours, dashed where extrapolated, named where they are highest.
    const Area plotArea{kLeft, kTop, kPlotWidth, kPlotHeight};
    for (const Contour& contour : contours) {
        const Stroke stroke{
            .colour = kContour, .width = 1.6, .dash = contour.extrapolated ? 5.0 : 0};
        std::vector<Point> points;
        for (std::size_t i = 0; i < contour.phase.size(); ++i)
            points.push_back({xOf(contour.phase[i] - sampledAt), yOf(contour.high[i])});
        for (std::size_t i = contour.phase.size(); i-- > 0;)
            points.push_back({xOf(contour.phase[i] - sampledAt), yOf(contour.low[i])});
        if (points.empty()) continue;
        points.push_back(points.front());
        canvas.Line(points, stroke, plotArea);
    }

    // Sampling instant with the vertical opening, and the horizontal one at 0 V.
    const int centre = round(xOf(0));
    for (int y = kTop; y < kTop + kPlotHeight; y += 8)
        canvas.Rectangle(centre, y, 1, 4, kMark, 0.8);
    if (opening.Height() > 0) {
        const int high = round(yOf(opening.high)), low = round(yOf(opening.low));
        canvas.Rectangle(centre, high, 1, low - high, kMark);
        canvas.Rectangle(centre - 7, high, 15, 1, kMark);
        canvas.Rectangle(centre - 7, low, 15, 1, kMark);
    }
    if (left + right > 0) {
        const int from = round(xOf(-left)), to = round(xOf(right)), zero = round(yOf(0));
        canvas.Rectangle(from, zero, to - from, 1, kMark);
        canvas.Rectangle(from, zero - 7, 1, 15, kMark);
        canvas.Rectangle(to, zero - 7, 1, 15, kMark);
    }
    canvas.Text(centre, kTop + kPlotHeight + 34, "time from the sampling instant, UI", kInk, 2,
                Canvas::Align::kCentre);
    std::string ratios;
    for (const Contour& contour : contours) {
        if (!contour.phase.empty())
            ratios += (ratios.empty() ? "" : ", ") + ShortRatio(contour.ber);
    }
    if (!ratios.empty()) {
        canvas.Text(centre, kTop + kPlotHeight + 60,
                    "contours inwards: error ratio " + ratios + "; dashed: extrapolated", kFaint, 2,
                    Canvas::Align::kCentre);
    }
    canvas.TextUpwards(10, kTop + kPlotHeight / 2, "voltage, mV", kInk, 2);
    heading.Draw(canvas, kLeft);

    // Scale: how many times the trace passed a cell.
    const int bar = kLeft + kPlotWidth + 18;
    for (int y = 0; y < kPlotHeight; ++y) {
        const double level = 1 - static_cast<double>(y) / kPlotHeight;
        canvas.Rectangle(bar, kTop + y, 14, 1, colourAt(level));
    }
    for (int decade = 0; decade < static_cast<int>(decades) + 1; ++decade) {
        const int y = round(kTop + kPlotHeight * decade / decades);
        if (y > kTop + kPlotHeight) break;
        canvas.Rectangle(bar + 14, y, 4, 1, kFaint);
        canvas.Text(bar + 21, y - 3, decade == 0 ? "1" : fmt::format("1e-{}", decade), kInk, 1);
    }
    canvas.Text(bar + 7, kTop + kPlotHeight + 12, "density", kFaint, 1, Canvas::Align::kCentre);
    return canvas;
}

}  // namespace amisim
