#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <string_view>

#include "host/pictures/Canvas.hpp"

/// What pictures with axes share: their colours, and a panel with an axis on two sides.
namespace amisim::plot {

inline constexpr Colour kPaper = {1, 1, 1}, kInk = {0.13, 0.15, 0.20}, kFaint = {0.45, 0.48, 0.54},
                        kGrid = {0.88, 0.89, 0.91};

/// 1, 2 or 5 times a power of ten, so that a span has about `parts` of them.
inline double TickStep(double span, double parts)
{
    const double raw = span / parts;
    const double decade = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * decade) return factor * decade;
    }
    return 10 * decade;
}

/// What a picture shows, on what signal, and the numbers found: three lines from y 14 on. What does
/// not fit the canvas is cut off and ends in dots.
struct Heading
{
    static constexpr int kHeight = 92;
    std::string title, signal, numbers;

    void Draw(Canvas& canvas, int left) const
    {
        int y = 14;
        for (std::string line : {title, signal, numbers}) {
            const bool whole = left + Canvas::TextWidth(line) <= canvas.Width();
            while (!line.empty() && !whole &&
                   left + Canvas::TextWidth(line + " ...") > canvas.Width())
                line.pop_back();
            canvas.Text(left, y, whole ? line : line + " ...", y == 14 ? kInk : kFaint);
            y += 25;
        }
    }
};

enum class Scale { kLinear, kLogarithmic };

/// The values along one side of a panel; on a logarithmic scale all of them are above 0.
struct Axis
{
    double from, to;
    Scale scale = Scale::kLinear;

    /// Where a value stands: 0 at `from`, 1 at `to`.
    double Place(double value) const
    {
        return scale == Scale::kLinear ? (value - from) / (to - from)
                                       : std::log(value / from) / std::log(to / from);
    }
    /// The value that stands there.
    double At(double place) const
    {
        return scale == Scale::kLinear ? from + (to - from) * place
                                       : from * std::pow(to / from, place);
    }
};

/// A rectangle of a canvas, in pixels, that shows values of `across` against values of `upwards`.
struct Panel
{
    Canvas& canvas;
    int left, top, width, height;
    Axis across, upwards;

    double X(double value) const { return left + width * across.Place(value); }
    double Y(double value) const { return top + height * (1 - upwards.Place(value)); }

    /// A line of the grid upwards from the axis across, with its label underneath.
    void TickAcross(double value, std::string_view label, Colour line = kGrid) const
    {
        const int x = static_cast<int>(std::lround(X(value)));
        canvas.Rectangle(x, top, 1, height, line);
        // At the right edge of the canvas there may be less room than half of the label.
        const int middle = std::min(x, canvas.Width() - Canvas::TextWidth(label) / 2);
        canvas.Text(middle, top + height + 10, label, kInk, 2, Canvas::Align::kCentre);
    }
    /// A line of the grid across from the axis upwards, with its label to the left.
    void TickUpwards(double value, std::string_view label) const
    {
        const int y = static_cast<int>(std::lround(Y(value)));
        canvas.Rectangle(left, y, width, 1, kGrid);
        canvas.Text(left - 8, y - 7, label, kInk, 2, Canvas::Align::kRight);
    }
    /// What stands along the two axes, with its unit; the name upwards begins `aside` pixels to the
    /// left, past the labels of its ticks.
    void Name(std::string_view acrossName, std::string_view upwardsName, int aside,
              int below = 48) const
    {
        canvas.Text(left + width / 2, top + height + below, acrossName, kInk, 2,
                    Canvas::Align::kCentre);
        canvas.TextUpwards(left - aside, top + height / 2, upwardsName, kInk);
    }
};

}  // namespace amisim::plot
