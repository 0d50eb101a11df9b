#include "host/pictures/Plot.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/pictures/Font.hpp"

namespace amisim::plot {
namespace {

constexpr double kTop = 10, kLine = 17, kMargin = 8, kText = 12;
constexpr double kLongestLabel = 200;

struct HeadingLine
{
    std::string text;
    Lettering lettering;
};

std::vector<HeadingLine> Lines(const Heading& heading, double room)
{
    std::vector<HeadingLine> lines;
    const auto add = [&](const std::string& text, const Lettering& lettering) {
        for (auto& line : font::Wrapped(text, lettering.size, room, 2))
            lines.push_back({std::move(line), lettering});
    };
    add(heading.title, {.size = kLarge});
    add(heading.signal, {.colour = colours::kFaint});
    add(heading.numbers, {.colour = colours::kFaint});
    return lines;
}

/// With a minus sign rather than a hyphen.
std::string Typeset(const std::string& number)
{
    return number.starts_with('-') ? "−" + number.substr(1) : number;
}

/// Of a value's first digit.
int Exponent(double value)
{
    return static_cast<int>(std::floor(std::log10(value) + 1e-9));
}

/// A value with the digits that tell it from its neighbours a step away.
std::string Label(double value, double step, double greatest)
{
    if (std::abs(value) < step / 2) return "0";
    const int last = Exponent(step);
    if (last >= -6 && greatest < 1e7)
        return Typeset(fmt::format("{:.{}f}", value, std::max(0, -last)));
    const int first = Exponent(std::abs(value));
    const double mantissa = value / std::pow(10, first);
    return Typeset(
        fmt::format("{:.{}f}·{}", mantissa, std::clamp(first - last, 0, 15), PowerOfTen(first)));
}

/// 1, 2 or 5 times a power of ten, so that a span has at most `parts` of them.
double TickStep(double span, double parts)
{
    const double raw = span / parts;
    const double decade = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * decade) return factor * decade;
    }
    return 10 * decade;
}

std::vector<Tick> LogarithmicTicks(const Axis& axis, double parts)
{
    const int first = Exponent(axis.from), last = Exponent(axis.to);
    const bool powers = first < -3 || last > 4;
    const bool finely = std::log10(axis.to / axis.from) < 2;
    const int step = std::max(1, static_cast<int>(std::ceil((last - first) / parts)));
    std::vector<Tick> ticks;
    for (int decade = last; decade >= first; decade -= step) {
        for (const int factor : {1, 2, 5}) {
            const double value = factor * std::pow(10, decade);
            if (value < axis.from * (1 - 1e-9) || value > axis.to * (1 + 1e-9)) continue;
            if (factor > 1 && !finely) continue;
            const std::string power = decade == 0 ? "1" : PowerOfTen(decade);
            ticks.push_back({value, !powers       ? fmt::format("{:g}", value)
                                    : factor == 1 ? power
                                                  : fmt::format("{}·{}", factor, power)});
        }
    }
    return ticks;
}

}  // namespace

double Axis::Place(double value) const
{
    return scale == Scale::kLinear ? (value - from) / (to - from)
                                   : std::log(value / from) / std::log(to / from);
}

std::vector<Tick> Axis::Ticks(double parts) const
{
    if (scale == Scale::kLogarithmic) return LogarithmicTicks(*this, parts);
    std::vector<Tick> ticks;
    const double step = std::max(TickStep(to - from, parts), counts ? 1.0 : 0.0);
    const double greatest = std::max(std::abs(from), std::abs(to));
    const double first = std::ceil(from / step - 1e-9), last = std::floor(to / step + 1e-9);
    for (int i = 0; first + i <= last && i < 100; ++i) {
        const double value = (first + i) * step;
        ticks.push_back({value, Label(value, step, greatest)});
    }
    return ticks;
}

