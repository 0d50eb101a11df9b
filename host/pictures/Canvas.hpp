#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace amisim {

using Colour = std::array<double, 3>;  // sRGB, 0 to 1

/// A colour scale between given colours, evenly spaced and mixed in the OKLab space (Ottosson), so
/// that equal steps look equal.
class ColourMap
{
public:
    explicit ColourMap(const std::vector<Colour>& stops);
    Colour At(double x) const;  // x from 0 to 1, else the end's colour

private:
    std::vector<Colour> lab_;
};

struct Point
{
    double x, y;  // pixels
};

/// A rectangle, in pixels.
struct Area
{
    int left, top, width, height;
};

/// How a line is drawn.
struct Stroke
{
    Colour colour{};
    double width = 2;  // pixels
    double dash = 0;   // pixels drawn and left out by turns; 0: all are drawn
    double opacity = 1;
};

/// A picture to draw rectangles, lines and text on, kept as a PNG.
class Canvas
{
public:
    Canvas(int width, int height, Colour background);

    void Put(int x, int y, Colour colour, double opacity = 1);
    void Rectangle(int x, int y, int width, int height, Colour colour, double opacity = 1);

    /// A line through the points with smoothed edges, cut off at the area's edge. It is interrupted
    /// where a coordinate is NaN; a point between two interruptions becomes a dot.
    void Line(std::span<const Point> points, const Stroke& stroke, const Area& clip);

    enum class Align { kLeft, kCentre, kRight };
    /// Text with smoothed edges, `size` pixels a font unit (letters are 7 units high); y is its
    /// top. ASCII and ± are there; whatever else is left blank.
    void Text(int x, int y, std::string_view text, Colour colour, int size = 2,
              Align align = Align::kLeft);
    /// The same, turned to run upwards, centred on y.
    void TextUpwards(int x, int y, std::string_view text, Colour colour, int size = 2);
    static int TextWidth(std::string_view text, int size = 2);

    Colour At(int x, int y) const;  // of a pixel inside
    int Width() const { return width_; }
    int Height() const { return height_; }

    /// The picture as the bytes of a PNG file.
    std::string Png() const;
    /// @throws Error (kInput) when the file cannot be written
    void Save(const std::filesystem::path& path) const;

private:
    template <typename PutPixel>
    static void Render(std::string_view text, int size, PutPixel put);

    int width_, height_;
    std::vector<std::uint8_t> pixels_;  // RGB
};

}  // namespace amisim
