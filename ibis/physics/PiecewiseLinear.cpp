#include "ibis/physics/PiecewiseLinear.hpp"

#include <algorithm>
#include <cmath>

namespace ibis {
namespace {

double SlopeOf(const Point& a, const Point& b)
{
    return (b.y - a.y) / (b.x - a.x);
}

std::vector<Point> NumbersOf(const Curve& table, Corner corner)
{
    std::vector<Point> points;
    points.reserve(table.rows.size());
    for (const Curve::Row& row : table.rows) {
        if (std::isfinite(row.x) && std::isfinite(row.y[corner])) {
            points.push_back({row.x, row.y[corner]});
        }
    }
    return points;
}

}  // namespace

PiecewiseLinear PiecewiseLinear::FromColumn(const Curve& table, Corner corner)
{
    PiecewiseLinear made;
    made.points_ = NumbersOf(table, corner);
    if (made.points_.size() < 2 && corner != Corner::Typ) {
        made.points_ = NumbersOf(table, Corner::Typ);
    }
    if (made.points_.size() >= 2 && made.points_.front().x > made.points_.back().x) {
        std::reverse(made.points_.begin(), made.points_.end());
    }
    const bool inOrder = std::adjacent_find(made.points_.begin(), made.points_.end(),
                                            [](const Point& a, const Point& b) {
                                                return !(a.x < b.x);
                                            }) == made.points_.end();
    if (made.points_.size() < 2 || !inOrder) {
        return {};
    }
    made.AddEnds();
    return made;
}

PiecewiseLinear PiecewiseLinear::Line(double slope, double x)
{
    PiecewiseLinear made;
    if (!std::isfinite(slope) || !std::isfinite(x)) {
        return made;
    }
    made.points_ = {{x, 0.0}};
    made.before_ = made.after_ = slope;
    return made;
}

void PiecewiseLinear::AddEnds()
{
    const auto outwards = [](const Point& inner, const Point& outer) {
        const bool grows = std::abs(outer.y) > std::abs(inner.y);
        return grows ? SlopeOf(inner, outer) : 0.0;
    };
    before_ = outwards(points_[1], points_[0]);
    after_ = outwards(points_[points_.size() - 2], points_.back());
}

/// The value at x, of which next is the first point that does not lie before it.
double PiecewiseLinear::At(double x, std::size_t next) const
{
    if (next == points_.size()) {
        return points_.back().y + after_ * (x - points_.back().x);
    }
    const Point& b = points_[next];
    if (b.x == x) {
        return b.y;
    }
    return b.y + (next == 0 ? before_ : SlopeOf(points_[next - 1], b)) * (x - b.x);
}

double PiecewiseLinear::operator()(double x) const
{
    if (points_.empty()) {
        return NAN;
    }
    const auto next = std::lower_bound(points_.begin(), points_.end(), x,
                                       [](const Point& point, double at) { return point.x < at; });
    return At(x, static_cast<std::size_t>(next - points_.begin()));
}

PiecewiseLinear PiecewiseLinear::Shifted(double by) const
{
    if (!std::isfinite(by)) {
        return {};
    }
    PiecewiseLinear made = *this;
    for (Point& point : made.points_) {
        point.x += by;
    }
    return made;
}

PiecewiseLinear PiecewiseLinear::Mirrored(double about) const
{
    if (!std::isfinite(about)) {
        return {};
    }
    PiecewiseLinear made = *this;
    std::reverse(made.points_.begin(), made.points_.end());
    for (Point& point : made.points_) {
        point.x = about - point.x;
    }
    made.before_ = -after_;
    made.after_ = -before_;
    return made;
}

PiecewiseLinear operator+(const PiecewiseLinear& a, const PiecewiseLinear& b)
{
    PiecewiseLinear sum;
    if (!a || !b) {
        return sum;
    }
    sum.points_.reserve(a.points_.size() + b.points_.size());
    const auto headOf = [](const PiecewiseLinear& of, std::size_t next) {
        return next < of.points_.size() ? of.points_[next].x : INFINITY;
    };
    std::size_t i = 0, j = 0;
    while (i < a.points_.size() || j < b.points_.size()) {
        const double x = std::min(headOf(a, i), headOf(b, j));
        sum.points_.push_back({x, a.At(x, i) + b.At(x, j)});
        i += headOf(a, i) == x;
        j += headOf(b, j) == x;
    }
    sum.before_ = a.before_ + b.before_;
    sum.after_ = a.after_ + b.after_;
    return sum;
}

std::vector<double> PiecewiseLinear::Roots() const
{
    std::vector<double> roots;
    if (points_.empty()) {
        return roots;
    }
    const auto reach = [](const Point& from, double slope) { return from.x - from.y / slope; };
    if (points_.front().y * before_ > 0) {
        roots.push_back(reach(points_.front(), before_));
    }
    for (std::size_t i = 0; i < points_.size(); ++i) {
        const Point& point = points_[i];
        if (point.y == 0) {
            roots.push_back(point.x);
        } else if (i + 1 < points_.size() && (point.y < 0) != (points_[i + 1].y < 0) &&
                   points_[i + 1].y != 0) {
            roots.push_back(reach(point, SlopeOf(point, points_[i + 1])));
        }
    }
    if (points_.back().y * after_ < 0) {
        roots.push_back(reach(points_.back(), after_));
    }
    return roots;
}

std::vector<Point> PiecewiseLinear::Between(double low, double high) const
{
    std::vector<Point> within{{low, (*this)(low)}};
    for (const Point& point : points_) {
        if (point.x > low && point.x < high) {
            within.push_back(point);
        }
    }
    within.push_back({high, (*this)(high)});
    return within;
}

Fall PiecewiseLinear::LargestFall(double low, double high) const
{
    const std::vector<Point> within = Between(low, high);
    Fall largest{within.front(), within.front()};
    Point top = within.front();
    for (const Point& point : within) {
        if (point.y > top.y) {
            top = point;
        } else if (top.y - point.y > largest.Height()) {
            largest = {top, point};
        }
    }
    return largest;
}

double PiecewiseLinear::Peak(double low, double high) const
{
    double peak = 0;
    for (const Point& point : Between(low, high)) {
        peak = std::max(peak, std::abs(point.y));
    }
    return peak;
}

}  // namespace ibis