std::string PowerOfTen(int exponent)
{
    constexpr const char* kFigures[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
    std::string text = exponent < 0 ? "10⁻" : "10";
    for (const char figure : std::to_string(std::abs(exponent))) text += kFigures[figure - '0'];
    return text;
}

std::string Ratio(double value)
{
    if (value >= 0.01 || value <= 0) return fmt::format("{:g}", value);
    const std::string digits = fmt::format("{:.3g}", value / std::pow(10, Exponent(value)));
    return (digits == "1" ? "" : digits + "·") + PowerOfTen(Exponent(value));
}

double Heading::Height(double width) const
{
    return kTop + kLine * static_cast<double>(Lines(*this, width).size()) + 8;
}

void Heading::Draw(Canvas& canvas, double left) const
{
    const auto lines = Lines(*this, canvas.Width() - 2 * kMargin);
    // All begin at the margin where a long one has to.
    for (const HeadingLine& line : lines) {
        if (left + font::Width(line.text, line.lettering.size) > canvas.Width() - kMargin)
            left = kMargin;
    }
    double y = kTop + kLine / 2;
    for (const HeadingLine& line : lines) {
        canvas.Text({left, y}, line.text, line.lettering);
        y += kLine;
    }
}

double Panel::Aside(const std::vector<Tick>& upwards)
{
    double widest = 0;
    for (const Tick& tick : upwards) widest = std::max(widest, font::Width(tick.label, kText));
    return kMargin + 20 + widest + 6;
}

void Panel::Grid(Canvas& canvas, const std::vector<Tick>& acrossTicks,
                 const std::vector<Tick>& upwardsTicks, const Colour& colour, double opacity) const
{
    for (const Tick& tick : upwardsTicks) {
        const double y = std::round(Y(tick.value));
        canvas.Rectangle({area.left, y - 0.25, area.width, 0.5}, colour, opacity);
        canvas.TextIfFree({area.left - 6, y}, tick.label, {.align = Align::kRight});
    }
    std::vector<double> places;
    std::vector<std::string> labels;
    for (const Tick& tick : acrossTicks) {
        places.push_back(X(tick.value));
        labels.push_back(tick.label);
        canvas.Rectangle({std::round(places.back()) - 0.25, area.top, 0.5, area.height}, colour,
                         opacity);
    }
    WriteRow(canvas, places, labels, area.Bottom() + 13);
}

void Panel::Name(Canvas& canvas, const std::string& acrossName,
                 const std::string& upwardsName) const
{
    canvas.Text({area.left + area.width / 2, area.Bottom() + 32},
                font::Shortened(acrossName, kText, area.width), {.align = Align::kCentre});
    canvas.Text({kMargin + 6, area.top + area.height / 2},
                font::Shortened(upwardsName, kText, area.height),
                {.align = Align::kCentre, .upwards = true});
}

void DrawScale(Canvas& canvas, const Area& bar, const std::function<Colour(double)>& colourAt)
{
    constexpr int kSteps = 32;  // that can be told apart
    for (int i = 0; i < kSteps; ++i) {
        // Each reaches under the next one, so that no seams are seen.
        const double part = 1.0 * i / kSteps;
        Area rest = bar;
        if (bar.width > bar.height) {
            rest.left += part * bar.width;
            rest.width -= part * bar.width;
        } else {
            rest.height -= part * bar.height;
        }
        canvas.Rectangle(rest, colourAt((i + 0.5) / kSteps));
    }
}

void WriteRow(Canvas& canvas, const std::vector<double>& places,
              const std::vector<std::string>& labels, double y)
{
    constexpr double kGap = 8;
    std::vector<double> lefts, widths;
    std::vector<std::string> texts;
    for (std::size_t i = 0; i < places.size(); ++i) {
        texts.push_back(font::Shortened(labels[i], kText, kLongestLabel));
        widths.push_back(font::Width(texts.back(), kText));
        const double most = std::max(1.0, canvas.Width() - 2 - widths.back());
        lefts.push_back(std::clamp(places[i] - widths.back() / 2, 1.0, most));
    }
    const auto fits = [&](std::size_t stride) {
        for (std::size_t i = stride; i < places.size(); i += stride) {
            const std::size_t a = i - stride, b = i;
            if (lefts[a] < lefts[b] + widths[b] + kGap && lefts[b] < lefts[a] + widths[a] + kGap)
                return false;
        }
        return true;
    };
    std::size_t stride = 1;
    for (std::size_t decade = 1; !fits(stride); decade *= 10) {
        for (const std::size_t factor : {2u, 5u, 10u}) {
            if (!fits(stride)) stride = factor * decade;
        }
    }
    for (std::size_t i = 0; i < places.size(); i += stride)
        canvas.TextIfFree({lefts[i], y}, texts[i], {});
}

}  // namespace amisim::plot
