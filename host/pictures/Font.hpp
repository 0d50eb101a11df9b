#pragma once

#include <array>
#include <cstdint>

namespace amisim {

/// A fixed-width font for labels in pictures, drawn on 5 x 9 dots: seven rows above the base line
/// and two below. Each glyph is nine rows from the top, bit 4 being the leftmost dot. Codes 32 to
/// 126, then ±.
constexpr int kFontColumns = 5;
constexpr int kFontRows = 9;
constexpr int kFontAdvance = 6;
using Glyph = std::array<std::uint8_t, kFontRows>;
extern const std::array<Glyph, 96> kFont;

}  // namespace amisim
