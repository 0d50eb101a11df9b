#include "host/pictures/Canvas.hpp"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "host/pictures/Font.hpp"

namespace amisim {
namespace {

constexpr double kCapitals = 0.73;  // height of DejaVu Sans' capitals, as a part of its size

/// Further out than any picture, and near enough for Cairo's numbers.
double Kept(double coordinate)
{
    return std::clamp(coordinate, -1e5, 1e5);
}

bool IsKnown(const Point& p)
{
    return !std::isnan(p.x) && !std::isnan(p.y);
}

/// What a text covers when it is written at a place.
Area Covered(const Point& place, const std::string& text, const Lettering& l)
{
    cairo_text_extents_t ink;
    cairo_scaled_font_text_extents(font::At(l.size), text.c_str(), &ink);
    const double back = l.align == Align::kLeft    ? 0
                        : l.align == Align::kRight ? ink.x_advance
                                                   : ink.x_advance / 2;
    const double along = ink.x_bearing - back, down = ink.y_bearing + kCapitals * l.size / 2;
    if (l.upwards) return {place.x + down, place.y - along - ink.width, ink.height, ink.width};
    return {place.x + along, place.y + down, ink.width, ink.height};
}

}  // namespace

Canvas::Canvas(cairo_surface_t* surface, double width, double height)
    : cairo_(cairo_create(surface)), width_(width), height_(height)
{
    Paint(colours::kPaper, 1);
    cairo_paint(cairo_);  // up to the edge of the last pixel
}

Canvas::~Canvas()
{
    cairo_destroy(cairo_);
}

void Canvas::Paint(const Colour& colour, double opacity)
{
    cairo_set_source_rgba(cairo_, colour[0], colour[1], colour[2], opacity);
}

void Canvas::Clip(const Area& a)
{
    cairo_rectangle(cairo_, a.left, a.top, a.width, a.height);
    cairo_clip(cairo_);
}

void Canvas::Rectangle(const Area& a, const Colour& colour, double opacity)
{
    Paint(colour, opacity);
    cairo_rectangle(cairo_, a.left, a.top, a.width, a.height);
    cairo_fill(cairo_);
}

void Canvas::Polygon(std::span<const Point> corners, const Colour& colour, double opacity,
                     const Area& clip)
{
    cairo_save(cairo_);
    Clip(clip);
    Paint(colour, opacity);
    for (const Point& corner : corners) cairo_line_to(cairo_, Kept(corner.x), Kept(corner.y));
    cairo_fill(cairo_);
    cairo_restore(cairo_);
}

void Canvas::Line(std::span<const Point> points, const Stroke& stroke, const Area& clip)
{
    if (stroke.width == 0) return;
    cairo_save(cairo_);
    Clip(clip);
    Paint(stroke.colour, stroke.opacity);
    cairo_set_line_width(cairo_, stroke.width);
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    if (stroke.dash > 0)
        cairo_set_dash(cairo_, &stroke.dash, 1, 0);
    else
        cairo_set_line_cap(cairo_, CAIRO_LINE_CAP_ROUND);
    const auto known = [&](std::size_t i) { return i < points.size() && IsKnown(points[i]); };
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!known(i)) continue;
        const double x = Kept(points[i].x), y = Kept(points[i].y);
        if (i > 0 && known(i - 1))
            cairo_line_to(cairo_, x, y);
        else
            cairo_move_to(cairo_, x, y);
    }
    cairo_stroke(cairo_);
    cairo_restore(cairo_);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (known(i) && !known(i + 1) && (i == 0 || !known(i - 1)))
            Dot(points[i], stroke.width, stroke.colour, clip);
    }
}

void Canvas::Dot(Point centre, double radius, const Colour& colour, const Area& clip)
{
    cairo_save(cairo_);
    Clip(clip);
    Paint(colour, 1);
    cairo_arc(cairo_, Kept(centre.x), Kept(centre.y), radius, 0, 2 * std::numbers::pi);
    cairo_fill(cairo_);
    cairo_restore(cairo_);
}

void Canvas::Image(std::vector<std::uint32_t> pixels, int columns, const Area& place,
                   const Area& clip)
{
    const int rows = static_cast<int>(pixels.size()) / columns;
    cairo_surface_t* image =
        cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(pixels.data()),
                                            CAIRO_FORMAT_RGB24, columns, rows, 4 * columns);
    cairo_save(cairo_);
    Clip(clip);
    cairo_translate(cairo_, place.left, place.top);
    cairo_scale(cairo_, place.width / columns, place.height / rows);
    cairo_set_source_surface(cairo_, image, 0, 0);
    cairo_pattern_set_extend(cairo_get_source(cairo_), CAIRO_EXTEND_PAD);
    cairo_pattern_set_filter(cairo_get_source(cairo_), CAIRO_FILTER_BILINEAR);
    cairo_rectangle(cairo_, 0, 0, columns, rows);
    cairo_fill(cairo_);
    cairo_restore(cairo_);
    // A file's page keeps a copy, the pixels go.
    cairo_surface_finish(image);
    cairo_surface_destroy(image);
}

void Canvas::Text(Point place, std::string_view given, const Lettering& lettering)
{
    const std::string text = font::Drawable(given);
    if (text.empty()) return;
    writings_.push_back({Covered(place, text, lettering), text});
    const double width = font::Width(text, lettering.size);
    cairo_save(cairo_);
    cairo_translate(cairo_, place.x, place.y);
    if (lettering.upwards) cairo_rotate(cairo_, -std::numbers::pi / 2);
    cairo_set_scaled_font(cairo_, font::At(lettering.size));
    const double left = lettering.align == Align::kLeft    ? 0
                        : lettering.align == Align::kRight ? -width
                                                           : -width / 2;
    const auto begin = [&] { cairo_move_to(cairo_, left, kCapitals * lettering.size / 2); };
    if (lettering.halo) {
        begin();
        cairo_text_path(cairo_, text.c_str());
        Paint(colours::kPaper, 0.85);
        cairo_set_line_width(cairo_, 4);
        cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
        cairo_stroke(cairo_);
    }
    begin();
    Paint(lettering.colour, 1);
    cairo_show_text(cairo_, text.c_str());
    cairo_restore(cairo_);
}

bool Canvas::TextIfFree(Point place, std::string_view text, const Lettering& lettering)
{
    constexpr double kGap = 4;
    const Area a = Covered(place, font::Drawable(text), lettering);
    if (a.left < 0 || a.top < 0 || a.Right() > width_ || a.Bottom() > height_) return false;
    for (const Writing& writing : writings_) {
        const Area& b = writing.area;
        if (a.left < b.Right() + kGap && b.left < a.Right() + kGap && a.top < b.Bottom() + 1 &&
            b.top < a.Bottom() + 1)
            return false;
    }
    Text(place, text, lettering);
    return true;
}

}  // namespace amisim
