#include <fmt/format.h>

#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/findings/RuleTable.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/LineReader.hpp"
#include "ibis/reader/NumberCheck.hpp"
#include "ibis/reader/SyntaxRules.hpp"

/// Lines below a keyword: rows of words, tables, matrices.
namespace ibis {

void LineReader::ReadData()
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

void LineReader::NoData()
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

void LineReader::ReadRow(const std::vector<Word>& words)
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

void LineReader::ReadCurveRow(const std::vector<Word>& words)
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
void LineReader::ReadMatrixRow(const std::vector<Word>& words)
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

}  // namespace ibis
