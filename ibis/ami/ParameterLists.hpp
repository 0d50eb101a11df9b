#pragma once

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/ami/ParameterReader.hpp"
#include "ibis/findings/Findings.hpp"

namespace ibis {

/// Reads the lists that one parameter holds: which is which, its Usage and Type, then its values.
class ParameterLists
{
public:
    ParameterLists(AmiParameter& parameter, Findings& findings)
        : parameter_(parameter), path_(parameter.Path()), findings_(findings)
    {
    }

    void Run(const AmiNode& node);

private:
    enum Leaf { kUsageLeaf, kTypeLeaf, kFormatLeaf, kDefault, kDescription, kListTip, kLabels };

    void SortLeaves(const AmiNode& node);
    std::optional<std::size_t> LeafOf(const AmiNode& child);
    /// The place of the one word in a list of names. Another spelling of a name is read as it.
    std::optional<std::size_t> ReadWord(const Rule& rule, const AmiNode& node, const AmiWord* word,
                                        std::span<const std::string_view> names);
    void ReadUsage(const AmiNode& node);
    /// A Table may state one type for each column.
    void ReadTypes(const AmiNode& node);
    void ReadFormat(const AmiNode& node);
    /// The taps of a filter may stand in one parameter's Value.
    bool HasRightCount(const AmiNode& node, const std::vector<AmiWord>& data,
                       std::size_t count) const;
    void ReadValues(const std::vector<AmiWord>& data);
    void ReadTable(const AmiNode& node);
    void CheckColumns(const AmiNode& node);
    void ReadDefault(const AmiNode& node);
    void ChooseDefault();
    /// The value as the standard writes it, with findings on how the file does.
    std::optional<std::string> ReadValue(const AmiWord& word, Type type);
    void CheckTips();
    std::vector<std::string> TextsOf(Leaf leaf) const;
    static std::vector<std::string> Texts(const AmiNode& node);
    void Fail(const Rule& rule, Place place, const std::string& text, std::string remedy = {});

    AmiParameter& parameter_;
    std::string path_;
    Findings& findings_;
    std::array<const AmiNode*, kLabels + 1> leaves_{};
};

}  // namespace ibis
