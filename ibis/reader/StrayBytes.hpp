#pragma once

#include <string>
#include <string_view>

namespace ibis {

/// The bytes of the character that the text begins with: of UTF-8 where it is well-formed, else
/// one. The text is not empty.
std::string_view StrayBytes(std::string_view text);

/// What the bytes of a character beyond ASCII stand for: "a micro sign in UTF-8 (0xC2 0xB5)".
std::string NameOfStray(std::string_view bytes);

/// What to write in its place: "write u".
std::string RemedyOfStray(std::string_view bytes);

}  // namespace ibis
