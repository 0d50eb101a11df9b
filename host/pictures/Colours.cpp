#include "host/pictures/Colours.hpp"

#include <algorithm>
#include <cmath>

namespace amisim {
namespace {

double ToLinear(double v)
{
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}
double FromLinear(double v)
{
    return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

Colour ToLab(const Colour& c)
{
    const double r = ToLinear(c[0]), g = ToLinear(c[1]), b = ToLinear(c[2]);
    const double l = std::cbrt(0.4122214708 * r + 0.5363325363 * g + 0.0514459929 * b);
    const double m = std::cbrt(0.2119034982 * r + 0.6806995451 * g + 0.1073969566 * b);
    const double s = std::cbrt(0.0883024619 * r + 0.2817188376 * g + 0.6299787005 * b);
    return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
            1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
            0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

Colour FromLab(const Colour& c)
{
    const auto cube = [](double v) { return v * v * v; };
    const double l = cube(c[0] + 0.3963377774 * c[1] + 0.2158037573 * c[2]);
    const double m = cube(c[0] - 0.1055613458 * c[1] - 0.0638541728 * c[2]);
    const double s = cube(c[0] - 0.0894841775 * c[1] - 1.2914855480 * c[2]);
    const auto channel = [](double v) {
        return std::clamp(FromLinear(std::max(v, 0.0)), 0.0, 1.0);
    };
    return {channel(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
            channel(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
            channel(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

}  // namespace

ColourMap::ColourMap(const std::vector<Colour>& stops)
{
    for (const Colour& stop : stops) lab_.push_back(ToLab(stop));
}

Colour ColourMap::At(double x) const
{
    const double place = std::clamp(x, 0.0, 1.0) * static_cast<double>(lab_.size() - 1);
    const std::size_t i = std::min(static_cast<std::size_t>(place), lab_.size() - 2);
    const double part = place - static_cast<double>(i);
    Colour mixed{};
    for (std::size_t k = 0; k < 3; ++k)
        mixed[k] = lab_[i][k] + (lab_[i + 1][k] - lab_[i][k]) * part;
    return FromLab(mixed);
}

namespace colours {

const ColourMap& EyeDensities()
{
    static const ColourMap map(
        {Rgb(0x090a1a), Rgb(0x301a6b), Rgb(0x851f80), Rgb(0xdb4d57), Rgb(0xfa9e45), Rgb(0xfcf7b8)});
    return map;
}

const ColourMap& Openings()
{
    static const ColourMap map(
        {Rgb(0x2b1f5c), Rgb(0x29578c), Rgb(0x1f8c8f), Rgb(0x6bc273), Rgb(0xfae873)});
    return map;
}

const ColourMap& Errors()
{
    static const ColourMap map({Rgb(0xe0ebe6), Rgb(0xfacc80), Rgb(0xe06640), Rgb(0x800f2e)});
    return map;
}

const ColourMap& Levels()
{
    static const ColourMap map({Rgb(0x293885), Rgb(0x1a8c99), Rgb(0xed8c21)});
    return map;
}

}  // namespace colours
}  // namespace amisim
