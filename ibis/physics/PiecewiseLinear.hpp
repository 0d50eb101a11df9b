#pragma once

#include <cstddef>
#include <vector>

#include "ibis/records/Section.hpp"

namespace ibis {

struct Point
{
    double x = 0, y = 0;
};

/// The largest step down that a curve takes from one point to a later one.
struct Fall
{
    Point from, to;

    double Height() const { return from.y - to.y; }
};

/// A function that is straight between its points and goes on straight beyond the outermost ones.
/// Without points it is unknown.
class PiecewiseLinear
{
public:
    PiecewiseLinear() = default;

    /// A column of a table, in either order of its first column. Rows where it is NA are bridged by
    /// a straight line, as the standard has it; a corner with fewer than two numbers is taken from
    /// typ. The standard states no extrapolation: beyond its ends a current that grows outwards
    /// goes on straight along its last two points (a diode goes on conducting), one that fades
    /// keeps its last value (a diode that has turned off does not conduct the other way).
    /// Unknown where the first column is not strictly in order or typ has fewer than two numbers.
    static PiecewiseLinear FromColumn(const Curve& table, Corner corner);

    /// Through (x, 0) with this slope; unknown unless both are finite.
    static PiecewiseLinear Line(double slope, double x);

    explicit operator bool() const { return !points_.empty(); }
    const std::vector<Point>& Points() const& { return points_; }
    const std::vector<Point>& Points() const&& = delete;  // they would outlive their function
    /// y at x; NaN where the function is unknown.
    double operator()(double x) const;

    /// The same over x + by; unknown unless that is finite, and so below.
    PiecewiseLinear Shifted(double by) const;
    /// The same over about - x.
    PiecewiseLinear Mirrored(double about) const;
    /// Unknown where either is.
    friend PiecewiseLinear operator+(const PiecewiseLinear& a, const PiecewiseLinear& b);

    /// Where y is zero, ascending; of a stretch at zero its ends.
    std::vector<double> Roots() const;
    /// Of the points and the ends of low ... high; without height where the curve nowhere falls.
    Fall LargestFall(double low, double high) const;
    /// The largest abs(y) from low to high.
    double Peak(double low, double high) const;

private:
    double At(double x, std::size_t next) const;
    void AddEnds();
    /// The points from low to high, with these two.
    std::vector<Point> Between(double low, double high) const;

    std::vector<Point> points_;      ///< ascending, finite
    double before_ = 0, after_ = 0;  ///< slopes beyond the ends
};

}  // namespace ibis
