#include "host/output/EyePicture.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/output/Canvas.hpp"

namespace amisim {
namespace {

constexpr int kWidth = 1000, kHeight = 640;
constexpr int kLeft = 92, kTop = 70, kPlotWidth = 820, kPlotHeight = 480;

constexpr Colour kPaper = {1, 1, 1}, kInk = {0.13, 0.15, 0.20}, kFaint = {0.45, 0.48, 0.54};
constexpr Colour kMark = {1, 1, 1};

/// 1, 2 or 5 times a power of ten, so that a span has about `parts` of them.
double TickStep(double span, double parts)
{
    const double raw = span / parts;
    const double decade = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * decade) return factor * decade;
    }
    return 10 * decade;
}

/// How often the trace passed, as a part of the column's passes, with straight lines between cells.
class Density
{
public:
    explicit Density(const VoltageHistogram& histogram) : histogram_(histogram)
    {
        for (std::size_t c = 0; c < histogram.Columns(); ++c) {
            double sum = 0;
            for (std::size_t r = 0; r < histogram.Rows(); ++r) {
                const auto count = static_cast<double>(histogram.At(c, r));
                sum += count;
                if (count > 0)
                    greatest_ = std::max(greatest_, std::abs(histogram.Edge(r) + Half()));
            }
            total_ = std::max(total_, sum);
            perColumn_.push_back(sum > 0 ? 1 / sum : 0);
        }
    }
    double Greatest() const { return greatest_; }  // magnitude of the outermost voltage, V
    double Passes() const { return total_; }

    double At(double phase, double voltage) const
    {
        const auto columns = static_cast<double>(histogram_.Columns());
        double x = (phase - std::floor(phase)) * columns - 0.5;
        if (x < 0) x += columns;
        const double y = (voltage - histogram_.Edge(0)) / histogram_.BinHeight() - 0.5;
        const auto c = static_cast<std::size_t>(x);
        const double dx = x - std::floor(x), dy = y - std::floor(y);
        const double top = Cell(c, std::floor(y)) * (1 - dx) + Cell(c + 1, std::floor(y)) * dx;
        const double bottom =
            Cell(c, std::floor(y) + 1) * (1 - dx) + Cell(c + 1, std::floor(y) + 1) * dx;
        return top * (1 - dy) + bottom * dy;
    }

private:
    double Half() const { return histogram_.BinHeight() / 2; }
    double Cell(std::size_t column, double row) const
    {
        if (row < 0 || row >= static_cast<double>(histogram_.Rows())) return 0;
        column %= histogram_.Columns();
        return static_cast<double>(histogram_.At(column, static_cast<std::size_t>(row))) *
               perColumn_[column];
    }

    const VoltageHistogram& histogram_;
    std::vector<double> perColumn_;
    double greatest_ = 0, total_ = 0;
};

}  // namespace

void EyePicture::Save(const VoltageHistogram& histogram, const std::filesystem::path& path) const
{
    const Density density(histogram);
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
    double peak = 0;
    for (int x = 0; x < kPlotWidth; ++x) {
        for (int y = 0; y < kPlotHeight; ++y) {
            peak = std::max(peak, density.At(phaseAt(kLeft + x + 0.5), voltageAt(kTop + y + 0.5)));
        }
    }
    const double once = density.Passes() > 0 ? 1 / density.Passes() : 1;
    const double decades = std::log10(std::max(peak / once, 10.0)) + 0.5;
    for (int x = kLeft; x < kLeft + kPlotWidth; ++x) {
        for (int y = kTop; y < kTop + kPlotHeight; ++y) {
            const double value = density.At(phaseAt(x + 0.5), voltageAt(y + 0.5));
            const double level = value > 0 ? 1 + std::log10(value / peak) / decades : 0;
            canvas.Put(x, y, colourAt(std::max(level, 0.0)));
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
    const double step = TickStep(2 * top, 9);
    for (double v = std::ceil(-top / step) * step; v <= top; v += step) {
        const int y = round(yOf(v));
        const double millivolts = std::abs(v) < step / 2 ? 0 : v * 1000;
        canvas.Rectangle(kLeft, y, kPlotWidth, 1, kMark, 0.10);
        canvas.Rectangle(kLeft - 6, y, 6, 1, kFaint);
        canvas.Text(kLeft - 11, y - 7, fmt::format("{:g}", millivolts), kInk, 2,
                    Canvas::Align::kRight);
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
    canvas.TextUpwards(10, kTop + kPlotHeight / 2, "voltage, mV", kInk, 2);
    canvas.Text(kLeft, 16, title, kInk, 2);
    canvas.Text(kLeft, 42, subtitle, kFaint, 2);

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
    canvas.Save(path);
}

}  // namespace amisim
