#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <string>

#include "base/Printable.hpp"

namespace ibis {

/// A file that cannot be used, or a setting that a file does not allow. what() is one line for the
/// user: "file:line: what was expected", or without the line where none is to blame.
class FileError : public std::runtime_error
{
public:
    explicit FileError(const std::string& message) : std::runtime_error(base::ErrorLine(message)) {}

    FileError(const std::filesystem::path& file, int line, const std::string& message)
        : FileError(fmt::format("{}:{}: {}", file.string(), line, message))
    {
    }

    FileError(const std::filesystem::path& file, const std::string& message)
        : FileError(fmt::format("{}: {}", file.string(), message))
    {
    }
};

}  // namespace ibis
