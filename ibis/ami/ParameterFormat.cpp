#include <algorithm>
#include <utility>

#include "base/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ParameterLists.hpp"
#include "ibis/ami/ReaderRules.hpp"

/// The values of a parameter: its Format, Table and Default.
namespace ibis {
namespace {

/// What each Format expects behind its name; the count 0 stands for one or more.
struct FormatRule
{
    std::size_t count;
    std::string_view expects;
    bool numbersOnly = true;
};
constexpr std::array<FormatRule, 11> kFormats{{
    {0, "", false},
    {1, "one value", false},
    {3, "typ, min and max"},
    {0, "one value or more", false},
    {3, "typ, slow and fast", false},
    {4, "typ, min, max and delta"},
    {4, "typ, min, max and the number of steps"},
    {0, "rows in parentheses", false},
    {2, "mean and sigma"},
    {3, "two means and sigma"},
    {3, "smallest and largest Dj and sigma"},
}};

bool IsNumeric(Type type)
{
    return type != Type::String && type != Type::Boolean;
}

}  // namespace

void ParameterLists::ReadFormat(const AmiNode& node)
{
    std::vector<AmiWord> data = node.words;
    std::string_view name = node.name;
    if (!IsFormatName(name) && Lowercase(name) == "format") {  // (Format Range 0 0 1)
        name = data.empty() ? "" : std::string_view(node.words.front().text);
        data.erase(data.begin(), data.begin() + (data.empty() ? 0 : 1));
        findings_.Count(rules::kOneFormat, Severity::Note, "old", node.place,
                        fmt::format("(Format {0} ...) is an older way to write ({0} ...)", name));
    }
    const std::span names = std::span(kFormatNames).subspan(1);
    const AmiWord word{std::string(name), false, node.place};
    const auto index = ReadWord(rules::kOneFormat, node, &word, names);
    if (!index) {
        return;
    }
    parameter_.format = static_cast<Format>(*index + 1);
    const FormatRule& rule = kFormats[*index + 1];
    if (rule.numbersOnly && !IsNumeric(parameter_.type)) {
        Fail(rules::kFormatSuitsType, node.place,
             fmt::format("{} of parameter '{}', whose Type is {}: expected a Type of numbers",
                         names[*index], path_, Name(parameter_.type)));
        return;
    }
    const bool isTable = parameter_.format == Format::Table;
    if (isTable ? node.children.empty() || !data.empty() : !HasRightCount(node, data, rule.count)) {
        Fail(rules::kFormatSize, node.place,
             fmt::format("{} of parameter '{}': expected {}, found {} values", names[*index], path_,
                         rule.expects, data.size()));
    } else if (isTable) {
        ReadTable(node);
    } else {
        ReadValues(data);
    }
}

bool ParameterLists::HasRightCount(const AmiNode& node, const std::vector<AmiWord>& data,
                                   std::size_t count) const
{
    const bool isTaps = parameter_.type == Type::Tap && parameter_.format == Format::Value;
    return node.children.empty() && !data.empty() && (count == 0 || isTaps || data.size() == count);
}

void ParameterLists::ReadValues(const std::vector<AmiWord>& data)
{
    for (std::size_t i = 0; i < data.size() && !parameter_.fault; ++i) {
        const bool isCount = parameter_.format == Format::Steps && i == 3;
        if (auto value = ReadValue(data[i], isCount ? Type::Integer : parameter_.type)) {
            parameter_.values.push_back(std::move(*value));
        }
    }
}

void ParameterLists::ReadTable(const AmiNode& node)
{
    const auto typeOf = [&](std::size_t i) {
        return parameter_.columns[std::min(i, parameter_.columns.size() - 1)];
    };
    for (const AmiNode& row : node.children) {
        std::vector<AmiWord> cells{{row.name, row.quoted, row.place}};
        cells.insert(cells.end(), row.words.begin(), row.words.end());
        if (row.name == "Labels" && !row.quoted) {
            parameter_.labels = Texts(row);
            continue;
        }
        auto& values = parameter_.rows.emplace_back();
        for (std::size_t i = 0; i < cells.size() && !parameter_.fault; ++i) {
            if (auto value = ReadValue(cells[i], typeOf(i))) {
                values.push_back(std::move(*value));
            }
        }
        if (parameter_.fault) {
            return;
        }
        if (values.size() != parameter_.rows.front().size()) {
            Fail(rules::kTableShape, row.place,
                 fmt::format("Table of parameter '{}': expected {} values in this row, found "
                             "{}",
                             path_, parameter_.rows.front().size(), values.size()));
            return;
        }
    }
    CheckColumns(node);
}

void ParameterLists::CheckColumns(const AmiNode& node)
{
    const std::size_t columns = parameter_.rows.empty() ? 0 : parameter_.rows.front().size();
    const auto tell = [&](std::size_t count, std::string_view what) {
        findings_.Add(rules::kTableShape, node.place,
                      fmt::format("Table of parameter '{}' has {} columns and {} {}", path_,
                                  columns, count, what));
    };
    if (!parameter_.labels.empty() && parameter_.labels.size() != columns) {
        tell(parameter_.labels.size(), "Labels");
    }
    if (parameter_.columns.size() > 1 && parameter_.columns.size() != columns) {
        tell(parameter_.columns.size(), "Types");
    }
    if (std::ranges::count(parameter_.columns, Type::Tap) > 0) {
        findings_.Add(rules::kTableShape, node.place,
                      fmt::format("Table of parameter '{}': Type Tap is not for tables", path_));
    }
}

void ParameterLists::ReadDefault(const AmiNode& node)
{
    if (node.words.size() != 1 || !node.children.empty()) {
        Fail(rules::kFormatSize, node.place,
             fmt::format("Default of parameter '{}': expected one value, found {}", path_,
                         node.words.size()));
        return;
    }
    parameter_.statedDefault = ReadValue(node.words[0], parameter_.type);
}

void ParameterLists::ChooseDefault()
{
    parameter_.defaultValue = parameter_.values.front();
    if (parameter_.statedDefault && parameter_.format != Format::Value) {
        parameter_.defaultValue =
            Admitted(parameter_, *parameter_.statedDefault).value_or(*parameter_.statedDefault);
    }
}

std::optional<std::string> ParameterLists::ReadValue(const AmiWord& word, Type type)
{
    auto value = AsType(type, word.text);
    if (!value) {
        Fail(rules::kValueFitsType, word.place,
             fmt::format("parameter '{}': expected {} {}, found '{}'", path_,
                         type == Type::Integer ? "an" : "a", Name(type), word.text));
    } else if (*value != word.text && !word.text.starts_with('+')) {
        findings_.Count(rules::kValueFitsType, Severity::Warning, path_, word.place,
                        fmt::format("parameter '{}': '{}' is read as the {} {}", path_, word.text,
                                    Name(type), *value));
    } else if (word.quoted != (type == Type::String)) {
        findings_.Count(rules::kValueFitsType, Severity::Warning, path_, word.place,
                        fmt::format("parameter '{}': the {} {} should stand {} quotes", path_,
                                    Name(type), *value, word.quoted ? "without" : "in"));
    }
    return value;
}

}  // namespace ibis
