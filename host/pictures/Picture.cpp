#include "host/pictures/Picture.hpp"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/format.h>
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <memory>

#include "base/Error.hpp"

namespace amisim {
namespace {

constexpr double kPixels = 2;  // a point

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

cairo_status_t Append(void* text, const unsigned char* bytes, unsigned int count)
{
    static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

std::string BigEndian(std::uint32_t value)
{
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
            static_cast<char>(value >> 8), static_cast<char>(value)};
}

std::string Chunk(const std::string& kind, const std::string& data)
{
    const std::string body = kind + data;
    const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return BigEndian(static_cast<std::uint32_t>(data.size())) + body +
           BigEndian(static_cast<std::uint32_t>(sum));
}

/// A PNG file (ISO/IEC 15948) that is quick to write: each row as its difference from the one
/// above, which mostly is nothing.
std::string Png(cairo_surface_t* image)
{
    cairo_surface_flush(image);
    const auto width = static_cast<std::size_t>(cairo_image_surface_get_width(image));
    const auto height = static_cast<std::size_t>(cairo_image_surface_get_height(image));
    const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(image));
    const unsigned char* const pixels = cairo_image_surface_get_data(image);
    constexpr unsigned char kUp = 2;
    std::string rows(height * (1 + 3 * width), '\0');
    auto* to = reinterpret_cast<unsigned char*>(rows.data());
    const std::vector<unsigned char> none(stride);
    for (std::size_t y = 0; y < height; ++y) {
        const unsigned char* const row = pixels + y * stride;
        const unsigned char* const above = y > 0 ? row - stride : none.data();
        *to++ = kUp;
        for (std::size_t x = 0; x < width; ++x, to += 3) {
            for (std::size_t k = 0; k < 3; ++k)  // of blue, green, red
                to[2 - k] = static_cast<unsigned char>(row[4 * x + k] - above[4 * x + k]);
        }
    }
    std::string packed(compressBound(rows.size()), '\0');
    uLongf size = packed.size();
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
              reinterpret_cast<const Bytef*>(rows.data()), rows.size(), 1);
    packed.resize(size);
    const auto dotsPerMetre = static_cast<std::uint32_t>(std::lround(kPixels * 72 / 0.0254));
    return std::string("\x89PNG\r\n\x1a\n", 8) +
           Chunk("IHDR", BigEndian(static_cast<std::uint32_t>(width)) +
                             BigEndian(static_cast<std::uint32_t>(height)) +
                             std::string("\x08\x02\x00\x00\x00", 5)) +
           Chunk("pHYs", BigEndian(dotsPerMetre) + BigEndian(dotsPerMetre) + '\x01') +
           Chunk("IDAT", packed) + Chunk("IEND", "");
}

void Check(cairo_surface_t* surface)
{
    if (const auto status = cairo_surface_status(surface); status != CAIRO_STATUS_SUCCESS) {
        throw Error(ExitCode::kInternal,
                    fmt::format("a picture cannot be drawn: {}", cairo_status_to_string(status)));
    }
}

}  // namespace

std::string Picture::File(PictureFormat format) const
{
    std::string file;
    const auto pixels = [](double points) { return static_cast<int>(std::ceil(points * kPixels)); };
    const Surface surface(
        format == PictureFormat::kPng
            ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, pixels(width), pixels(height))
        : format == PictureFormat::kSvg
            ? cairo_svg_surface_create_for_stream(Append, &file, width, height)
            : cairo_pdf_surface_create_for_stream(Append, &file, width, height),
        cairo_surface_destroy);
    Check(surface.get());
    if (format == PictureFormat::kPng)
        cairo_surface_set_device_scale(surface.get(), kPixels, kPixels);
    // The time of writing would make every file another one.
    if (format == PictureFormat::kPdf)
        cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, "");
    {
        Canvas canvas(surface.get(), width, height);
        draw(canvas);
    }
    if (format == PictureFormat::kPng) {
        file = Png(surface.get());
    } else {
        cairo_surface_finish(surface.get());
    }
    Check(surface.get());
    return file;
}

}  // namespace amisim
