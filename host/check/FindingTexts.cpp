#include "host/check/FindingTexts.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "base/Printable.hpp"
#include "ibis/findings/RuleTable.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;
using ibis::Finding;
using ibis::Severity;

std::string RuleName(int number)
{
    return fmt::format("IB{}", number);
}

std::string Plural(int count, const char* what)
{
    return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

const char* ColourOf(Severity severity)
{
    switch (severity) {
        case Severity::Error:
            return "\x1b[1;31m";
        case Severity::Warning:
            return "\x1b[1;33m";
        case Severity::Note:
            break;
    }
    return "\x1b[1;36m";
}

/// The line with its place in bold and its severity in colour. What it quotes is made printable
/// first.
std::string Coloured(const Finding& finding)
{
    std::string line = base::Printable(finding.Line());
    const std::string word =
        fmt::format(": {} {}: ", Name(finding.severity), RuleName(finding.number));
    const std::size_t at = line.find(word);
    if (at == line.npos) return line;
    return fmt::format("\x1b[1m{}:\x1b[0m {}{}\x1b[0m {}: {}", line.substr(0, at),
                       ColourOf(finding.severity), Name(finding.severity), RuleName(finding.number),
                       line.substr(at + word.size()));
}

Json SarifRule(const ibis::Rule& rule)
{
    return {{"id", RuleName(rule.number)},
            {"shortDescription", {{"text", std::string(rule.title) + "."}}},
            {"fullDescription", {{"text", std::string(rule.why)}}},
            {"defaultConfiguration", {{"level", Name(rule.severity)}}}};
}

Json SarifResult(const Finding& finding)
{
    Json location = {{"artifactLocation", {{"uri", finding.file}}}};
    if (finding.place) {
        location["region"] = {{"startLine", finding.place.line},
                              {"startColumn", std::max(1, finding.place.column)}};
    }
    return {{"ruleId", RuleName(finding.number)},
            {"level", Name(finding.severity)},
            {"message", {{"text", finding.Message()}}},
            {"locations", Json::array({{{"physicalLocation", location}}})}};
}

std::string Escaped(std::string_view text, std::string_view special)
{
    std::string result;
    for (const char c : text) {
        if (special.find(c) == special.npos)
            result += c;
        else
            result += fmt::format("%{:02X}", static_cast<unsigned char>(c));
    }
    return result;
}

}  // namespace

FindingCounts::FindingCounts(const std::vector<Finding>& findings)
{
    for (const Finding& finding : findings) {
        ++(finding.severity == Severity::Error     ? errors
           : finding.severity == Severity::Warning ? warnings
                                                   : notes);
    }
}

std::string FindingCounts::Text() const
{
    return fmt::format("{}, {}, {}", Plural(errors, "error"), Plural(warnings, "warning"),
                       Plural(notes, "note"));
}

std::string FindingLines(const std::vector<Finding>& findings, bool colours)
{
    std::string text;
    for (const Finding& finding : findings) {
        text += (colours ? Coloured(finding) : base::Printable(finding.Line())) + "\n";
    }
    return text + FindingCounts(findings).Text() + "\n";
}

Json FindingsAsJson(const std::vector<Finding>& findings)
{
    Json rows = Json::array();
    for (const Finding& finding : findings) {
        rows.push_back({{"number", finding.number},
                        {"severity", Name(finding.severity)},
                        {"file", finding.file},
                        {"line", finding.place.line},
                        {"column", finding.place.line > 0 ? std::max(1, finding.place.column) : 0},
                        {"text", finding.text},
                        {"remedy", finding.remedy}});
    }
    const FindingCounts counts(findings);
    return {{"findings", rows},
            {"counts",
             {{"error", counts.errors}, {"warning", counts.warnings}, {"note", counts.notes}}}};
}

Json FindingsAsSarif(const std::vector<Finding>& findings)
{
    std::set<int> numbers;
    Json results = Json::array(), rules = Json::array();
    for (const Finding& finding : findings) {
        numbers.insert(finding.number);
        results.push_back(SarifResult(finding));
    }
    for (const int number : numbers) {
        if (const ibis::Rule* rule = ibis::FindRule(number)) rules.push_back(SarifRule(*rule));
    }
    const Json driver = {{"name", "amisim"}, {"version", AMISIM_VERSION}, {"rules", rules}};
    return {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
            {"version", "2.1.0"},
            {"runs", Json::array({{{"tool", {{"driver", driver}}}, {"results", results}}})}};
}

std::string FindingsAsWorkflowCommands(const std::vector<Finding>& findings)
{
    std::string text;
    for (const Finding& finding : findings) {
        const char* const command =
            finding.severity == Severity::Note ? "notice" : Name(finding.severity);
        text += fmt::format("::{} file={}", command, Escaped(finding.file, "%\r\n:,"));
        if (finding.place)
            text += fmt::format(",line={},col={}", finding.place.line,
                                std::max(1, finding.place.column));
        text += fmt::format(",title={}::{}\n", RuleName(finding.number),
                            Escaped(finding.Message(), "%\r\n"));
    }
    return text;
}

}  // namespace amisim
