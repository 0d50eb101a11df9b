#include "ibis/reader/SectionReader.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Lines.hpp"
#include "ibis/reader/NewerWord.hpp"
#include "ibis/reader/NumberCheck.hpp"
#include "ibis/reader/SyntaxRules.hpp"
#include "ibis/reader/WrongFile.hpp"

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

class Reader
{
public:
    Reader(const std::string& text, Findings& findings) : lines_(text), findings_(findings)
    {
        stack_.push_back(Opened(KeywordOf(Key::File), {}));
    }

    void Run(Document& document)
    {
        while (lines_.Next()) {
            if (lines_.Text().empty() && !lines_.Whole().starts_with('[')) {
                continue;
            }
            if (ended_) {
                findings_.Count(syntax::kAfterEnd, "", lines_.Place(),
                                "text after [End] is not read",
                                "remove it, or put it into a file of its own");
            } else if (lines_.Text().starts_with('[') || lines_.Whole().starts_with('[')) {
                ReadKeyword();
            } else if (!skipping_) {
                ReadData();
            }
        }
        Finish(document);
    }

private:
    Section& Top() { return stack_.back(); }

    void ReadKeyword();
    bool TakeBracket(std::string_view& name, std::string_view& argument);
    void CheckSpelling(std::string_view name);
    void ReadCommentChar();
    void Unknown(std::string_view name, const std::string& normalised);
    void Open(const Keyword& keyword, std::string_view argument);
    void CloseTo(size_t depth);
    void Pop();
    void ReadArgument(Section& section, std::string_view argument);
    void ReadCorners(Section& section);
    void ReadVersion(const Section& section);

    void ReadData();
    void NoData();
    void ReadRow(const std::vector<Word>& words);
    void ReadCurveRow(const std::vector<Word>& words);
    void ReadMatrixRow(const std::vector<Word>& words);
    void ReadSetting(const std::vector<Word>& line);
    bool SplitAtEquals(const std::vector<Word>& line, std::vector<Word>& words);
    const SubParameter* FindSetting(const Word& name);
    void CheckSetting(const Setting& setting);
    void Finish(Document& document);

    void NoteVersion(const Versions& versions, const Rule& rule, Place place,
                     std::string_view what);

    Lines lines_;
    Findings& findings_;
    std::vector<Section> stack_;  ///< the file, and what is open in it
    std::vector<bool> lost_{
        false};                 ///< of each: nothing will keep it, it stands in the wrong place
    std::string curveKeys_[4];  ///< of the table being read, for what is told once a column
    Version version_ = 0;
    bool sawKeyword_ = false;
    bool ended_ = false;
    bool skipping_ = false;  ///< below an unknown keyword
};

void Reader::ReadKeyword()
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
bool Reader::TakeBracket(std::string_view& name, std::string_view& argument)
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

void Reader::CheckSpelling(std::string_view name)
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
void Reader::ReadCommentChar()
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

void Reader::Unknown(std::string_view name, const std::string& normalised)
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

void Reader::NoteVersion(const Versions& versions, const Rule& rule, Place place,
                         std::string_view what)
{
    ReportIfNewer(versions, version_, rule, place, what, findings_);
}

/// Finds the innermost open section that the keyword may stand in, closes what is open within it,
/// and opens the keyword's own.
void Reader::Open(const Keyword& keyword, std::string_view argument)
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

void Reader::CloseTo(size_t depth)
{
    while (stack_.size() > std::max<size_t>(depth, 1)) {
        Pop();
    }
}

void Reader::Pop()
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

void Reader::ReadArgument(Section& section, std::string_view argument)
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

void Reader::ReadCorners(Section& section)
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

void Reader::ReadVersion(const Section& section)
{
    const std::string_view text =
        section.arguments.empty() ? std::string_view() : section.arguments[0].Text();
    if (text.size() == 3 && text[1] == '.' && text[0] >= '1' && text[0] <= '9' && text[2] >= '0' &&
        text[2] <= '9') {
        version_ = (text[0] - '0') * 10 + (text[2] - '0');
    }
}

