#include "base/Base64.hpp"

namespace base {

std::string Base64(std::span<const std::uint8_t> bytes)
{
    constexpr std::string_view kDigits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t three = 0;
        for (std::size_t k = 0; k < 3; ++k)
            three = three << 8 | (i + k < bytes.size() ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k > bytes.size() ? '=' : kDigits[three >> (18 - 6 * k) & 63];
    }
    return text;
}

std::string Base64(std::string_view bytes)
{
    return Base64(std::span(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()));
}

}  // namespace base
