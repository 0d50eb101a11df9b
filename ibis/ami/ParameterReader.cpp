#include "ibis/ami/ParameterReader.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "ibis/NearestName.hpp"
#include "ibis/TextFile.hpp"
#include "ibis/ami/AmiValue.hpp"
#include "ibis/ami/ReaderRules.hpp"

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

/// Words that makers write for a Usage or a Type and that leave no doubt.
constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kAliases{{
    {"input", "In"},
    {"output", "Out"},
    {"int", "Integer"},
    {"bool", "Boolean"},
    {"double", "Float"},
    {"real", "Float"},
    {"text", "String"},
}};

enum Leaf { kUsageLeaf, kTypeLeaf, kFormatLeaf, kDefault, kDescription, kListTip, kLabels };
constexpr std::array<std::string_view, 7> kLeaves{"Usage",       "Type",     "Format", "Default",
                                                  "Description", "List_Tip", "Labels"};

std::string Listed(std::span<const std::string_view> names)
{
    return Joined(std::vector<std::string>(names.begin(), names.end()), ", ");
}

template <std::size_t count>
std::optional<std::size_t> IndexOf(const std::array<std::string_view, count>& names,
                                   std::string_view name)
{
    const auto* const found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? std::nullopt : std::optional<std::size_t>(found - names.begin());
}

std::string_view AliasOf(std::string_view word, std::span<const std::string_view> known)
{
    for (const auto& [alias, name] : kAliases) {
        if (Lowercase(word) == alias &&
            std::find(known.begin(), known.end(), name) != known.end()) {
            return name;
        }
    }
    return "";
}

class Reader
{
public:
    Reader(AmiParameter& parameter, Findings& findings)
        : parameter_(parameter), path_(parameter.Path()), findings_(findings)
    {
    }

    void Run(const AmiNode& node)
    {
        SortLeaves(node);
        if (const AmiNode* description = leaves_[kDescription]) {
            parameter_.description = ReadDescription(*description, findings_);
        }
        ReadUsage(node);
        ReadTypes(node);
        if (parameter_.fault) {
            return;  // what its values should be is open
        }
        parameter_.tips = TextsOf(kListTip);
        parameter_.labels = TextsOf(kLabels);
        if (leaves_[kFormatLeaf]) {
            ReadFormat(*leaves_[kFormatLeaf]);
        }
        if (leaves_[kDefault]) {
            ReadDefault(*leaves_[kDefault]);
        }
        CheckTips();
        if (parameter_.fault) {
            parameter_.format = Format::None;
            parameter_.values.clear();
            parameter_.rows.clear();
        } else if (!parameter_.values.empty()) {
            ChooseDefault();
        } else {
            parameter_.defaultValue = parameter_.statedDefault.value_or("");
        }
    }

private:
    void SortLeaves(const AmiNode& node)
    {
        for (const AmiWord& word : node.words) {
            findings_.Count(
                rules::kKnownLeaf, path_, word.place,
                fmt::format("expected '(' in parameter '{}', found '{}'", path_, word.text));
        }
        for (const AmiNode& child : node.children) {
            const auto leaf = LeafOf(child);
            if (!leaf) {
                continue;
            }
            if (const AmiNode* earlier = leaves_[*leaf]) {
                const bool otherFormat = *leaf == kFormatLeaf && earlier->name != child.name;
                findings_.Add(otherFormat ? rules::kOneFormat : rules::kSiblingsDiffer, child.place,
                              fmt::format("a second {} in parameter '{}'; the first counts",
                                          kLeaves[*leaf], path_));
                continue;
            }
            leaves_[*leaf] = &child;
        }
    }

    std::optional<std::size_t> LeafOf(const AmiNode& child)
    {
        if (const auto exact = IndexOf(kLeaves, child.name)) {
            return exact;
        }
        if (IsFormatName(child.name)) {
            return kFormatLeaf;
        }
        if (IsParameter(child)) {
            return std::nullopt;  // the reader of branches tells about it
        }
        std::vector<std::string_view> known(kLeaves.begin(), kLeaves.end());
        known.insert(known.end(), kFormatNames.begin() + 1, kFormatNames.end());
        const std::string_view meant = SameButForCase(child.name, known);
        findings_.Count(
            rules::kKnownLeaf, child.name, child.place,
            meant.empty()
                ? fmt::format("parameter '{}' holds an unknown list '{}'{}", path_, child.name,
                              DidYouMean(child.name, known))
                : fmt::format("'{}' in parameter '{}' is read as {}", child.name, path_, meant),
            meant.empty() ? "" : fmt::format("write {}", meant));
        const auto leaf = IndexOf(kLeaves, meant);
        return leaf || meant.empty() ? leaf : kFormatLeaf;
    }

