#include "host/check/RulePages.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"

namespace amisim {
namespace {

using ibis::Rule;
using ibis::Versions;

std::string VersionsText(const Versions& versions)
{
    const bool fromStart = versions.first == ibis::kOldestVersion;
    const bool toEnd = versions.last == ibis::kNewestVersion;
    if (fromStart && toEnd) return "all";
    if (toEnd) return fmt::format("from {}", ibis::VersionName(versions.first));
    // "Before 4.0" ends in the last version that is older, whatever that is called.
    const auto known = ibis::KnownVersions();
    const auto* const end =
        std::upper_bound(known.data(), known.data() + known.size(), versions.last);
    const std::string last = ibis::VersionName(end == known.data() ? versions.last : *(end - 1));
    return fromStart ? fmt::format("to {}", last)
                     : fmt::format("{} to {}", ibis::VersionName(versions.first), last);
}

struct Subject
{
    int first;
    const char* title;
};
constexpr Subject kSubjects[] = {
    {100, "File and syntax"},
    {150, "Header"},
    {200, "Components"},
    {300, "Selectors and models"},
    {350, "What each model type needs and forbids"},
    {400, "I-V tables"},
    {450, "[Ramp]"},
    {500, "V-t tables"},
    {600, "[Model Spec], [Receiver Thresholds], submodels, schedules"},
    {650, "[External Model], [External Circuit], [Test Data], [Test Load]"},
    {700, "Package models"},
    {740, "Board descriptions"},
    {750, "Interconnect models and modules"},
    {800, "[Algorithmic Model]"},
    {820, ".ami: the tree"},
    {850, ".ami: parameters"},
    {900, ".ami: reserved parameters"},
};

/// A cell of a Markdown table.
std::string Cell(std::string_view text)
{
    std::string cell;
    for (const char c : text) {
        if (c == '|') cell += '\\';
        cell += c;
    }
    return cell;
}

std::string ParentsText(const ibis::Keyword& keyword)
{
    std::string text;
    for (const ibis::Key parent : keyword.parents) {
        if (parent == ibis::Key::None) continue;
        text += text.empty() ? "" : ", ";
        text += parent == ibis::Key::File ? "the file"
                                          : fmt::format("[{}]", ibis::KeywordOf(parent).name);
    }
    return text;
}

std::string SubParametersText(const ibis::Keyword& keyword)
{
    std::string text;
    for (const ibis::SubParameter& setting : keyword.settings) {
        text += fmt::format("{}{}", text.empty() ? "" : ", ", setting.name);
        if (setting.versions.first != ibis::kOldestVersion)
            text += fmt::format(" ({})", VersionsText(setting.versions));
    }
    return text;
}

}  // namespace

std::string Explained(const Rule& rule)
{
    return fmt::format("IB{} ({}, versions: {})\n  {}.\n  Why:     {}\n  Example: {}\n",
                       rule.number, Name(rule.severity), VersionsText(rule.versions), rule.title,
                       rule.why, rule.example);
}

std::string RulesPage()
{
    std::string page =
        "# Rules of `amisim check`\n\n"
        "Made by `amisim check --explain all`. A number stays with its rule for ever. The severity "
        "is the\n"
        "gravest that a rule reports: some warn above one limit and note above a lower one. "
        "Versions are those\n"
        "of [IBIS Ver], for `.ami` files of AMI_Version. [check.md](check.md) tells how to use all "
        "this.\n";
    auto subject = std::begin(kSubjects);
    for (const Rule* rule : ibis::AllRules()) {
        const auto* title = static_cast<const char*>(nullptr);
        for (; subject != std::end(kSubjects) && rule->number >= subject->first; ++subject)
            title = subject->title;
        if (title) {
            page += fmt::format(
                "\n## {}\n\n| No | severity | versions | rule | why | breaks it "
                "|\n|---|---|---|---|---|---|\n",
                title);
        }
        page += fmt::format("| {} | {} | {} | {} | {} | {} |\n", rule->number, Name(rule->severity),
                            VersionsText(rule->versions), Cell(rule->title), Cell(rule->why),
                            Cell(rule->example));
    }
    return page;
}

std::string GrammarPage()
{
    std::string page =
        "# Keywords of IBIS files\n\n"
        "Made by `amisim check --explain grammar` from the table that the reader works by.\n\n"
        "| keyword | stands in | versions | how often | sub-parameters |\n|---|---|---|---|---|\n";
    for (const ibis::Keyword& keyword : ibis::Grammar()) {
        if (keyword.key == ibis::Key::File) continue;
        page += fmt::format("| [{}] | {} | {} | {} | {} |\n", keyword.name, ParentsText(keyword),
                            VersionsText(keyword.versions), keyword.many ? "any number" : "once",
                            SubParametersText(keyword));
    }
    return page;
}

}  // namespace amisim
