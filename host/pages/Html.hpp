#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "host/pictures/Colours.hpp"

/// What the pages of a sweep and of a comparison share. A page is one file: it loads nothing.
namespace amisim::html {

/// The text with what HTML gives a meaning replaced, for contents and for attributes in quotes.
std::string Escaped(std::string_view text);

/// The path as a relative link.
std::string Link(std::string_view path);

/// Everything up to the contents of <main>: the title as a heading, and the style, which follows
/// the reader's light or dark mode and is light on paper. Opening tags are closed by kEnd.
std::string Begin(std::string_view title);
inline constexpr std::string_view kEnd = "</main>\n</body>\n</html>\n";

/// "#rrggbb"
std::string Hex(const Colour& colour);

/// A file's contents as a data URI.
std::string DataUri(std::string_view bytes, std::string_view mediaType);

/// Makes sure that what is to be replaced is an earlier page with this title, if anything.
/// @throws Error (kInput) where it is not
void RequireOwnPage(const std::filesystem::path& path, std::string_view title);

}  // namespace amisim::html
