#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace amisim {

/// The subcommands of `app` with their options as JSON, for programs that offer them in another
/// way: {"run": {"text", "options": [{"name", "text", "unit", "group", "default", "takes"}]}}.
/// "takes" is "flag" for an option without a value, "list" for one that may be repeated, "values"
/// for one that takes them with commas between, and "value". Positional ones have no dashes in
/// front of their name.
std::string DescribeCommands(const CLI::App& app);

}  // namespace amisim
