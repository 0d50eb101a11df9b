#include "host/contract/Deviations.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>

#include "base/Error.hpp"
#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "host/contract/Check.hpp"

namespace amisim::contract {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, int line, const std::string& text)
{
    throw Error(ExitCode::kInput, fmt::format("{}:{}: {}", file.string(), line, text));
}

void RequireKnown(const std::filesystem::path& file, const Deviation& deviation)
{
    if (FindCheck(deviation.check)) return;
    std::vector<std::string> known;
    for (const Check& check : Checks()) known.emplace_back(check.name);
    const std::string nearest = NearestName(deviation.check, known);
    Fail(file, deviation.line,
         fmt::format("no check '{}'{}", deviation.check,
                     nearest.empty() ? "" : fmt::format(" (did you mean {}?)", nearest)));
}

}  // namespace

const Deviation* Deviations::Find(std::string_view check) const
{
    const auto found = std::ranges::find(list, check, &Deviation::check);
    return found == list.end() ? nullptr : &*found;
}

Deviations ReadDeviations(const std::filesystem::path& file)
{
    const std::string text = ReadTextFile(file);
    Deviations deviations{file, {}};
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const bool goesOn = line.starts_with(' ') || line.starts_with('\t');
        const std::string content(Trimmed(std::string_view(line).substr(0, line.find('#'))));
        if (content.empty()) continue;
        if (goesOn && !deviations.list.empty()) {
            deviations.list.back().reason += " " + content;
            continue;
        }
        const std::size_t colon = content.find(':');
        if (colon == content.npos || colon + 1 == content.size())
            Fail(file, number, "expected 'check: reason'");
        deviations.list.push_back(
            {content.substr(0, colon),
             std::string(Trimmed(std::string_view(content).substr(colon + 1))), number});
        RequireKnown(file, deviations.list.back());
    }
    return deviations;
}

}  // namespace amisim::contract
