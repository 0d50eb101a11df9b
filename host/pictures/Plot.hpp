#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "host/pictures/Picture.hpp"

/// What pictures with axes share: a heading, axes with round values, a panel with one on two sides.
namespace amisim::plot {

inline constexpr double kWidth = 720;  // of a picture of plots
inline constexpr double kSmall = 10;   // size of lesser texts
inline constexpr double kLarge = 14;   // of a heading's first line

enum class Scale { kLinear, kLogarithmic };

struct Tick
{
    double value;
    std::string label;
};

/// The values along one side of a panel; on a logarithmic scale all of them are above 0.
struct Axis
{
    double from, to;
    Scale scale = Scale::kLinear;
    bool counts = false;  // of what comes in whole numbers

    /// Where a value stands: 0 at `from`, 1 at `to`.
    double Place(double value) const;
    /// Round values, about so many of them; decades where the axis is logarithmic and long.
    std::vector<Tick> Ticks(double parts) const;
};

/// 10 to the power of a whole number, in superior figures.
std::string PowerOfTen(int exponent);

/// An error ratio: "10⁻¹²", "2.5·10⁻⁴", "0.01".
std::string Ratio(double value);

/// What a picture shows, on what signal, and the numbers found; each in two lines at most.
struct Heading
{
    std::string title, signal, numbers;

    double Height(double width) const;
    /// Writes into the top of the canvas.
    void Draw(Canvas& canvas, double left) const;
};

/// A rectangle that shows values of `across` against values of `upwards`.
struct Panel
{
    Area area;
    Axis across, upwards;

    double X(double value) const { return area.left + area.width * across.Place(value); }
    /// The same, or the nearest end of the panel.
    double InX(double value) const { return std::clamp(X(value), area.left, area.Right()); }
    double Y(double value) const { return area.top + area.height * (1 - upwards.Place(value)); }

    /// Room for ticks and name below, and to the left for such ticks and a name.
    static constexpr double kBelow = 44;
    static double Aside(const std::vector<Tick>& upwards);

    /// The grid with its labels. Where there is no room for all labels across, every second, fifth,
    /// tenth... is left.
    void Grid(Canvas& canvas, const std::vector<Tick>& across, const std::vector<Tick>& upwards,
              const Colour& colour, double opacity = 1) const;
    /// What stands along the two axes, with its unit.
    void Name(Canvas& canvas, const std::string& across, const std::string& upwards) const;
};

/// A bar with the colours of a scale from 0 to 1, along its longer side to the right or upwards.
void DrawScale(Canvas& canvas, const Area& bar, const std::function<Colour(double)>& colourAt);

/// Writes labels in a row, their middles at given places, as far as they are free: all, else every
/// second, fifth, tenth...
/// @param y  middle of the row
void WriteRow(Canvas& canvas, const std::vector<double>& places,
              const std::vector<std::string>& labels, double y);

}  // namespace amisim::plot
