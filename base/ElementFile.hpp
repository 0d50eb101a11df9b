#pragma once

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <filesystem>
#include <string>

namespace base {

/// A file and the element of a cascade that it is about, from 1; 0 where none is told.
struct ElementFile
{
    std::filesystem::path file;
    std::size_t element = 0;
};

/// From "x.s4p", or with an element "x.s4p@2". What has no extension before the sign, or no number
/// above 0 behind it, is a file's name as it stands.
inline ElementFile ElementFileOf(const std::filesystem::path& told)
{
    const std::string text = told.string();
    const std::size_t at = std::min(text.rfind('@'), text.size());
    const std::filesystem::path file = text.substr(0, at);
    const char* const end = text.data() + text.size();
    std::size_t element = 0;
    const auto [after, error] = std::from_chars(std::min(text.data() + at + 1, end), end, element);
    if (error != std::errc{} || after != end || element == 0 || !file.has_extension())
        return {told, 0};
    return {file, element};
}

}  // namespace base
