#pragma once

#include <CLI/CLI.hpp>
#include <filesystem>

#include "base/Error.hpp"

namespace amisim {

struct CompareOptions
{
    std::filesystem::path a, b, html;
    bool json = false;
};

/// Defines `amisim compare`.
CLI::App* AddCompareCommand(CLI::App& app, CompareOptions& options);

/// Shows two results side by side: the settings that differ, and the results.
/// @throws Error (kInput) for what is no result of `amisim run`
ExitCode Compare(const CompareOptions& options);

}  // namespace amisim
