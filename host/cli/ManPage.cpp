#include "host/cli/ManPage.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "base/Files.hpp"
#include "host/cli/Definitions.hpp"
#include "host/cli/Terminal.hpp"

namespace amisim {
namespace {

constexpr const char* kFooter = R"(
Examples:
  amisim manual run | man -l -
  amisim manual --folder ~/.local/share/man/man1
)";

/// A line of text for roff: no dash is a hyphen, and none is taken for a request.
std::string Roff(const std::string& text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    const bool request = !escaped.empty() && (escaped[0] == '.' || escaped[0] == '\'');
    return (request ? "\\&" : "") + escaped;
}

std::string Upper(std::string text)
{
    std::ranges::transform(text, text.begin(), [](unsigned char c) { return std::toupper(c); });
    return text;
}

std::string Entry(const CLI::Option& option)
{
    const bool positional = option.get_lnames().empty() && option.get_snames().empty();
    std::string names;
    for (const auto& name : option.get_snames()) names += (names.empty() ? "-" : ", -") + name;
    for (const auto& name : option.get_lnames()) names += (names.empty() ? "--" : ", --") + name;
    const std::string value =
        option.get_items_expected_max() > 0 ? option.get_type_name() : std::string();
    std::string text = fmt::format(".TP\n.BR \"{}\"", Roff(positional ? option.get_name() : names));
    if (!value.empty() && !positional) text += fmt::format(" \" {}\"", Roff(value));
    text += "\n" + Roff(option.get_description());
    if (const std::string preset = DefaultOf(option); !preset.empty())
        text += fmt::format(" [{}]", Roff(preset));
    return text + "\n";
}

/// Positional arguments and options by their groups.
std::string Entries(const CLI::App& of)
{
    std::string text;
    std::vector<std::string> groups;
    for (const CLI::Option* option : ShownOptions(of)) {
        if (std::ranges::find(groups, option->get_group()) == groups.end())
            groups.push_back(option->get_group());
    }
    for (const std::string& group : groups) {
        text += fmt::format(".SS {}\n", Roff(group));
        for (const CLI::Option* option : ShownOptions(of)) {
            if (option->get_group() == group) text += Entry(*option);
        }
    }
    return text;
}

/// The footer's headings, "Examples:", become sections, and what is set in stays as it is.
std::string Footer(const std::string& footer)
{
    std::string text;
    bool verbatim = false;
    std::istringstream lines(footer);
    for (std::string line; std::getline(lines, line);) {
        const bool setIn = line.starts_with("  ");
        if (setIn != verbatim && !line.empty()) {
            text += setIn ? ".nf\n" : ".fi\n";
            verbatim = setIn;
        }
        if (!setIn && line.ends_with(':'))
            text += ".SH " + Upper(Roff(line.substr(0, line.size() - 1))) + "\n";
        else if (line.empty())
            text += text.empty() ? "" : verbatim ? "\n" : ".PP\n";
        else
            text += Roff(line) + "\n";
    }
    return text + (verbatim ? ".fi\n" : "");
}

std::string FileName(const CLI::App* sub)
{
    return sub ? fmt::format("amisim-{}.1", sub->get_name()) : "amisim.1";
}

}  // namespace

std::string ManPage(const CLI::App& app, const CLI::App* sub)
{
    const CLI::App& of = sub ? *sub : app;
    const std::string name = sub ? "amisim-" + sub->get_name() : "amisim";
    std::string synopsis = sub ? "amisim " + sub->get_name() : "amisim";
    for (const CLI::Option* option : ShownOptions(of)) {
        if (option->get_positional()) synopsis += " " + option->get_type_name();
    }
    std::string text = fmt::format(
        ".TH {} 1 \"\" \"amisim {}\" \"User Commands\"\n.SH NAME\n{} \\- {}\n.SH SYNOPSIS\n.B {}\n"
        ".RI [ options ]\n.SH OPTIONS\n{}",
        Upper(Roff(name)), AMISIM_VERSION, Roff(name), Roff(of.get_description()), Roff(synopsis),
        Entries(of));
    if (!sub) {
        text += ".SH COMMANDS\n";
        for (const CLI::App* each : Subcommands(app)) {
            text += fmt::format(".TP\n.BR amisim\\-{} (1)\n{}\n", Roff(each->get_name()),
                                Roff(each->get_description()));
        }
    }
    text += Footer(of.get_footer());
    return sub ? text + ".SH SEE ALSO\n.BR amisim (1)\n" : text;
}

CLI::App* AddManualCommand(CLI::App& app, ManualOptions& o)
{
    auto* manual = app.add_subcommand("manual", "Write the man page of a command, or all of them");
    manual->footer(kFooter);
    manual->add_option("command", o.command, "The command; without it amisim's own page")
        ->type_name("COMMAND");
    manual->add_option("--folder", o.folder, "Write all pages into this folder")->type_name("DIR");
    return manual;
}

ExitCode WriteManual(const CLI::App& app, const ManualOptions& o)
{
    std::vector<const CLI::App*> pages = {nullptr};
    std::ranges::copy(Subcommands(app), std::back_inserter(pages));
    if (!o.folder.empty()) {
        for (const CLI::App* sub : pages) WriteWhole(o.folder / FileName(sub), ManPage(app, sub));
        return ExitCode::kOk;
    }
    const auto named = [&](const CLI::App* sub) {
        return (sub ? sub->get_name() : std::string()) == o.command;
    };
    const auto page = std::ranges::find_if(pages, named);
    if (page == pages.end()) {
        throw Error(ExitCode::kUsage,
                    fmt::format("manual {}: there is no such command", o.command));
    }
    Print("{}", ManPage(app, *page));
    return ExitCode::kOk;
}

}  // namespace amisim
