#include "ibis/reader/Lines.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/reader/StrayBytes.hpp"
#include "ibis/reader/SyntaxRules.hpp"

namespace ibis {
namespace {

/// Printable ASCII alone; a loop without exits, which compilers turn into a few wide instructions.
bool IsPlain(std::string_view line)
{
    unsigned odd = 0;
    for (const char c : line) {
        odd |= static_cast<unsigned char>(static_cast<unsigned char>(c) - ' ') >= 0x7F - ' ';
    }
    return odd == 0;
}

bool IsBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r') || c == '\x1A';
}

std::string_view WithoutBlanks(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && IsBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

std::string Times(int count)
{
    return count == 1 ? "once" : fmt::format("{} times", count);
}

}  // namespace

Lines::Lines(std::string_view text) : rest_(text) {}

bool Lines::Next()
{
    if (rest_.empty()) {
        return false;
    }
    ++number_;
    whole_ = Cut();
    Look();
    const size_t comment = whole_.find(comment_);
    text_ = WithoutBlanks(whole_.substr(0, comment));
    if (number_ == 1 && text_.starts_with("\xEF\xBB\xBF")) {
        text_ = WithoutBlanks(text_.substr(3));
    }
    if (comment_ != '|' && comment != whole_.npos && comment > 0 && !IsBlank(whole_[comment - 1]) &&
        whole_[comment - 1] != comment_) {
        commentInWord_.Add(PlaceOf(whole_.substr(comment)));
    }
    return true;
}

/// Takes a line off the rest; a line may end in LF, CRLF or CR.
std::string_view Lines::Cut()
{
    const size_t lineFeed = rest_.find('\n');
    std::string_view line = rest_.substr(0, lineFeed);
    const bool crlf = lineFeed != rest_.npos && line.ends_with('\r');
    line.remove_suffix(crlf ? 1 : 0);
    if (!IsPlain(line)) {
        if (const size_t lone = line.find('\r'); lone != line.npos) {
            loneReturns_.Add({number_, static_cast<int>(lone) + 1});
            rest_.remove_prefix(lone + 1);
            return line.substr(0, lone);
        }
    }
    cutOff_ = lineFeed == rest_.npos;
    if (!cutOff_) {
        (crlf ? carriageReturns_ : lineFeeds_).Add({number_, 0});
    }
    rest_.remove_prefix(cutOff_ ? rest_.size() : lineFeed + 1);
    return line;
}

void Lines::Look()
{
    if (whole_.size() > 80) {
        over80_.Add({number_, 81});
        over80_.longest = std::max(over80_.longest, whole_.size());
        if (whole_.size() > 120) {
            over120_.Add({number_, 121});
            over120_.longest = std::max(over120_.longest, whole_.size());
        }
    }
    if (IsPlain(whole_)) {
        return;
    }
    const auto first = [&](auto is) {
        const auto found = std::find_if(whole_.begin(), whole_.end(), is);
        return PlaceOf(whole_.substr(static_cast<size_t>(found - whole_.begin())));
    };
    const auto isTab = [](char c) { return c == '\t'; };
    const auto isControl = [](char c) { return (c >= 0 && c < ' ' && c != '\t') || c == 0x7F; };
    if (std::any_of(whole_.begin(), whole_.end(), isTab)) {
        tabs_.Add(first(isTab));
    }
    if (std::any_of(whole_.begin(), whole_.end(), isControl)) {
        controls_.Add(first(isControl));
    }
    LookAtOtherBytes();
}

void Lines::LookAtOtherBytes()
{
    constexpr size_t kMostKinds = 10;
    for (size_t at = 0; at < whole_.size();) {
        const std::string_view here = whole_.substr(at);
        if (static_cast<unsigned char>(here[0]) < 0x80) {
            ++at;
            continue;
        }
        const std::string_view bytes = StrayBytes(here);
        auto known = others_.begin();
        while (known != others_.end() && known->bytes != bytes) {
            ++known;
        }
        if (known == others_.end() && others_.size() < kMostKinds) {
            known = others_.insert(known, OtherByte{{}, bytes});
        }
        if (known != others_.end()) {
            known->Add(PlaceOf(here));
        }
        at += bytes.size();
    }
}

const std::vector<Word>& Lines::Words(std::string_view part)
{
    words_.clear();
    const char* at = part.data();
    const char* const end = at + part.size();
    while (at < end) {
        while (at < end && IsBlank(*at)) {
            ++at;
        }
        const char* const begin = at;
        while (at < end && !IsBlank(*at)) {
            ++at;
        }
        if (at > begin) {
            words_.emplace_back(std::string_view(begin, static_cast<size_t>(at - begin)), number_,
                                static_cast<size_t>(begin - whole_.data()) + 1);
        }
    }
    return words_;
}

void Lines::Report(Version version, Findings& findings) const
{
    const auto tooLong = [&](const Rule& rule, const LongLines& lines, int most) {
        if (lines.count > 0 && rule.versions.Hold(version) && version != 0) {
            findings.Add(
                rule, lines.place,
                fmt::format("{} line{} longer than the {} characters that version {} allows, the "
                            "longest has {}",
                            lines.count, lines.count == 1 ? " is" : "s are", most,
                            fmt::format("{}.{}", version / 10, version % 10), lines.longest),
                "break the lines, or cut rulers and comments");
        }
    };
    tooLong(syntax::kLine80, over80_, 80);
    tooLong(syntax::kLine120, over120_, 120);
    if (tabs_.count > 0) {
        findings.Add(syntax::kTabs, tabs_.place,
                     fmt::format("{} line{} tab characters", tabs_.count,
                                 tabs_.count == 1 ? " holds" : "s hold"),
                     "write blanks");
    }
    for (const OtherByte& other : others_) {
        findings.Add(syntax::kAscii, other.place,
                     fmt::format("{} stands {} in a file that may hold ASCII only",
                                 NameOfStray(other.bytes), Times(other.count)),
                     RemedyOfStray(other.bytes));
    }
    if (loneReturns_.count > 0) {
        findings.Add(syntax::kLineEnds, loneReturns_.place,
                     fmt::format("{} line end{} a carriage return alone", loneReturns_.count,
                                 loneReturns_.count == 1 ? " is" : "s are"),
                     "save the file with one kind of line ends");
    } else if (carriageReturns_.count > 0 && lineFeeds_.count > 0) {
        const Tally& rarer =
            carriageReturns_.count < lineFeeds_.count ? carriageReturns_ : lineFeeds_;
        findings.Add(syntax::kLineEnds, rarer.place,
                     fmt::format("{} lines end in CRLF and {} in LF", carriageReturns_.count,
                                 lineFeeds_.count),
                     "save the file with one kind of line ends");
    }
    if (controls_.count > 0) {
        findings.Add(syntax::kLineEnds, controls_.place,
                     fmt::format("{} line{} control characters other than tab", controls_.count,
                                 controls_.count == 1 ? " holds" : "s hold"),
                     "remove them");
    }
    if (commentInWord_.count > 0) {
        findings.Add(syntax::kCommentInData, commentInWord_.place,
                     fmt::format("the comment character {} cuts off a word {}", comment_,
                                 Times(commentInWord_.count)),
                     "choose another comment character, or put a blank before comments");
    }
}

}  // namespace ibis
