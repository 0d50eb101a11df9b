#include "ibis/findings/Findings.hpp"

#include <algorithm>

#include "base/Printable.hpp"

namespace ibis {
namespace {

std::string Sentence(const std::string& text)
{
    return text.ends_with('?') || text.ends_with('.') ? text : text + ".";
}

}  // namespace

const char* Name(Severity severity)
{
    switch (severity) {
        case Severity::Error:
            return "error";
        case Severity::Warning:
            return "warning";
        case Severity::Note:
            break;
    }
    return "note";
}

std::string Finding::Message() const
{
    return remedy.empty() ? Sentence(text) : Sentence(text) + " Remedy: " + Sentence(remedy);
}

std::string Finding::Line() const
{
    std::string line = file;
    if (place) {
        line += fmt::format(":{}:{}", place.line, std::max(1, place.column));
    }
    line += fmt::format(": {} IB{}: {}", Name(severity), number, Message());
    return line;
}

void Findings::Add(const Rule& rule, Severity severity, Place place, std::string text,
                   std::string remedy)
{
    if (++ofRule_[rule.number] > kMostOfARule) {
        return;
    }
    last_[rule.number] = all_.size();
    all_.push_back(
        {rule.number, severity, file_, place, base::ErrorLine(text), base::ErrorLine(remedy)});
}

void Findings::Count(const Rule& rule, Severity severity, std::string_view key, Place place,
                     std::string text, std::string remedy)
{
    const auto [repeats, first] = repeats_.try_emplace({rule.number, std::string(key)});
    if (first) {
        repeats->second.index = all_.size();
        Add(rule, severity, place, std::move(text), std::move(remedy));
        return;
    }
    ++repeats->second.more;
    repeats->second.lastLine = place.line;
}

std::vector<Finding> Findings::Take()
{
    for (const auto& [key, repeats] : repeats_) {
        // Beyond the most of its rule the first was not kept either.
        if (repeats.more > 0 && repeats.index < all_.size() &&
            all_[repeats.index].number == key.first) {
            all_[repeats.index].text +=
                fmt::format(" (and {} more, to line {})", repeats.more, repeats.lastLine);
        }
    }
    for (const auto& [number, count] : ofRule_) {
        if (count > kMostOfARule) {
            all_[last_.at(number)].text +=
                fmt::format(" (this rule speaks {} more times)", count - kMostOfARule);
        }
    }
    std::stable_sort(all_.begin(), all_.end(), [](const Finding& a, const Finding& b) {
        return a.place.line < b.place.line;
    });
    repeats_.clear();
    ofRule_.clear();
    return std::move(all_);
}

}  // namespace ibis
