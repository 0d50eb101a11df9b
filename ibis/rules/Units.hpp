#pragma once

#include <fmt/format.h>

#include <cmath>
#include <string>

namespace ibis {

/// "1.106 V": volts and ohms stand without a scale factor, as in data sheets.
inline std::string Volts(double value)
{
    return fmt::format("{:.4g} V", value);
}

inline std::string Ohms(double value)
{
    return fmt::format("{:.4g} ohm", value);
}

/// "26.3 mA", "1.2 uA", "25 A"
inline std::string Amperes(double value)
{
    const double size = std::abs(value);
    return size >= 1 || size == 0 ? fmt::format("{:.4g} A", value)
           : size >= 1e-3         ? fmt::format("{:.4g} mA", value * 1e3)
                                  : fmt::format("{:.3g} uA", value * 1e6);
}

/// "0.75 ns", "20 ps"
inline std::string Seconds(double value)
{
    return std::abs(value) >= 1e-10 || value == 0 ? fmt::format("{:.4g} ns", value * 1e9)
                                                  : fmt::format("{:.4g} ps", value * 1e12);
}

}  // namespace ibis
