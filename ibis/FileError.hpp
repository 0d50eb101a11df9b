#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace ibis {

/// A file that cannot be used, or a setting that a file does not allow. what() is one line for the
/// user: "file:line: what was expected", or without the line where none is to blame.
class FileError : public std::runtime_error
{
public:
    explicit FileError(std::string message) : std::runtime_error(OneLine(std::move(message))) {}

    FileError(const std::filesystem::path& file, int line, const std::string& message)
        : FileError(fmt::format("{}:{}: {}", file.string(), line, message))
    {
    }

    FileError(const std::filesystem::path& file, const std::string& message)
        : FileError(fmt::format("{}: {}", file.string(), message))
    {
    }

private:
    /// Messages quote what they found; a control character in that must not tear the line apart.
    static std::string OneLine(std::string text)
    {
        for (char& c : text) {
            c = c >= 0 && c < ' ' ? ' ' : c;
        }
        return text;
    }
};

}  // namespace ibis
