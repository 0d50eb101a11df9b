#pragma once

#include <string>
#include <string_view>
#include <vector>

typedef struct _cairo_scaled_font cairo_scaled_font_t;

/// The font of all pictures: DejaVu Sans, which is part of the program, so that a picture looks the
/// same wherever it is drawn. Sizes and widths are in points. One thread at a time draws pictures.
namespace amisim::font {

/// The font at a size, unhinted: widths grow with the size.
cairo_scaled_font_t* At(double size);

double Width(std::string_view text, double size);

/// The text as it can be drawn: one line of UTF-8 without control characters.
std::string Drawable(std::string_view text);

/// The text, or as much of its beginning as fits the room with an ellipsis.
std::string Shortened(std::string_view text, double size, double room);

/// The text in lines that fit the room, broken at blanks; the last of `most` lines is shortened.
std::vector<std::string> Wrapped(std::string_view text, double size, double room, int most);

}  // namespace amisim::font
