#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace amisim {

using Colour = std::array<double, 3>;  // sRGB, 0 to 1

/// From 0xrrggbb.
constexpr Colour Rgb(std::uint32_t hex)
{
    return {(hex >> 16) / 255.0, (hex >> 8 & 255) / 255.0, (hex & 255) / 255.0};
}

/// A colour scale between given colours, evenly spaced and mixed in the OKLab space (Ottosson), so
/// that equal steps look equal.
class ColourMap
{
public:
    explicit ColourMap(const std::vector<Colour>& stops);
    Colour At(double x) const;  // x from 0 to 1, else the end's colour

private:
    std::vector<Colour> lab_;
};

/// All colours of all pictures. Curves have those that colour-blind readers tell apart (after Okabe
/// and Ito, "Color Universal Design", 2008); the scales rise or fall in lightness alone, so that
/// they are read in grey, too.
namespace colours {

inline constexpr Colour kPaper = Rgb(0xffffff), kInk = Rgb(0x1b2130), kFaint = Rgb(0x5d6675),
                        kGrid = Rgb(0xe0e3e8), kEmpty = Rgb(0xedeff2);
inline constexpr Colour kBlue = Rgb(0x0072b2), kVermilion = Rgb(0xd55e00), kGreen = Rgb(0x008f6b);
inline constexpr std::array<Colour, 6> kCurves = {kBlue,         kVermilion, kGreen,
                                                  Rgb(0xcc79a7), kInk,       Rgb(0xe69f00)};
/// Upon the density of an eye.
inline constexpr Colour kMark = Rgb(0xffffff), kContour = Rgb(0x7fe9ff), kMask = Rgb(0xb9c4da);

const ColourMap& EyeDensities();
const ColourMap& Openings();  // from small to large
const ColourMap& Errors();    // from none to many
const ColourMap& Levels();    // of one curve after the other

}  // namespace colours
}  // namespace amisim
