#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace amisim {

/// A PNG file of pixels 0x..rrggbb, row by row from the top. It has a palette, a third of what the
/// same takes without and quicker to write: of a picture with more than 256 colours those that are
/// hardly told apart become one.
/// @param pixelsPerInch  how large it is meant to be
std::string Png(std::span<const std::uint32_t> pixels, std::size_t width, double pixelsPerInch);

}  // namespace amisim
