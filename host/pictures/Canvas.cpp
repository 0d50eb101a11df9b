#include "host/pictures/Canvas.hpp"

#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/Error.hpp"
#include "base/Files.hpp"
#include "host/pictures/Font.hpp"

namespace amisim {
namespace {

double ToLinear(double v)
{
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
double FromLinear(double v)
{
    return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

Colour ToLab(const Colour& c)
{
    const double r = ToLinear(c[0]), g = ToLinear(c[1]), b = ToLinear(c[2]);
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

Colour FromLab(const Colour& c)
{
    const auto cube = [](double v) { return v * v * v; };
    const double l = cube(c[0] + 0.3963377774 * c[1] + 0.2158037573 * c[2]);
    const double m = cube(c[0] - 0.1055613458 * c[1] - 0.0638541728 * c[2]);
    const double s = cube(c[0] - 0.0894841775 * c[1] - 1.2914855480 * c[2]);
    const auto channel = [](double v) {
        return std::clamp(FromLinear(std::max(v, 0.0)), 0.0, 1.0);
    };
    return {channel(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            channel(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            channel(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

}  // namespace

ColourMap::ColourMap(const std::vector<Colour>& stops)
{
    for (const Colour& stop : stops) lab_.push_back(ToLab(stop));
}

Colour ColourMap::At(double x) const
{
    const double place = std::clamp(x, 0.0, 1.0) * static_cast<double>(lab_.size() - 1);
    const std::size_t i = std::min(static_cast<std::size_t>(place), lab_.size() - 2);
    const double part = place - static_cast<double>(i);
    Colour mixed{};
    for (std::size_t k = 0; k < 3; ++k)
        mixed[k] = lab_[i][k] + (lab_[i + 1][k] - lab_[i][k]) * part;
    return FromLab(mixed);
}

Canvas::Canvas(int width, int height, Colour background)
    : width_(width), height_(height), pixels_(static_cast<std::size_t>(3 * width * height))
{
    Rectangle(0, 0, width, height, background);
}

void Canvas::Put(int x, int y, Colour colour, double opacity)
{
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    std::uint8_t* const pixel = &pixels_[static_cast<std::size_t>(3 * (y * width_ + x))];
    for (std::size_t k = 0; k < 3; ++k) {
        const double mixed = colour[k] * 255 * opacity + pixel[k] * (1 - opacity);
        pixel[k] = static_cast<std::uint8_t>(std::lround(mixed));
    }
}

Colour Canvas::At(int x, int y) const
{
    const std::uint8_t* const pixel = &pixels_[static_cast<std::size_t>(3 * (y * width_ + x))];
    return {pixel[0] / 255.0, pixel[1] / 255.0, pixel[2] / 255.0};
}

void Canvas::Rectangle(int x, int y, int width, int height, Colour colour, double opacity)
{
    for (int j = y; j < y + height; ++j) {
        for (int i = x; i < x + width; ++i) Put(i, j, colour, opacity);
    }
}

namespace {

/// How much of pixels is covered by a line; where parts of it overlap, by the one that covers most.
class Coverage
{
public:
    explicit Coverage(const Area& area)
        : area_(area), parts_(static_cast<std::size_t>(area.width * area.height))
    {
    }

    /// A straight piece with round ends.
    void Add(Point a, Point b, double width)
    {
        const double reach = width / 2 + 0.5;
        // Kept near the area, where the numbers of pixels fit an int.
        const auto limit = [](double v, int from, int size) {
            return static_cast<int>(std::clamp(v, from - 1.0, 1.0 * from + size));
        };
        const int left = limit(std::min(a.x, b.x) - reach, area_.left, area_.width);
        const int right = limit(std::max(a.x, b.x) + reach, area_.left, area_.width);
        const int top = limit(std::min(a.y, b.y) - reach, area_.top, area_.height);
        const int bottom = limit(std::max(a.y, b.y) + reach, area_.top, area_.height);
        const double dx = b.x - a.x, dy = b.y - a.y, length2 = dx * dx + dy * dy;
        for (int y = std::max(top, area_.top); y <= std::min(bottom, area_.top + area_.height - 1);
             ++y) {
            for (int x = std::max(left, area_.left);
                 x <= std::min(right, area_.left + area_.width - 1); ++x) {
                const double px = x + 0.5 - a.x, py = y + 0.5 - a.y;
                const double along =
                    length2 > 0 ? std::clamp((px * dx + py * dy) / length2, 0.0, 1.0) : 0;
                const double distance = std::hypot(px - along * dx, py - along * dy);
                float& part = parts_[static_cast<std::size_t>((y - area_.top) * area_.width + x -
                                                              area_.left)];
                part = std::max(part, static_cast<float>(std::clamp(reach - distance, 0.0, 1.0)));
            }
        }
    }

    void Paint(Canvas& canvas, const Stroke& stroke) const
    {
        std::size_t i = 0;
        for (int y = area_.top; y < area_.top + area_.height; ++y) {
            for (int x = area_.left; x < area_.left + area_.width; ++x, ++i) {
                if (parts_[i] > 0) canvas.Put(x, y, stroke.colour, stroke.opacity * parts_[i]);
            }
        }
    }

private:
    Area area_;
    std::vector<float> parts_;
};

}  // namespace

void Canvas::Line(std::span<const Point> points, const Stroke& stroke, const Area& clip)
{
    Coverage coverage(clip);
    double drawn = 0;  // pixels along the line, for the dashes
    const auto known = [&](std::size_t i) {
        return i < points.size() && !std::isnan(points[i].x) && !std::isnan(points[i].y);
    };
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!known(i)) continue;
        const Point a = points[i];
        if (!known(i + 1)) {
            if (i == 0 || !known(i - 1)) coverage.Add(a, a, 2 * stroke.width);
            drawn = 0;
            continue;
        }
        const Point b = points[i + 1];
        const double length = std::hypot(b.x - a.x, b.y - a.y);
        // A far jump is beyond the area for the most part, and its dashes with it.
        if (stroke.dash <= 0 || length > 1e5) {
            coverage.Add(a, b, stroke.width);
            continue;
        }
        const auto at = [&](double along) {
            const double part = length > 0 ? along / length : 0;
            return Point{a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part};
        };
        for (double along = 0; along < length;) {
            const double inDash = std::fmod(drawn, 2 * stroke.dash);
            const double end = inDash < stroke.dash ? stroke.dash : 2 * stroke.dash;
            const double step = std::min(std::max(end - inDash, 1e-3), length - along);
            if (inDash < stroke.dash) coverage.Add(at(along), at(along + step), stroke.width);
            along += step;
            drawn += step;
        }
    }
    coverage.Paint(*this, stroke);
}

namespace {

using Dots = std::vector<std::vector<int>>;

/// Doubles a bitmap and rounds its stairs: of the four dots that one becomes, each takes on the
/// colour of its two neighbours when these agree and the opposite ones differ (the EPX rule).
Dots Doubled(const Dots& dots)
{
    const std::size_t rows = dots.size(), columns = dots[0].size();
    const auto at = [&](std::size_t y, std::size_t x) {
        return y < rows && x < columns ? dots[y][x] : 0;
    };
    Dots result(2 * rows, std::vector<int>(2 * columns));
    for (std::size_t y = 0; y < rows; ++y) {
        for (std::size_t x = 0; x < columns; ++x) {
            const int here = dots[y][x];
            const int up = at(y - 1, x), down = at(y + 1, x), left = at(y, x - 1),
                      right = at(y, x + 1);
            const bool corner = left != right && up != down;
            result[2 * y][2 * x] = corner && left == up ? left : here;
            result[2 * y][2 * x + 1] = corner && up == right ? right : here;
            result[2 * y + 1][2 * x] = corner && left == down ? left : here;
            result[2 * y + 1][2 * x + 1] = corner && down == right ? right : here;
        }
    }
    return result;
}

std::vector<std::size_t> GlyphNumbers(std::string_view text)
{
    std::vector<std::size_t> numbers;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (text.substr(i).starts_with("±")) {
            numbers.push_back(95);
            ++i;
        } else if (c < 0x80 || c >= 0xc0) {  // a byte that continues a character counts for nothing
            numbers.push_back(c >= 32 && c < 127 ? c - 32u : 0);
        }
    }
    return numbers;
}

}  // namespace

template <typename PutPixel>
void Canvas::Render(std::string_view text, int size, PutPixel put)
{
    // Drawn four times as fine as the dots, each pixel then being covered as far as its part is.
    int origin = 0;
    for (const std::size_t number : GlyphNumbers(text)) {
        Dots dots(kFontRows, std::vector<int>(kFontColumns));
        for (std::size_t y = 0; y < kFontRows; ++y) {
            for (std::size_t x = 0; x < kFontColumns; ++x)
                dots[y][x] = kFont[number][y] >> (4 - x) & 1;
        }
        dots = Doubled(Doubled(dots));
        for (int y = 0; y < kFontRows * size; ++y) {
            for (int x = 0; x < kFontColumns * size; ++x) {
                int covered = 0, all = 0;
                for (int sub = 0; sub < 16; ++sub) {
                    const int fineY = (4 * y + sub / 4) / size, fineX = (4 * x + sub % 4) / size;
                    covered +=
                        dots[static_cast<std::size_t>(fineY)][static_cast<std::size_t>(fineX)];
                    ++all;
                }
                if (covered > 0) put(origin + x, y, static_cast<double>(covered) / all);
            }
        }
        origin += kFontAdvance * size;
    }
}

int Canvas::TextWidth(std::string_view text, int size)
{
    return (static_cast<int>(GlyphNumbers(text).size()) * kFontAdvance - 1) * size;
}

void Canvas::Text(int x, int y, std::string_view text, Colour colour, int size, Align align)
{
    const int width = TextWidth(text, size);
    const int left = align == Align::kLeft ? x : align == Align::kRight ? x - width : x - width / 2;
    Render(text, size,
           [&](int i, int j, double opacity) { Put(left + i, y + j, colour, opacity); });
}

void Canvas::TextUpwards(int x, int y, std::string_view text, Colour colour, int size)
{
    const int bottom = y + TextWidth(text, size) / 2;
    Render(text, size,
           [&](int i, int j, double opacity) { Put(x + j, bottom - i, colour, opacity); });
}

std::string Canvas::Png() const
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(width_);
    image.height = static_cast<png_uint_32>(height_);
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(size, '\0');
    if (!png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels_.data(), 0, nullptr)) {
        throw Error(ExitCode::kInternal,
                    fmt::format("a picture cannot be encoded: {}", image.message));
    }
    bytes.resize(size);
    return bytes;
}

void Canvas::Save(const std::filesystem::path& path) const
{
    WriteWhole(path, Png());
}

}  // namespace amisim
