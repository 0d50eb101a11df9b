#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "base/Names.hpp"

/// Texts from elsewhere - models, files, file names - made fit to be shown.
namespace base {

/// The text as a terminal may be handed it: UTF-8 whose control characters (C0, DEL, C1) and
/// characters that turn the direction of writing are written out as in JSON, "\u001b"; what is no
/// UTF-8 becomes U+FFFD. Tabs and line ends stay, the latter without a carriage return before them.
/// JSON remains the same JSON.
std::string Printable(std::string_view text);

/// The text, or its beginning and its end with an ellipsis between them where it has more than
/// `most` bytes. Characters stay whole.
std::string Shortened(std::string_view text, std::size_t most);

/// An error's text: one line, the control characters of ASCII in it turned into blanks, and
/// shortened to what fills a few lines of a terminal.
std::string ErrorLine(std::string_view text);

}  // namespace base