void Reader::ReadData()
{
    const std::vector<Word>& words = lines_.Words(lines_.Text());
    switch (Top().keyword->data) {
        case Data::None:
            NoData();
            break;
        case Data::Text:
            break;
        case Data::Settings:
            ReadSetting(words);
            break;
        case Data::Words:
            ReadRow(words);
            break;
        case Data::Curve:
            ReadCurveRow(words);
            break;
        case Data::SettingsCurve: {
            const char first = words[0].Text()[0];
            if ((first >= '0' && first <= '9') || first == '-' || first == '+' || first == '.') {
                ReadCurveRow(words);
            } else {
                ReadSetting(words);
            }
            break;
        }
        case Data::SettingsWords:
            if (FindSetting(words[0])) {
                ReadSetting(words);
            } else {
                ReadRow(words);
            }
            break;
        case Data::MatrixRow:
            ReadMatrixRow(words);
            break;
    }
}

void Reader::NoData()
{
    const Keyword& keyword = *Top().keyword;
    if (!sawKeyword_) {
        return;  // told once at the end: this is no IBIS file
    }
    const std::string key = std::to_string(Top().place.line);
    if (keyword.argument == Argument::Text) {
        findings_.Count(
            syntax::kOneLine, key, lines_.Place(),
            fmt::format("[{}] goes on in a second line, which is not read", keyword.name),
            "write it on one line");
        return;
    }
    findings_.Count(syntax::kData, key, lines_.Place(),
                    fmt::format("'{}' stands under [{}], which takes no data",
                                lines_.Text().substr(0, 40), keyword.name),
                    "move it below its keyword, or make it a comment");
}

void Reader::ReadRow(const std::vector<Word>& words)
{
    const Keyword& keyword = *Top().keyword;
    // Rows of three and of six are told apart by what a rule knows of the heading; five are never
    // right.
    const bool fits = keyword.mostWords == 0 ||
                      (words.size() >= keyword.leastWords && words.size() != keyword.notWords &&
                       (words.size() <= keyword.mostWords || keyword.mostWords == 255));
    if (!fits) {
        const std::string expected =
            keyword.leastWords == keyword.mostWords ? std::to_string(keyword.leastWords)
            : keyword.notWords != 0
                ? fmt::format("{} or {}", keyword.leastWords, keyword.mostWords)
                : fmt::format("{} to {}", keyword.leastWords, keyword.mostWords);
        findings_.Count(RuleOf(keyword.columnsRule), std::to_string(Top().place.line),
                        words[0].Place(),
                        fmt::format("a row of [{}] has {} columns, expected {}", keyword.name,
                                    words.size(), expected),
                        "write all columns, NA where there is no value");
    }
    Top().rows.Add(words);
}

void Reader::ReadCurveRow(const std::vector<Word>& words)
{
    static constexpr std::string_view kColumnNames[] = {"first column", "typ", "min", "max"};
    Section& section = Top();
    const Keyword& keyword = *section.keyword;
    if (words.size() != 4) {
        findings_.Count(
            RuleOf(keyword.columnsRule), curveKeys_[0], words[0].Place(),
            fmt::format("a row of [{}] has {} columns, expected {}, typ, min and max", keyword.name,
                        words.size(), keyword.x == Quantity::Second ? "time" : "voltage"),
            "write all four columns, NA where there is no value");
    }
    double values[4] = {NAN, NAN, NAN, NAN};
    for (size_t i = 0; i < std::min<size_t>(words.size(), 4); ++i) {
        const Number number = ParseNumber(words[i].Text());
        const Quantity quantity = i == 0 ? keyword.x : keyword.y;
        values[i] = number.value;
        if (!IsPlain(number, quantity)) {
            const std::string of = fmt::format("{} of [{}]", kColumnNames[i], keyword.name);
            CheckNumber(number, words[i], {quantity, of, curveKeys_[i]}, findings_);
        } else if (i == 0 && number.kind == Number::Kind::NotAvailable) {
            findings_.Count(syntax::kNumber, curveKeys_[0], words[0].Place(),
                            fmt::format("NA stands in the first column of [{}]", keyword.name),
                            "write the voltage or the time");
        }
    }
    if (!std::isnan(values[0])) {
        section.curve.rows.push_back({values[0], {values[1], values[2], values[3]}});
        section.curve.lines.push_back(static_cast<std::uint32_t>(lines_.Number()));
    }
}