    /// The place of the one word in a list of names. Another spelling of a name is read as it.
    std::optional<std::size_t> ReadWord(const Rule& rule, const AmiNode& node, const AmiWord* word,
                                        std::span<const std::string_view> names)
    {
        const std::string found = word ? word->text : "";
        const auto exact = std::find(names.begin(), names.end(), found);
        if (exact != names.end()) {
            return exact - names.begin();
        }
        const std::string_view same = SameButForCase(found, names);
        const std::string_view meant = same.empty() ? AliasOf(found, names) : same;
        const Place place = word ? word->place : node.place;
        if (meant.empty()) {
            Fail(rule, place,
                 fmt::format("{} of parameter '{}': expected one of {}, found '{}'{}", node.name,
                             path_, Listed(names), found, DidYouMean(found, names)));
            return std::nullopt;
        }
        findings_.Add(
            rule, same.empty() ? rule.severity : Severity::Warning, place,
            fmt::format("{} of parameter '{}': '{}' is read as {}", node.name, path_, found, meant),
            fmt::format("write {}", meant));
        return std::find(names.begin(), names.end(), meant) - names.begin();
    }

    void ReadUsage(const AmiNode& node)
    {
        const AmiNode* usage = leaves_[kUsageLeaf];
        if (!usage) {
            Fail(rules::kUsage, node.place, fmt::format("parameter '{}' has no Usage", path_),
                 "add (Usage ...) with one of " + Listed(kUsageNames));
            return;
        }
        const AmiWord* word = usage->words.size() == 1 ? &usage->words[0] : nullptr;
        if (const auto index = ReadWord(rules::kUsage, *usage, word, kUsageNames)) {
            parameter_.usage = static_cast<Usage>(*index);
        }
    }

    /// A Table may state one type for each column.
    void ReadTypes(const AmiNode& node)
    {
        const AmiNode* type = leaves_[kTypeLeaf];
        if (!type) {
            Fail(rules::kType, node.place, fmt::format("parameter '{}' has no Type", path_),
                 "add (Type ...) with one of " + Listed(kTypeNames));
            return;
        }
        for (const AmiWord& word : type->words) {
            if (const auto index = ReadWord(rules::kType, *type, &word, kTypeNames)) {
                parameter_.columns.push_back(static_cast<Type>(*index));
            }
        }
        if (type->words.empty()) {
            ReadWord(rules::kType, *type, nullptr, kTypeNames);
        }
        parameter_.type = parameter_.columns.empty() ? Type::Float : parameter_.columns.front();
    }

    void ReadFormat(const AmiNode& node)
    {
        std::vector<AmiWord> data = node.words;
        std::string_view name = node.name;
        if (!IsFormatName(name) && Lowercase(name) == "format") {  // (Format Range 0 0 1)
            name = data.empty() ? "" : std::string_view(node.words.front().text);
            data.erase(data.begin(), data.begin() + (data.empty() ? 0 : 1));
            findings_.Count(
                rules::kOneFormat, Severity::Note, "old", node.place,
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
        if (isTable ? node.children.empty() || !data.empty() : !HasRightCount(node, data, rule)) {
            Fail(rules::kFormatSize, node.place,
                 fmt::format("{} of parameter '{}': expected {}, found {} values", names[*index],
                             path_, rule.expects, data.size()));
        } else if (isTable) {
            ReadTable(node);
        } else {
            ReadValues(data);
        }
    }

    static bool IsNumeric(Type type) { return type != Type::String && type != Type::Boolean; }

    /// The taps of a filter may stand in one parameter's Value.
    bool HasRightCount(const AmiNode& node, const std::vector<AmiWord>& data,
                       const FormatRule& rule) const
    {
        const bool isTaps = parameter_.type == Type::Tap && parameter_.format == Format::Value;
        return node.children.empty() && !data.empty() &&
               (rule.count == 0 || isTaps || data.size() == rule.count);
    }

    void ReadValues(const std::vector<AmiWord>& data)
    {
        for (std::size_t i = 0; i < data.size() && !parameter_.fault; ++i) {
            const bool isCount = parameter_.format == Format::Steps && i == 3;
            if (auto value = ReadValue(data[i], isCount ? Type::Integer : parameter_.type)) {
                parameter_.values.push_back(std::move(*value));
            }
        }
    }

    void ReadTable(const AmiNode& node)
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

    void CheckColumns(const AmiNode& node)
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
            findings_.Add(
                rules::kTableShape, node.place,
                fmt::format("Table of parameter '{}': Type Tap is not for tables", path_));
        }
    }

