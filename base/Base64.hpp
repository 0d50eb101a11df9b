#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/Names.hpp"

namespace base {

/// The bytes in Base64 (RFC 4648, clause 4).
std::string Base64(std::span<const std::uint8_t> bytes);
std::string Base64(std::string_view bytes);

}  // namespace base