/// A large package has millions of these: of all but sparse matrices the bare numbers are kept.
void Reader::ReadMatrixRow(const std::vector<Word>& words)
{
    const Section& matrix = stack_[stack_.size() - 2];
    const std::string type = Lowercase(matrix.argument.substr(0, 6));
    const bool sparse = type == "sparse";
    if (sparse) {
        Top().rows.Add(words);
    } else if (type != "banded" && !type.starts_with("full")) {
        return;  // what these entries are nobody knows
    }
    // A sparse row's line is the other pin's name, then the value.
    for (size_t i = sparse ? 1 : 0; i < words.size(); ++i) {
        const Number number = ParseNumber(words[i].Text());
        if (!IsPlain(number, matrix.keyword->y)) {
            const std::string of = fmt::format("an entry of [{}]", matrix.keyword->name);
            CheckNumber(number, words[i],
                        {matrix.keyword->y, of, std::to_string(matrix.place.line)}, findings_);
        }
        if (!sparse) {
            Top().numbers.push_back(number.value);
        }
    }
}

/// The words of "name = value", "name=value" and "name value" alike; true if there was a =.
bool Reader::SplitAtEquals(const std::vector<Word>& line, std::vector<Word>& words)
{
    bool equals = false;
    for (const Word& word : line) {
        const size_t at =
            equals || words.size() > 1 ? std::string_view::npos : word.Text().find('=');
        if (at == std::string_view::npos) {
            words.push_back(word);
            continue;
        }
        equals = true;
        const auto column = static_cast<size_t>(word.Place().column);
        if (at > 0) {
            words.emplace_back(word.Text().substr(0, at), word.Line(), column);
        }
        if (at + 1 < word.Text().size()) {
            words.emplace_back(word.Text().substr(at + 1), word.Line(), column + at + 1);
        }
    }
    return equals;
}

const SubParameter* Reader::FindSetting(const Word& name)
{
    const auto settings = Top().keyword->settings;
    const std::string_view text = name.Text().substr(0, name.Text().find('='));
    for (const SubParameter& known : settings) {
        if (known.name == text) {
            return &known;
        }
    }
    const std::string lower = Lowercase(text);
    for (const SubParameter& known : settings) {
        if (Lowercase(known.name) == lower) {
            return &known;
        }
    }
    return nullptr;
}

void Reader::ReadSetting(const std::vector<Word>& line)
{
    Section& section = Top();
    const SubParameter* const known = FindSetting(line[0]);
    if (!known) {
        std::vector<std::string> names;
        for (const SubParameter& one : section.keyword->settings) {
            names.emplace_back(one.name);
        }
        const std::string_view name = line[0].Text().substr(0, 60);
        const std::string nearest = NearestName(name.substr(0, name.find('=')), names);
        findings_.Count(
            syntax::kKnownWord, fmt::format("{}/{}", section.place.line, name), line[0].Place(),
            fmt::format("'{}' is no sub-parameter of [{}]", name, section.keyword->name),
            nearest.empty() ? fmt::format("the sub-parameters are {}", Joined(names, ", "))
                            : fmt::format("did you mean {}?", nearest));
        return;
    }
    Setting setting{known, {}};
    const bool equals = SplitAtEquals(line, setting.words);
    if (known->form != Form::Either && equals != (known->form == Form::Equals)) {
        findings_.Count(syntax::kEquals, known->name, line[0].Place(),
                        fmt::format("{} of [{}] stands {} =", known->name, section.keyword->name,
                                    equals ? "with" : "without"),
                        fmt::format("write {}{}VALUE", known->name,
                                    known->form == Form::Equals ? " = " : "  "));
    }
    CheckSetting(setting);
    if (const Setting* const first = known->many ? nullptr : section.Find(known->name)) {
        findings_.Add(syntax::kTwice, setting.Place(),
                      fmt::format("{} is stated again; the first is in line {}", known->name,
                                  first->Place().line),
                      "remove one of the two");
        return;
    }
    section.settings.push_back(std::move(setting));
}

