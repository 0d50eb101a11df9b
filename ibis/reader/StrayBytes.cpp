#include "ibis/reader/StrayBytes.hpp"

#include <fmt/format.h>

namespace ibis {
namespace {

/// What editors and typesetters leave behind, in UTF-8 and in Latin-1.
struct KnownBytes
{
    std::string_view bytes, what, instead;
};
constexpr KnownBytes kKnownBytes[] = {
    {"\xEF\xBB\xBF", "a byte order mark", "save the file as plain ASCII"},
    {"\xC2\xB5", "a micro sign in UTF-8", "write u"},
    {"\xCE\xBC", "a Greek mu in UTF-8", "write u"},
    {"\xC2\xB0", "a degree sign in UTF-8", "write deg"},
    {"\xC2\xA0", "a no-break space in UTF-8", "write a blank"},
    {"\xC2\xB1", "a plus-minus sign in UTF-8", "write +/-"},
    {"\xC2\xA9", "a copyright sign in UTF-8", "write (C)"},
    {"\xC2\xAE", "a registered sign in UTF-8", "write (R)"},
    {"\xE2\x80\x93", "an en dash in UTF-8", "write -"},
    {"\xE2\x80\x94", "an em dash in UTF-8", "write -"},
    {"\xE2\x80\x98", "a quotation mark in UTF-8", "write '"},
    {"\xE2\x80\x99", "an apostrophe in UTF-8", "write '"},
    {"\xE2\x80\x9C", "a quotation mark in UTF-8", "write \""},
    {"\xE2\x80\x9D", "a quotation mark in UTF-8", "write \""},
    {"\xE2\x84\xA2", "a trademark sign in UTF-8", "write (TM)"},
    {"\xCE\xA9", "an omega in UTF-8", "write ohm"},
    {"\xE2\x84\xA6", "an ohm sign in UTF-8", "write ohm"},
    {"\xB5", "a micro sign in Latin-1", "write u"},
    {"\xB0", "a degree sign in Latin-1", "write deg"},
    {"\xA0", "a no-break space in Latin-1", "write a blank"},
    {"\xA9", "a copyright sign in Latin-1", "write (C)"},
    {"\x96", "an en dash of Windows", "write -"},
};

const KnownBytes* Known(std::string_view text)
{
    for (const KnownBytes& known : kKnownBytes) {
        if (text.starts_with(known.bytes)) {
            return &known;
        }
    }
    return nullptr;
}

std::string Hex(std::string_view bytes)
{
    std::string hex;
    for (const char c : bytes) {
        hex += fmt::format("{}0x{:02X}", hex.empty() ? "" : " ", static_cast<unsigned char>(c));
    }
    return hex;
}

}  // namespace

std::string_view StrayBytes(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text[0]);
    const size_t size = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 1;
    if (size > text.size()) {
        return text.substr(0, 1);
    }
    for (size_t i = 1; i < size; ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
            return text.substr(0, 1);
        }
    }
    return text.substr(0, size);
}

std::string NameOfStray(std::string_view bytes)
{
    const KnownBytes* known = Known(bytes);
    return fmt::format("{} ({})", known ? known->what : "a byte beyond ASCII", Hex(bytes));
}

std::string RemedyOfStray(std::string_view bytes)
{
    const KnownBytes* known = Known(bytes);
    return std::string(known ? known->instead : "write it in ASCII");
}

}  // namespace ibis
