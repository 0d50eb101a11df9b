#pragma once

#include <fmt/format.h>

#include <cmath>
#include <cstdint>
#include <string>

#include "base/Names.hpp"

namespace base {

/// A whole number of at least 0 in groups of three digits: "10,000".
inline std::string Grouped(std::int64_t value)
{
    const std::string digits = std::to_string(value);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}

/// A ratio such as a bit error ratio: "0.25", "1e-12"; "1e-3" rather than "0.001" or "1e-03".
inline std::string ShortRatio(double value)
{
    if (value >= 0.01 || value <= 0) return fmt::format("{:g}", value);
    const int exponent = static_cast<int>(std::floor(std::log10(value) + 1e-9));
    return fmt::format("{:.3g}e{}", value / std::pow(10, exponent), exponent);
}

}  // namespace base
