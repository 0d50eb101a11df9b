#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace amisim {

/// The subcommands as they are defined; the other overload of get_subcommands has none of them.
inline std::vector<const CLI::App*> Subcommands(const CLI::App& app)
{
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// The options that are for users: those without a group are hidden.
inline std::vector<const CLI::Option*> ShownOptions(const CLI::App& app)
{
    return app.get_options([](const CLI::Option* option) { return !option->get_group().empty(); });
}

/// What an option is without being given, "" where that is nothing to show. CLI11 puts lists in
/// brackets.
inline std::string DefaultOf(const CLI::Option& option)
{
    const std::string text = option.get_default_str();
    const bool isList = text.starts_with('[') && text.ends_with(']');
    return isList ? text.substr(1, text.size() - 2) : text;
}

}  // namespace amisim
