#include "host/pictures/Png.hpp"

#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace amisim {
namespace {

constexpr std::size_t kMostColours = 256;
constexpr int kApart = 20;  // farther from each other, colours are kept however rare they are
constexpr int kLevel = 3;   // of compression: a level more costs half as much again for a twentieth

/// Neighbouring colours: those with the same five leading bits of red, green and blue.
struct Bin
{
    std::uint32_t count = 0, colour = 0, votes = 0;  // a colour that most of them have, if any has
    std::uint8_t entry = 0;                          // of the palette, that stands for them

    void Add(std::uint32_t pixel, std::uint32_t times)  // Boyer and Moore's vote
    {
        count += times;
        if (pixel == colour) {
            votes += times;
        } else if (votes >= times) {
            votes -= times;
        } else {
            colour = pixel;
            votes = times - votes;
        }
    }
};

/// Hands on each colour and how often it comes in a row: most of a picture is of one colour.
template <typename Take>
void ForRuns(std::span<const std::uint32_t> pixels, Take take)
{
    constexpr std::size_t kAtOnce = 8;
    for (std::size_t begin = 0, end = 0; begin < pixels.size(); begin = end) {
        const std::uint32_t first = pixels[begin] & 0xffffff;
        const auto differs = [&](std::size_t i) { return (pixels[i] & 0xffffff) ^ first; };
        ++end;
        if (end < pixels.size() && differs(end) == 0) {
            for (std::uint32_t any = 0; end + kAtOnce <= pixels.size(); end += kAtOnce) {
                for (std::size_t i = 0; i < kAtOnce; ++i) any |= differs(end + i);
                if (any != 0) break;
            }
            while (end < pixels.size() && differs(end) == 0) ++end;
        }
        take(first, end - begin);
    }
}

std::size_t BinOf(std::uint32_t c)
{
    return (c >> 9 & 0x7c00) | (c >> 6 & 0x3e0) | (c >> 3 & 0x1f);
}

int SquaredDistance(std::uint32_t a, std::uint32_t b)
{
    int sum = 0;
    for (const int shift : {0, 8, 16}) {
        const int d = static_cast<int>(a >> shift & 255) - static_cast<int>(b >> shift & 255);
        sum += d * d;
    }
    return sum;
}

std::vector<std::uint32_t> MakePalette(const std::vector<Bin*>& frequentFirst)
{
    std::vector<std::uint32_t> palette;
    const auto isFar = [&](std::uint32_t colour, int distance) {
        return std::ranges::all_of(palette, [=](std::uint32_t other) {
            return SquaredDistance(colour, other) > distance * distance;
        });
    };
    for (const int distance : {kApart, 0}) {
        for (const Bin* bin : frequentFirst) {
            if (palette.size() < kMostColours && isFar(bin->colour, distance))
                palette.push_back(bin->colour);
        }
    }
    return palette;
}

std::string BigEndian(std::size_t value)
{
    std::string bytes;
    for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift);
    return bytes;
}

std::string Chunk(const std::string& kind, const std::string& data)
{
    const std::string body = kind + data;
    const auto sum = crc32_z(0, reinterpret_cast<const Bytef*>(body.data()), body.size());
    return BigEndian(data.size()) + body + BigEndian(sum);
}

std::string Packed(const std::string& rows)
{
    std::string packed(compressBound(rows.size()), '\0');
    uLongf size = packed.size();
    compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
              reinterpret_cast<const Bytef*>(rows.data()), rows.size(), kLevel);
    packed.resize(size);
    return packed;
}

}  // namespace

std::string Png(std::span<const std::uint32_t> pixels, std::size_t width, double pixelsPerInch)
{
    std::vector<Bin> bins(1 << 15);
    ForRuns(pixels, [&](std::uint32_t pixel, std::size_t times) {
        bins[BinOf(pixel)].Add(pixel, static_cast<std::uint32_t>(times));
    });
    std::vector<Bin*> used;
    for (Bin& bin : bins) {
        if (bin.count > 0) used.push_back(&bin);
    }
    std::ranges::stable_sort(used, std::greater{}, &Bin::count);
    const auto palette = MakePalette(used);
    for (Bin* bin : used) {
        const auto nearest = std::ranges::min_element(palette, {}, [=](std::uint32_t colour) {
            return SquaredDistance(colour, bin->colour);
        });
        bin->entry = static_cast<std::uint8_t>(nearest - palette.begin());
    }
    std::string colours, rows;
    for (const std::uint32_t colour : palette) colours += BigEndian(colour).substr(1);
    rows.reserve(pixels.size() + pixels.size() / width);
    for (std::size_t i = 0; i < pixels.size(); i += width) {
        rows += '\0';  // no filter
        ForRuns(pixels.subspan(i, width), [&](std::uint32_t pixel, std::size_t times) {
            rows.append(times, static_cast<char>(bins[BinOf(pixel)].entry));
        });
    }
    // ISO/IEC 15948: eight bits a pixel, with a palette.
    const auto perMetre = BigEndian(static_cast<std::size_t>(std::lround(pixelsPerInch / 0.0254)));
    return std::string("\x89PNG\r\n\x1a\n", 8) +
           Chunk("IHDR", BigEndian(width) + BigEndian(pixels.size() / width) +
                             std::string("\x08\x03\x00\x00\x00", 5)) +
           Chunk("pHYs", perMetre + perMetre + '\x01') + Chunk("PLTE", colours) +
           Chunk("IDAT", Packed(rows)) + Chunk("IEND", "");
}

}  // namespace amisim
