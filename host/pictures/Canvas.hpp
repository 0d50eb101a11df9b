#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/pictures/Colours.hpp"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace amisim {

// Lengths are in points: 1/72 inch on paper, two pixels of an image. y grows downwards.

struct Point
{
    double x, y;
};

struct Area
{
    double left, top, width, height;

    double Right() const { return left + width; }
    double Bottom() const { return top + height; }
};

/// How a line is drawn.
struct Stroke
{
    Colour colour{};
    double width = 1.5;  // 0: nothing
    double dash = 0;     // length drawn and left out by turns; 0: all is drawn
    double opacity = 1;
};

enum class Align { kLeft, kCentre, kRight };

/// How a text is written: one line, of which the place given is an end or the middle.
struct Lettering
{
    Colour colour = colours::kInk;
    double size = 12;
    Align align = Align::kLeft;
    bool upwards = false;  // turned to be read from below
    bool halo = false;     // of paper, upon what is drawn already
};

/// Draws on a surface of Cairo, whatever that makes of it: an image, SVG or PDF.
class Canvas
{
public:
    Canvas(cairo_surface_t* surface, double width, double height);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    double Width() const { return width_; }

    void Rectangle(const Area& area, const Colour& colour, double opacity = 1);

    void Polygon(std::span<const Point> corners, const Colour& colour, double opacity,
                 const Area& clip);

    /// A line through the points, cut off at the area's edge. It is interrupted where a coordinate
    /// is NaN; a point between two interruptions becomes a dot.
    void Line(std::span<const Point> points, const Stroke& stroke, const Area& clip);
    void Dot(Point centre, double radius, const Colour& colour, const Area& clip);

    /// An image of 0x00rrggbb row by row from the top, stretched onto a place with smooth
    /// transitions and cut off at the area's edge.
    void Image(std::vector<std::uint32_t> pixels, int columns, const Area& place, const Area& clip);

    /// @param place  y: the middle of the capitals
    void Text(Point place, std::string_view text, const Lettering& lettering);
    /// The same, but nothing where the text met another one or left the canvas.
    /// @return whether it was written
    bool TextIfFree(Point place, std::string_view text, const Lettering& lettering);

    /// What has been written, with the rectangle that its ink takes.
    struct Writing
    {
        Area area;
        std::string text;
    };
    const std::vector<Writing>& Writings() const { return writings_; }

private:
    void Paint(const Colour& colour, double opacity);
    void Clip(const Area& area);

    cairo_t* cairo_;
    double width_, height_;
    std::vector<Writing> writings_;
};

}  // namespace amisim
