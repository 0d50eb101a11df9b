#include "host/cli/Completion.hpp"

#include <fmt/format.h>

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  source <(amisim completion bash)             for this shell
  amisim completion bash > ~/.local/share/bash-completion/completions/amisim
  echo 'source <(amisim completion zsh)' >> ~/.zshrc
)";

std::string LongOptions(const CLI::App& app)
{
    std::string words;
    for (const CLI::Option* option : app.get_options()) {
        for (const auto& name : option->get_lnames())
            words += (words.empty() ? "--" : " --") + name;
    }
    return words;
}

}  // namespace

CLI::App* AddCompletionCommand(CLI::App& app, std::string& shell)
{
    auto* completion = app.add_subcommand("completion", "Write a completion script for a shell");
    completion->footer(kFooter);
    completion->add_option("shell", shell, "bash or zsh")
        ->required()
        ->check(CLI::IsMember({"bash", "zsh"}).description(""))
        ->type_name("SHELL");
    return completion;
}

std::string CompletionScript(const CLI::App& app, const std::string& shell)
{
    std::string commands, cases;
    // The list of the definitions themselves: the other overload takes none of them.
    for (const CLI::App* sub : app.get_subcommands([](const CLI::App*) { return true; })) {
        commands += (commands.empty() ? "" : " ") + sub->get_name();
        cases += fmt::format("        {}) words='{}' ;;\n", sub->get_name(), LongOptions(*sub));
    }
    // zsh reads bash's completions.
    return fmt::format(R"({}_amisim()
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
        COMPREPLY=($(compgen -W 'bash zsh' -- "$current"))
    fi
}}
complete -o default -F _amisim amisim
)",
                       shell == "zsh" ? "autoload -Uz compinit bashcompinit && compinit && "
                                        "bashcompinit\n"
                                      : "",
                       cases, LongOptions(app), commands);
}

}  // namespace amisim
