#pragma once

#include <fmt/format.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

#include "base/Names.hpp"
#include "base/Printable.hpp"

namespace base {

/// What the system says of an error number. Unlike strerror it may be called from any thread.
inline std::string SystemText(int number)
{
    return std::generic_category().message(number);
}

/// What amisim's exit code tells a script. The texts of `amisim run --help` and
/// `amisim sweep --help` list the same numbers.
enum class ExitCode : int {
    kOk = 0,
    kInternal = 1,
    kUsage = 2,
    kInput = 3,
    kModelLoad = 4,
    kModelCrash = 5,
    kModelRefused = 6,
    kTimeLimit = 7,
    kInterrupted = 8,
    kCasesFailed = 9,  // of a sweep
    kWarnings = 10,    // found by a check, with --strict
    kMaskMissed = 10,  // by an eye or a curve that is there as a whole
    kCheckFailed = 11  // a model or a file does not keep what it must
};

/// An error that a user can act upon: one line that names the file, line or parameter and the
/// remedy.
class Error : public std::runtime_error
{
public:
    Error(ExitCode code, const std::string& text) : std::runtime_error(ErrorLine(text)), code_(code)
    {
    }
    /// A file that cannot be used: "file: what was expected".
    Error(const std::filesystem::path& file, const std::string& text,
          ExitCode code = ExitCode::kInput)
        : Error(code, fmt::format("{}: {}", file.string(), text))
    {
    }
    /// The same of one line of it: "file:line: what was expected".
    Error(const std::filesystem::path& file, int line, const std::string& text,
          ExitCode code = ExitCode::kInput)
        : Error(code, fmt::format("{}:{}: {}", file.string(), line, text))
    {
    }
    ExitCode Code() const { return code_; }

private:
    ExitCode code_;
};

}  // namespace base