    void ReadDefault(const AmiNode& node)
    {
        if (node.words.size() != 1 || !node.children.empty()) {
            Fail(rules::kFormatSize, node.place,
                 fmt::format("Default of parameter '{}': expected one value, found {}", path_,
                             node.words.size()));
            return;
        }
        parameter_.statedDefault = ReadValue(node.words[0], parameter_.type);
    }

    void ChooseDefault()
    {
        parameter_.defaultValue = parameter_.values.front();
        if (parameter_.statedDefault && parameter_.format != Format::Value) {
            parameter_.defaultValue =
                Admitted(parameter_, *parameter_.statedDefault).value_or(*parameter_.statedDefault);
        }
    }

    /// The value as the standard writes it, with findings on how the file does.
    std::optional<std::string> ReadValue(const AmiWord& word, Type type)
    {
        auto value = AsType(type, word.text);
        if (!value) {
            Fail(rules::kValueFitsType, word.place,
                 fmt::format("parameter '{}': expected {} {}, found '{}'", path_,
                             type == Type::Integer ? "an" : "a", Name(type), word.text));
        } else if (*value != word.text && !word.text.starts_with('+')) {
            findings_.Count(rules::kValueFitsType, Severity::Warning, path_, word.place,
                            fmt::format("parameter '{}': '{}' is read as the {} {}", path_,
                                        word.text, Name(type), *value));
        } else if (word.quoted != (type == Type::String)) {
            findings_.Count(rules::kValueFitsType, Severity::Warning, path_, word.place,
                            fmt::format("parameter '{}': the {} {} should stand {} quotes", path_,
                                        Name(type), *value, word.quoted ? "without" : "in"));
        }
        return value;
    }

    void CheckTips()
    {
        if (parameter_.tips.empty() || parameter_.fault ||
            parameter_.tips.size() == parameter_.values.size()) {
            return;
        }
        findings_.Add(rules::kTipsOfList, leaves_[kListTip]->place,
                      fmt::format("parameter '{}' has {} List_Tip texts for {} values; they are "
                                  "not used",
                                  path_, parameter_.tips.size(), parameter_.values.size()));
        parameter_.tips.clear();
    }

    std::vector<std::string> TextsOf(Leaf leaf) const
    {
        return leaves_[leaf] ? Texts(*leaves_[leaf]) : std::vector<std::string>{};
    }

    static std::vector<std::string> Texts(const AmiNode& node)
    {
        std::vector<std::string> texts;
        for (const AmiWord& word : node.words) {
            texts.push_back(word.text);
        }
        return texts;
    }

    void Fail(const Rule& rule, Place place, const std::string& text, std::string remedy = {})
    {
        findings_.Add(rule, place, text, std::move(remedy));
        if (!parameter_.fault) {
            parameter_.fault = Fault{place, text};
        }
    }

    AmiParameter& parameter_;
    std::string path_;
    Findings& findings_;
    std::array<const AmiNode*, kLeaves.size()> leaves_{};
};

}  // namespace

void ReadParameter(const AmiNode& node, AmiParameter& parameter, Findings& findings)
{
    Reader(parameter, findings).Run(node);
}

bool IsParameter(const AmiNode& node)
{
    return std::any_of(node.children.begin(), node.children.end(), [](const AmiNode& child) {
        const bool isLeaf = !child.words.empty() && child.children.empty();
        const std::string name = Lowercase(child.name);
        return isLeaf && (name == "usage" || name == "type");
    });
}

bool IsFormatName(std::string_view name)
{
    return IndexOf(kFormatNames, name).value_or(0) > 0;
}

bool IsLeafName(std::string_view name)
{
    return IsFormatName(name) || IndexOf(kLeaves, name);
}

std::string ReadDescription(const AmiNode& node, Findings& findings)
{
    if (node.words.size() != 1 || !node.words[0].quoted) {
        findings.Count(rules::kValueFitsType, Severity::Warning, "Description", node.place,
                       "a Description should be one text in quotes");
    }
    std::string text;
    for (const AmiWord& word : node.words) {
        text += (text.empty() ? "" : " ") + word.text;
    }
    return text;
}

}  // namespace ibis
