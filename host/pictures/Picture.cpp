#include "host/pictures/Picture.hpp"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/format.h>

#include <cmath>
#include <memory>

#include "base/Error.hpp"
#include "host/pictures/Png.hpp"

namespace amisim {
namespace {

constexpr double kPixels = 2;  // a point

using Surface = std::shared_ptr<cairo_surface_t>;

cairo_status_t Append(void* text, const unsigned char* bytes, unsigned int count)
{
    static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

void Check(cairo_surface_t* surface)
{
    if (const auto status = cairo_surface_status(surface); status != CAIRO_STATUS_SUCCESS) {
        throw Error(ExitCode::kInternal,
                    fmt::format("a picture cannot be drawn: {}", cairo_status_to_string(status)));
    }
}

}  // namespace

std::function<std::string()> Picture::Drawn(PictureFormat format) const
{
    const auto file = std::make_shared<std::string>();
    const auto pixels = [](double points) { return static_cast<int>(std::ceil(points * kPixels)); };
    const Surface surface(
        format == PictureFormat::kPng
            ? cairo_image_surface_create(CAIRO_FORMAT_RGB24, pixels(width), pixels(height))
        : format == PictureFormat::kSvg
            ? cairo_svg_surface_create_for_stream(Append, file.get(), width, height)
            : cairo_pdf_surface_create_for_stream(Append, file.get(), width, height),
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
    if (format != PictureFormat::kPng) {
        cairo_surface_finish(surface.get());
        Check(surface.get());
        return [file] { return std::move(*file); };
    }
    cairo_surface_flush(surface.get());
    Check(surface.get());
    return [surface, columns = static_cast<std::size_t>(pixels(width)),
            rows = static_cast<std::size_t>(pixels(height))] {
        const auto* const image =
            reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface.get()));
        return Png({image, columns * rows}, columns, 72 * kPixels);
    };
}

}  // namespace amisim
