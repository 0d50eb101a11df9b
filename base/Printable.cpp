#include "base/Printable.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace base {
namespace {

constexpr std::size_t kLongestError = 600;

constexpr bool Continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

/// The bytes of the UTF-8 character that the text begins with, 0 if it begins with none, and its
/// number.
std::size_t Decode(std::string_view text, std::uint32_t& number)
{
    const auto first = static_cast<unsigned char>(text[0]);
    const std::size_t length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if ((first >= 0x80 && first < 0xc2) || first > 0xf4 || text.size() < length) return 0;
    number = length == 1 ? first : first & (0x7fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!Continues(text[i])) return 0;
        number = number << 6 | (static_cast<unsigned char>(text[i]) & 0x3f);
    }
    constexpr std::uint32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = number >= 0xd800 && number < 0xe000;
    return number < kLeast[length] || number > 0x10ffff || surrogate ? 0 : length;
}

/// Whether a terminal would obey rather than show it.
bool IsControl(std::uint32_t c)
{
    const bool turnsDirection = (c >= 0x202a && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
    return (c < 0x20 && c != '\n' && c != '\t') || (c >= 0x7f && c < 0xa0) || turnsDirection;
}

}  // namespace

std::string Printable(std::string_view text)
{
    std::string shown;
    shown.reserve(text.size());
    while (!text.empty()) {
        std::uint32_t number = 0;
        const std::size_t length = Decode(text, number);
        if (length == 0) {
            shown += "\xef\xbf\xbd";
        } else if (!IsControl(number)) {
            shown += text.substr(0, length);
        } else if (!text.starts_with("\r\n")) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", number & 0xffff);
            shown += escape;
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return shown;
}

std::string Shortened(std::string_view text, std::size_t most)
{
    constexpr std::string_view kEllipsis = " ... ";
    if (text.size() <= most) return std::string(text);
    std::size_t head = (most - kEllipsis.size()) * 2 / 3;
    std::size_t tail = text.size() - (most - kEllipsis.size() - head);
    while (head > 0 && Continues(text[head])) --head;
    while (tail < text.size() && Continues(text[tail])) ++tail;
    return std::string(text.substr(0, head)).append(kEllipsis).append(text.substr(tail));
}

std::string ErrorLine(std::string_view text)
{
    std::string line = Shortened(text, kLongestError);
    for (char& c : line) {
        if ((c >= 0 && c < ' ') || c == 0x7f) c = ' ';
    }
    return line;
}

}  // namespace base
