#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>

#include "base/Error.hpp"

namespace amisim {

struct ManualOptions
{
    std::string command;           // "": the program's own page
    std::filesystem::path folder;  // for all pages; "": one goes to standard output
};

/// Defines `amisim manual`.
CLI::App* AddManualCommand(CLI::App& app, ManualOptions& options);

/// Prints a man page, or writes all of them.
/// @throws Error (kUsage) for a command that does not exist, (kInput) for a folder that cannot be
/// written
ExitCode WriteManual(const CLI::App& app, const ManualOptions& options);

/// A man page made from the same definitions as the help.
/// @param sub  null: the page of the program itself
std::string ManPage(const CLI::App& app, const CLI::App* sub);

}  // namespace amisim
