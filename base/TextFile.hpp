#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.hpp"
#include "base/Names.hpp"

namespace base {

/// All bytes of a file. Throws Error if it cannot be read.
std::string ReadWholeFile(const std::filesystem::path& path);

/// The same of a text. Throws Error also if it holds zero bytes as no text does.
std::string ReadTextFile(const std::filesystem::path& path);

/// Blank-separated words of a line.
std::vector<std::string_view> Words(std::string_view line);

std::string_view Trimmed(std::string_view text);
std::string Lowercase(std::string_view text);

std::string Joined(const std::vector<std::string>& texts, std::string_view between);

}  // namespace base
