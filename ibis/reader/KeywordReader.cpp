#include <fmt/format.h>

#include <algorithm>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/LineReader.hpp"
#include "ibis/reader/NewerWord.hpp"
#include "ibis/reader/NumberCheck.hpp"
#include "ibis/reader/SyntaxRules.hpp"

/// Keywords: what they are, where they may stand, what stands behind them on their line.
namespace ibis {

namespace {

constexpr std::string_view kCommentCharacters = "!\"#$%&'()*,:;<>?@\\^`{|}~";

Section Opened(const Keyword& keyword, Place place)
{
    Section section;
    section.keyword = &keyword;
    section.place = place;
    return section;
}

}  // namespace

void LineReader::ReadKeyword()
{
    std::string_view name, argument;
    if (!TakeBracket(name, argument)) {
        return;
    }
    const std::string normalised = NormalisedKeyword(name);
    const Keyword* keyword = FindKeyword(normalised);
    if (!keyword) {
        Unknown(name, normalised);
        return;
    }
    CheckSpelling(name);
    skipping_ = false;
    if (keyword->key == Key::CommentChar) {
        ReadCommentChar();
        return;
    }
    if (!sawKeyword_ && keyword->key != Key::IbisVer) {
        findings_.Add(syntax::kIsIbis, lines_.Place(),
                      fmt::format("the first keyword is [{}], expected [IBIS Ver]", keyword->name),
                      "begin the file with [IBIS Ver]");
    }
    sawKeyword_ = true;
    NoteVersion(keyword->versions, syntax::kKeywordVersion, lines_.Place(),
                fmt::format("[{}]", keyword->name));
    Open(*keyword, argument);
}

/// Takes a keyword's line apart. Without a closing bracket the longest keyword that the line begins
/// with is meant.
bool LineReader::TakeBracket(std::string_view& name, std::string_view& argument)
{
    const std::string_view text =
        lines_.Text().starts_with('[') ? lines_.Text() : Trimmed(lines_.Whole());
    const size_t close = text.find(']');
    if (close != text.npos) {
        name = text.substr(1, close - 1);
        argument = Trimmed(text.substr(close + 1));
        return true;
    }
    findings_.Add(syntax::kBracket, lines_.Place(), "the keyword has no closing bracket",
                  "write ] behind the keyword");
    const std::vector<Word> words = lines_.Words(text.substr(1));
    for (size_t count = std::min<size_t>(words.size(), 5); count > 0; --count) {
        const char* const end = words[count - 1].Text().data() + words[count - 1].Text().size();
        name = std::string_view(words[0].Text().data(),
                                static_cast<size_t>(end - words[0].Text().data()));
        if (FindKeyword(NormalisedKeyword(name))) {
            argument = Trimmed(
                std::string_view(end, static_cast<size_t>(text.data() + text.size() - end)));
            return true;
        }
    }
    skipping_ = true;
    return false;
}

void LineReader::CheckSpelling(std::string_view name)
{
    if (lines_.Place().column > 1 && lines_.Number() > 1) {
        findings_.Count(syntax::kFirstColumn, "", lines_.Place(),
                        fmt::format("[{}] begins in column {}", name, lines_.Place().column),
                        "begin keywords in column 1");
    }
    const bool odd = name != Trimmed(name) || name.find("  ") != name.npos ||
                     name.find("__") != name.npos || name.find('\t') != name.npos;
    if (odd) {
        findings_.Count(syntax::kSpelling, "", lines_.Place(),
                        fmt::format("[{}] has blanks that do not belong there", name),
                        fmt::format("write [{}]", FindKeyword(NormalisedKeyword(name))->name));
    }
}

/// The line itself may begin with either comment character.
void LineReader::ReadCommentChar()
{
    const std::string_view whole = lines_.Whole();
    const std::string_view argument = Trimmed(whole.substr(whole.find(']') + 1));
    if (argument.size() < 6 || kCommentCharacters.find(argument[0]) == std::string_view::npos ||
        Lowercase(argument.substr(1, 5)) != "_char") {
        findings_.Add(
            syntax::kCommentChar, lines_.Place(),
            fmt::format("expected one of {} followed by _char after [Comment Char], found '{}'",
                        kCommentCharacters, argument.substr(0, 20)),
            "write [Comment Char] |_char, or leave the line out");
        return;
    }
    if (argument[0] != '|') {
        findings_.Add(syntax::kCommentDefault, lines_.Place(),
                      fmt::format("the comment character becomes '{}'", argument[0]),
                      "keep the default |");
    }
    lines_.SetComment(argument[0]);
}

void LineReader::Unknown(std::string_view name, const std::string& normalised)
{
    // A reference such as "[1] Handbook" in a text is no keyword where it is indented.
    if (Top().keyword->data == Data::Text && lines_.Place().column > 1) {
        return;
    }
    skipping_ = true;
    std::vector<std::string> known;
    for (const Keyword& keyword : Grammar()) {
        known.emplace_back(keyword.name);
    }
    const std::string nearest = NearestName(normalised, known);
    findings_.Count(syntax::kKnownKeyword, normalised.substr(0, 80), lines_.Place(),
                    fmt::format("unknown keyword [{}]", Trimmed(name).substr(0, 80)),
                    nearest.empty() ? "remove it and what stands under it"
                                    : fmt::format("did you mean [{}]?", nearest));
}

void LineReader::NoteVersion(const Versions& versions, const Rule& rule, Place place,
                             std::string_view what)
{
    ReportIfNewer(versions, version_, rule, place, what, findings_);
}

/// Finds the innermost open section that the keyword may stand in, closes what is open within it,
/// and opens the keyword's own.
void LineReader::Open(const Keyword& keyword, std::string_view argument)
{
    size_t depth = stack_.size();
    while (depth > 0 && !keyword.MayStandIn(stack_[depth - 1].keyword->key)) {
        --depth;
    }
    Section section = Opened(keyword, lines_.Place());
    if (depth == 0) {
        std::string parents;
        for (const Key parent : keyword.parents) {
            if (parent != Key::None) {
                parents +=
                    fmt::format("{}[{}]", parents.empty() ? "" : " or ", KeywordOf(parent).name);
            }
        }
        findings_.Count(RuleOf(keyword.misplacedRule), keyword.name, section.place,
                        fmt::format("[{}] stands outside of {}", keyword.name, parents),
                        fmt::format("move it below its {}", parents));
        stack_.push_back(std::move(section));
        lost_.push_back(true);
        return;
    }
    CloseTo(depth);
    if (Top().keyword->end == keyword.key) {
        Top().closed = true;
        CloseTo(depth - 1);
        stack_.push_back(std::move(section));  // takes no data: what follows is reported
        lost_.push_back(true);
        return;
    }
    const Section* const first = keyword.many ? nullptr : Top().Child(keyword.key);
    const bool again = first != nullptr;
    if (again) {
        findings_.Add(
            syntax::kOnce, section.place,
            fmt::format("a second [{}]; the first is in line {}", keyword.name, first->place.line),
            "remove one of the two");
    }
    ReadArgument(section, argument);
    if (keyword.key == Key::End) {
        ended_ = true;
        CloseTo(1);
        return;
    }
    stack_.push_back(std::move(section));
    lost_.push_back(again);
}

void LineReader::CloseTo(size_t depth)
{
    while (stack_.size() > std::max<size_t>(depth, 1)) {
        Pop();
    }
}

void LineReader::Pop()
{
    Section section = std::move(stack_.back());
    const bool lost = lost_.back();
    stack_.pop_back();
    lost_.pop_back();
    if (section.keyword->endRule != 0 && !section.closed && !lost) {
        findings_.Add(RuleOf(section.keyword->endRule), section.place,
                      fmt::format("[{}] is not closed", section.keyword->name),
                      fmt::format("write [{}]", KeywordOf(section.keyword->end).name));
    }
    section.curve.rows.shrink_to_fit();
    section.curve.lines.shrink_to_fit();
    section.numbers.shrink_to_fit();
    if (!lost) {
        Top().children.push_back(std::move(section));
    }
}

void LineReader::ReadArgument(Section& section, std::string_view argument)
{
    const Keyword& keyword = *section.keyword;
    section.argument = argument;
    section.arguments = lines_.Words(argument);
    if (keyword.argument == Argument::Name && argument.empty()) {
        findings_.Add(syntax::kName, section.place, fmt::format("[{}] has no name", keyword.name),
                      "write the name on the keyword's line");
    } else if (keyword.argument == Argument::Corners) {
        ReadCorners(section);
    }
    if (keyword.HasCurve()) {
        section.curve.place = section.place;
        section.curve.title = keyword.name;
        const std::string at = std::to_string(section.place.line);
        for (size_t column = 0; column < 4; ++column) {
            curveKeys_[column] = at + "/" + std::to_string(column);
        }
    }
    if (keyword.key == Key::IbisVer) {
        ReadVersion(section);
    }
}

void LineReader::ReadCorners(Section& section)
{
    const std::string of = fmt::format("[{}]", section.keyword->name);
    for (size_t i = 0; i < std::min<size_t>(section.arguments.size(), 3); ++i) {
        const Word& word = section.arguments[i];
        CheckNumber(ParseNumber(word.Text()), word, {section.keyword->y, of, of}, findings_);
    }
    if (section.arguments.size() != 3) {
        findings_.Add(syntax::kColumns,
                      section.arguments.empty() ? Severity::Error : Severity::Warning,
                      section.place,
                      fmt::format("{} has {} values, expected typ, min and max", of,
                                  section.arguments.size()),
                      "write NA for what is not available");
    }
}

void LineReader::ReadVersion(const Section& section)
{
    const std::string_view text =
        section.arguments.empty() ? std::string_view() : section.arguments[0].Text();
    if (text.size() == 3 && text[1] == '.' && text[0] >= '1' && text[0] <= '9' && text[2] >= '0' &&
        text[2] <= '9') {
        version_ = (text[0] - '0') * 10 + (text[2] - '0');
    }
}

}  // namespace ibis
