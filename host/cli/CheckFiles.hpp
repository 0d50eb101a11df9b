#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <string>
#include <vector>

#include "base/Error.hpp"

namespace amisim {

/// What `amisim check FILE...` is asked for.
struct FileCheckOptions
{
    std::vector<std::filesystem::path> files;
    bool json = false, sarif = false, github = false;
    bool strict = false;
    std::vector<int> off;            // numbers of rules
    std::filesystem::path baseline;  // empty: none
    std::filesystem::path html;      // empty: none
    std::string explain;             // a rule's number, "all" or "grammar"; empty: nothing
};

void AddFileCheckOptions(CLI::App& check, FileCheckOptions& options);

/// Reads and checks the files with all that they name, and prints what is found.
/// @return kOk, kWarnings with --strict, kCheckFailed for errors, kInput for a file that cannot be
/// read
ExitCode CheckFiles(const FileCheckOptions& options);

/// Prints a rule, all rules or the grammar. @throws Error (kUsage) for a number that no rule has
void Explain(const std::string& what);

}  // namespace amisim
