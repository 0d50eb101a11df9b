#include "host/cli/Completion.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/cli/Definitions.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  source <(amisim completion bash)             for this shell
  amisim completion bash > ~/.local/share/bash-completion/completions/amisim
  echo 'source <(amisim completion zsh)' >> ~/.zshrc
  amisim completion fish > ~/.config/fish/completions/amisim.fish
)";

std::string LongOptions(const CLI::App& app)
{
    std::string words;
    for (const CLI::Option* option : ShownOptions(app)) {
        for (const auto& name : option->get_lnames())
            words += (words.empty() ? "--" : " --") + name;
    }
    return words;
}

std::string Replaced(std::string_view text, char what, std::string_view by)
{
    std::string replaced;
    for (const char c : text) replaced += c == what ? by : std::string_view(&c, 1);
    return replaced;
}

/// As one word in single quotes, of zsh and fish.
std::string Quoted(std::string_view text)
{
    return fmt::format("'{}'", Replaced(text, '\'', "'\\''"));
}

/// "name:description", whose colons zsh takes for its own unless they are escaped.
std::string ZshWord(const std::string& name, std::string_view text)
{
    return Quoted(fmt::format("{}:{}", name, Replaced(text, ':', "\\:")));
}

std::string ZshOptions(const CLI::App& app)
{
    std::string words;
    for (const CLI::Option* option : ShownOptions(app)) {
        for (const auto& name : option->get_lnames())
            words +=
                fmt::format(" {}", ZshWord(fmt::format("--{}", name), option->get_description()));
    }
    return words;
}

std::string BashScript(const CLI::App& app)
{
    std::string commands, cases;
    for (const CLI::App* sub : Subcommands(app)) {
        commands += (commands.empty() ? "" : " ") + sub->get_name();
        cases += fmt::format("        {}) words='{}' ;;\n", sub->get_name(), LongOptions(*sub));
    }
    return fmt::format(R"(_amisim()
{{
    local current=${{COMP_WORDS[COMP_CWORD]}} command=${{COMP_WORDS[1]}} words
    case $command in
{}        *) words='{}' ;;
    esac
    COMPREPLY=()
    if [[ $COMP_CWORD -eq 1 && $current != -* ]]; then
        COMPREPLY=($(compgen -W '{}' -- "$current"))
    elif [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$words" -- "$current"))
    elif [[ $command == completion ]]; then
        COMPREPLY=($(compgen -W 'bash zsh fish' -- "$current"))
    fi
}}
complete -o default -F _amisim amisim
)",
                       cases, LongOptions(app), commands);
}

/// Good to be sourced, and in a folder of functions that zsh loads by their names.
std::string ZshScript(const CLI::App& app)
{
    std::string commands, cases;
    for (const CLI::App* sub : Subcommands(app)) {
        commands += fmt::format(" {}", ZshWord(sub->get_name(), sub->get_description()));
        cases += fmt::format("        {}) options=({}) ;;\n", sub->get_name(), ZshOptions(*sub));
    }
    return fmt::format(R"(#compdef amisim
_amisim()
{{
    local -a commands=({}) options
    case $words[2] in
{}        *) options=({}) ;;
    esac
    if [[ $PREFIX == -* ]]; then
        _describe option options
    elif (( CURRENT == 2 )); then
        _describe command commands
    elif [[ $words[2] == completion ]]; then
        compadd bash zsh fish
    else
        _files
    fi
}}
if [[ $funcstack[1] == _amisim ]]; then
    _amisim "$@"
else
    (( $+functions[compdef] )) || {{ autoload -Uz compinit && compinit }}
    compdef _amisim amisim
fi
)",
                       commands, cases, ZshOptions(app));
}

std::string FishScript(const CLI::App& app)
{
    std::string lines;
    const auto add = [&lines](const std::string& condition, const CLI::App& of) {
        for (const CLI::Option* option : ShownOptions(of)) {
            const bool value = option->get_items_expected_max() > 0;
            for (const auto& name : option->get_lnames()) {
                lines += fmt::format("complete -c amisim -n {} -l {}{} -d {}\n", Quoted(condition),
                                     name, value ? " -r" : "", Quoted(option->get_description()));
            }
        }
    };
    add("__fish_use_subcommand", app);
    for (const CLI::App* sub : Subcommands(app)) {
        lines += fmt::format("complete -c amisim -n '__fish_use_subcommand' -f -a {} -d {}\n",
                             sub->get_name(), Quoted(sub->get_description()));
        add(fmt::format("__fish_seen_subcommand_from {}", sub->get_name()), *sub);
    }
    return lines +
           "complete -c amisim -n '__fish_seen_subcommand_from completion' -f -a 'bash zsh fish'\n";
}

}  // namespace

CLI::App* AddCompletionCommand(CLI::App& app, std::string& shell)
{
    auto* completion = app.add_subcommand("completion", "Write a completion script for a shell");
    completion->footer(kFooter);
    completion->add_option("shell", shell, "bash, zsh or fish")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh", "fish"}).description(""))
        ->type_name("SHELL");
    return completion;
}

std::string CompletionScript(const CLI::App& app, const std::string& shell)
{
    if (shell == "zsh") return ZshScript(app);
    return shell == "fish" ? FishScript(app) : BashScript(app);
}

}  // namespace amisim
