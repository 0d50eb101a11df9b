#pragma once

#define TOML_ENABLE_FORMATTERS 0
// The parser asserts what it then finds wrong with a clear message, such as a table's name that
// begins with a bracket: a file with a slip in it must not end the program.
#define TOML_ASSERT(condition) static_assert(true)
#include <toml++/toml.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "base/Names.hpp"

namespace base {

/// A file in TOML. Its names and texts are to be read with TomlText.
/// @throws Error: kInput for a file that cannot be read, kUsage with "file:line: what is wrong"
toml::table ReadTomlFile(const std::filesystem::path& path);

/// A name or a text of such a table as it stands in the file.
std::string TomlText(std::string_view parsed);

}  // namespace base
