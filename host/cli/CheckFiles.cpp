#include "host/cli/CheckFiles.hpp"

#include <fmt/format.h>

#include <charconv>
#include <nlohmann/json.hpp>

#include "base/Files.hpp"
#include "host/check/CheckPage.hpp"
#include "host/check/FileCheck.hpp"
#include "host/check/FindingTexts.hpp"
#include "host/check/RulePages.hpp"
#include "host/check/Selection.hpp"
#include "host/cli/Terminal.hpp"
#include "host/pages/Html.hpp"
#include "ibis/findings/RuleTable.hpp"

namespace amisim {
namespace {

void PrintJson(const nlohmann::ordered_json& json)
{
    using Json = nlohmann::ordered_json;
    Print("{}\n", json.dump(2, ' ', false, Json::error_handler_t::replace));
}

ExitCode CodeFor(const CheckedFiles& checked, const FindingCounts& counts, bool strict)
{
    if (checked.unreadable) return ExitCode::kInput;
    if (counts.errors > 0) return ExitCode::kCheckFailed;
    return strict && counts.warnings > 0 ? ExitCode::kWarnings : ExitCode::kOk;
}

}  // namespace

void AddFileCheckOptions(CLI::App& check, FileCheckOptions& o)
{
    check.add_option("files", o.files, "Files to check: .ibs, .pkg, .ebd, .ims, .emd, .ami, .so")
        ->type_name("FILE");
    auto* sarif = check.add_flag("--sarif", o.sarif, "As SARIF 2.1.0, for code review tools");
    auto* github = check.add_flag("--github", o.github, "As workflow commands that mark lines");
    sarif->excludes(github);
    check.add_flag("--strict", o.strict, "Exit code 10 where there are warnings");
    check.add_option("--off", o.off, "Numbers of rules to leave out, with commas between them")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("N");
    check
        .add_option("--baseline", o.baseline,
                    "Leave out what this file, written by --json, holds already")
        ->type_name("FILE");
    check
        .add_option(
            "--html", o.html,
            "Write a page too: the findings, and each model's tables as plots, marked where "
            "something was found")
        ->type_name("FILE");
    check
        .add_option("--explain", o.explain,
                    "Explain a rule by its number; all of them (all); or the grammar (grammar)")
        ->type_name("N|all|grammar");
}

void Explain(const std::string& what)
{
    if (what == "all" || what == "grammar") {
        Print("{}", what == "all" ? RulesPage() : GrammarPage());
        return;
    }
    const std::size_t start = what.starts_with("IB") ? 2 : 0;
    int number = 0;
    const auto [end, error] =
        std::from_chars(what.data() + start, what.data() + what.size(), number);
    const ibis::Rule* const rule =
        error == std::errc() && end == what.data() + what.size() ? ibis::FindRule(number) : nullptr;
    if (!rule) {
        throw Error(
            ExitCode::kUsage,
            fmt::format("--explain {}: expected the number of a rule, all or grammar", what));
    }
    Print("{}", Explained(*rule));
}

ExitCode CheckFiles(const FileCheckOptions& options)
{
    const bool page = !options.html.empty();
    if (page) html::RequireOwnPage(options.html, CheckPageTitle());
    CheckedFiles checked = CheckFilesAndCompanions(options.files, page);
    LeaveOut({options.off.begin(), options.off.end()}, checked.findings);
    if (!options.baseline.empty()) LeaveOutKnown(options.baseline, checked.findings);
    const FindingCounts counts(checked.findings);
    if (page) WriteWhole(options.html, CheckPage(checked.findings, checked.files));
    if (options.json) {
        PrintJson(FindingsAsJson(checked.findings));
    } else if (options.sarif) {
        PrintJson(FindingsAsSarif(checked.findings));
    } else if (options.github) {
        Print("{}", FindingsAsWorkflowCommands(checked.findings));
    } else {
        PrintPrepared(FindingLines(checked.findings, ColoursWanted()));
    }
    return CodeFor(checked, counts, options.strict);
}

}  // namespace amisim
