#pragma once

#include <fmt/format.h>

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "base/Names.hpp"

namespace base {

/// The header of NumPy's format 1.0 for an array of little-endian numbers, the last index running
/// fastest. It is 128 bytes long whatever the shape, so that it can be written anew once the number
/// of rows is known.
/// @param type   NumPy's name of the type, such as "<f8"
/// @param shape  at least two lengths
inline std::string NpyHeader(const std::string& type, const std::vector<std::int64_t>& shape)
{
    static_assert(std::endian::native == std::endian::little);
    std::string lengths;
    for (const std::int64_t length : shape)
        lengths += (lengths.empty() ? "" : ", ") + std::to_string(length);
    std::string text =
        fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': ({}), }}", type, lengths);
    text.resize(128 - 10 - 1, ' ');
    const std::array<char, 10> lead = {'\x93', 'N', 'U', 'M', 'P', 'Y', 1, 0, 118, 0};
    return std::string(lead.begin(), lead.end()) + text + "\n";
}

}  // namespace base
