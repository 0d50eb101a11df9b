#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace amisim {

/// Defines `amisim completion`, which writes the shell's name to `shell`.
CLI::App* AddCompletionCommand(CLI::App& app, std::string& shell);

/// A script that completes subcommands and their long options, read from the definitions in `app`,
/// and file names everywhere else.
/// @param shell  "bash", "zsh" or "fish"
std::string CompletionScript(const CLI::App& app, const std::string& shell);

}  // namespace amisim