void Reader::CheckSetting(const Setting& setting)
{
    const SubParameter& known = *setting.known;
    const Keyword& keyword = *Top().keyword;
    const std::string of = fmt::format("{} of [{}]", known.name, keyword.name);
    const std::string key = fmt::format("{}/{}", Top().place.line, known.name);
    if (setting.words[0].Text() != known.name) {
        findings_.Count(
            syntax::kCase, known.name, setting.Place(),
            fmt::format("'{}' is spelled {} in the standard", setting.words[0].Text(), known.name),
            fmt::format("write {}", known.name));
    }
    NoteVersion(known.versions, syntax::kWordVersion, setting.Place(), of);
    const auto values = setting.Values();
    const bool fits =
        values.size() >= known.least && (values.size() <= known.most || known.most == 255);
    if (!fits) {
        // One word behind an Executable line's names is a name with a blank in it: for its own
        // rule.
        findings_.Add(keyword.key == Key::AlgorithmicModel ? RuleOf(801) : syntax::kColumns,
                      setting.Place(),
                      fmt::format("{} has {} value{}, expected {}", of, values.size(),
                                  values.size() == 1 ? "" : "s", int{known.least}),
                      {});
    } else if (known.HasCorners() && values.size() < 3) {
        findings_.Count(
            known.name.starts_with("C_comp") ? RuleOf(317) : syntax::kColumns, Severity::Warning,
            key, setting.Place(),
            fmt::format("{} has {} of the three values typ, min and max", of, values.size()),
            "write NA for what is not available");
    }
    if (!known.numeric) {
        return;
    }
    for (size_t i = 0; i < std::min<size_t>(values.size(), known.most); ++i) {
        const Number number = ParseNumber(values[i].Text());
        if (!IsPlain(number, known.quantity) || number.scale == 'M' || number.scale == 'm') {
            CheckNumber(number, values[i], {known.quantity, of, key}, findings_);
        }
        const bool ownNa = known.name.ends_with("_min") || known.name.ends_with("_max");
        if (i == 0 && number.kind == Number::Kind::NotAvailable && keyword.key == Key::Model &&
            !ownNa) {
            findings_.Add(syntax::kNoNa, values[0].Place(),
                          fmt::format("{} is NA as its typical value", of),
                          "write the typical value");
        }
    }
}

void Reader::Finish(Document& document)
{
    CloseTo(1);
    if (!sawKeyword_) {
        findings_.Add(syntax::kIsIbis, {},
                      fmt::format("no keyword [IBIS Ver]: {}", WhatItLooksLike(*document.text)),
                      "name a file of the IBIS standard");
    } else if (!ended_) {
        findings_.Add(
            syntax::kEnd, {lines_.Number(), 1},
            fmt::format("the file has no [End]{}",
                        lines_.CutOff() ? "; its last line has no line end, as after a download "
                                          "that was cut off"
                                        : ""),
            "write [End] as the last line, and look whether something is missing before it");
    }
    lines_.Report(version_, findings_);
    document.version = version_;
    document.isIbis = sawKeyword_;
    document.lines = lines_.Number();
    document.root = std::move(stack_.front());
}

}  // namespace

Document ReadSections(std::shared_ptr<const std::string> text, const std::filesystem::path& path,
                      Findings& findings)
{
    Document document;
    document.path = path;
    document.text = std::move(text);
    if (ReportUnreadable(*document.text, findings)) {
        document.root = Opened(KeywordOf(Key::File), {});
        return document;
    }
    Reader(*document.text, findings).Run(document);
    return document;
}

}  // namespace ibis
