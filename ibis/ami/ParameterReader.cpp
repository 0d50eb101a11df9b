#include "ibis/ami/ParameterReader.hpp"

#include <algorithm>
#include <array>
#include <utility>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/ami/ParameterLists.hpp"
#include "ibis/ami/ReaderRules.hpp"

namespace ibis {
namespace {

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

}  // namespace

void ParameterLists::Run(const AmiNode& node)
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

void ParameterLists::SortLeaves(const AmiNode& node)
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

std::optional<std::size_t> ParameterLists::LeafOf(const AmiNode& child)
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
    findings_.Count(rules::kKnownLeaf, child.name, child.place,
                    meant.empty() ? fmt::format("parameter '{}' holds an unknown list '{}'{}",
                                                path_, child.name, DidYouMean(child.name, known))
                                  : fmt::format("'{}' in parameter '{}' is read as {}", child.name,
                                                path_, meant),
                    meant.empty() ? "" : fmt::format("write {}", meant));
    const auto leaf = IndexOf(kLeaves, meant);
    return leaf || meant.empty() ? leaf : kFormatLeaf;
}

std::optional<std::size_t> ParameterLists::ReadWord(const Rule& rule, const AmiNode& node,
                                                    const AmiWord* word,
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
             fmt::format("{} of parameter '{}': expected one of {}, found '{}'{}", node.name, path_,
                         Listed(names), found, DidYouMean(found, names)));
        return std::nullopt;
    }
    findings_.Add(
        rule, same.empty() ? rule.severity : Severity::Warning, place,
        fmt::format("{} of parameter '{}': '{}' is read as {}", node.name, path_, found, meant),
        fmt::format("write {}", meant));
    return std::find(names.begin(), names.end(), meant) - names.begin();
}

void ParameterLists::ReadUsage(const AmiNode& node)
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

void ParameterLists::ReadTypes(const AmiNode& node)
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

void ParameterLists::CheckTips()
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

std::vector<std::string> ParameterLists::TextsOf(Leaf leaf) const
{
    return leaves_[leaf] ? Texts(*leaves_[leaf]) : std::vector<std::string>{};
}

std::vector<std::string> ParameterLists::Texts(const AmiNode& node)
{
    std::vector<std::string> texts;
    for (const AmiWord& word : node.words) {
        texts.push_back(word.text);
    }
    return texts;
}

void ParameterLists::Fail(const Rule& rule, Place place, const std::string& text,
                          std::string remedy)
{
    findings_.Add(rule, place, text, std::move(remedy));
    if (!parameter_.fault) {
        parameter_.fault = Fault{place, text};
    }
}

void ReadParameter(const AmiNode& node, AmiParameter& parameter, Findings& findings)
{
    ParameterLists(parameter, findings).Run(node);
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
