#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>
#include <vector>

#include "base/Error.hpp"

namespace amisim {

struct CompareOptions
{
    std::vector<std::filesystem::path> results;
    std::filesystem::path html, picture;
    bool json = false;
};

/// Defines `amisim compare`.
CLI::App* AddCompareCommand(CLI::App& app, CompareOptions& options);

/// Shows results side by side: the settings that differ, and what was found.
/// @throws Error (kInput) for what is no result of `amisim run`
ExitCode Compare(const CompareOptions& options);

}  // namespace amisim
