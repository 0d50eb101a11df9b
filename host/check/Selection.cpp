#include "host/check/Selection.hpp"

#include <fmt/format.h>

#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

#include "base/Error.hpp"

namespace amisim {
namespace {

using Identity = std::tuple<int, std::string, std::string>;

/// A text without the line numbers that it names, which change with every line put in above.
std::string WithoutLines(const std::string& text)
{
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        constexpr std::string_view kLine = "line ";
        const bool named =
            at >= kLine.size() && text.compare(at - kLine.size(), kLine.size(), kLine) == 0;
        const std::size_t end =
            named ? std::min(text.find_first_not_of("0123456789", at), text.size()) : at;
        if (end > at) {
            at = end;
            continue;
        }
        result += text[at++];
    }
    return result;
}

Identity IdentityOf(int number, const std::string& file, const std::string& text)
{
    return {number, std::filesystem::path(file).filename().string(), WithoutLines(text)};
}

}  // namespace

void LeaveOut(const std::set<int>& off, std::vector<ibis::Finding>& findings)
{
    std::erase_if(findings,
                  [&](const ibis::Finding& finding) { return off.contains(finding.number); });
}

void LeaveOutKnown(const std::filesystem::path& baseline, std::vector<ibis::Finding>& findings)
{
    const auto fail = [&](const std::string& what) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: {}; expected what amisim check --json has written",
                                baseline.string(), what));
    };
    std::ifstream stream(baseline);
    if (!stream) fail("cannot be opened");
    const auto json = nlohmann::json::parse(stream, nullptr, false);
    if (!json.is_object() || !json.contains("findings") || !json["findings"].is_array())
        fail("has no list of findings");
    std::map<Identity, int> known;
    for (const auto& row : json["findings"]) {
        if (!row.is_object() || !row.value("number", nlohmann::json()).is_number_integer() ||
            !row.value("file", nlohmann::json()).is_string() ||
            !row.value("text", nlohmann::json()).is_string())
            fail("has a finding without number, file or text");
        ++known[IdentityOf(row["number"].get<int>(), row["file"].get<std::string>(),
                           row["text"].get<std::string>())];
    }
    std::erase_if(findings, [&](const ibis::Finding& finding) {
        const auto found = known.find(IdentityOf(finding.number, finding.file, finding.text));
        return found != known.end() && found->second-- > 0;
    });
}

}  // namespace amisim
