#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "host/pictures/Canvas.hpp"

namespace amisim {

/// Files that a picture is kept in: an image of two pixels a point for screens; lines and letters
/// for papers.
enum class PictureFormat { kPng, kSvg, kPdf };
inline constexpr PictureFormat kPictureFormats[] = {PictureFormat::kPng, PictureFormat::kSvg,
                                                    PictureFormat::kPdf};
using PictureFormats = std::vector<PictureFormat>;

/// "png": the end of the file's name, and what the user calls it.
constexpr std::string_view Name(PictureFormat format)
{
    return format == PictureFormat::kPng ? "png" : format == PictureFormat::kSvg ? "svg" : "pdf";
}

/// A picture of a size in points that can be drawn on any canvas.
struct Picture
{
    double width, height;
    std::function<void(Canvas&)> draw;

    /// The same bytes whenever the same is drawn.
    std::string File(PictureFormat format) const { return Drawn(format)(); }

    /// Draws. What is returned makes the file of it, once, in any thread: for an image that is most
    /// of the work.
    std::function<std::string()> Drawn(PictureFormat format) const;
};

}  // namespace amisim
