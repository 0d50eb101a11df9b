#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Error.hpp"
#include "ibis/ami/AmiTree.hpp"
#include "ibis/findings/Findings.hpp"

/// Reading and checking of IBIS files; here of IBIS-AMI parameter definition files (.ami; IBIS 7.2
/// section 10).
namespace ibis {

enum class Usage { In, Out, Info, InOut, Dep };
enum class Type { Float, Integer, String, Boolean, Tap, UI };
enum class Format {
    None,       ///< no Format: a lone Default, or an Out that needs neither
    Value,      ///< value
    Range,      ///< typ min max
    List,       ///< value value ...; the first is the default unless Default says otherwise
    Corner,     ///< typ slow fast
    Increment,  ///< typ min max delta
    Steps,      ///< typ min max number-of-steps
    Table,      ///< rows
    Gaussian,   ///< mean sigma
    DualDirac,  ///< mean mean sigma
    DjRj        ///< min max sigma
};

/// The words of the standard for the enumerators, in their order.
inline constexpr std::array<std::string_view, 5> kUsageNames{"In", "Out", "Info", "InOut", "Dep"};
inline constexpr std::array<std::string_view, 6> kTypeNames{"Float",   "Integer", "String",
                                                            "Boolean", "Tap",     "UI"};
inline constexpr std::array<std::string_view, 11> kFormatNames{
    "None",  "Value", "Range",    "List",       "Corner", "Increment",
    "Steps", "Table", "Gaussian", "Dual-Dirac", "DjRj"};

constexpr std::string_view Name(Usage usage)
{
    return kUsageNames[static_cast<std::size_t>(usage)];
}
constexpr std::string_view Name(Type type)
{
    return kTypeNames[static_cast<std::size_t>(type)];
}
constexpr std::string_view Name(Format format)
{
    return kFormatNames[static_cast<std::size_t>(format)];
}

/// One parameter of an .ami file. Values are kept as the file writes them, without quotes: 8.0e8
/// stays 8.0e8.
struct AmiParameter
{
    std::vector<std::string> groups;  ///< enclosing branches below Reserved_Parameters or
                                      ///< Model_Specific, outermost first
    std::string name;                 ///< the leaf's own name, such as EQ_Level, or -1 for a tap
    bool reserved = false;            ///< stands under Reserved_Parameters
    Usage usage = Usage::In;
    Type type = Type::Float;
    Format format = Format::None;
    std::vector<std::string> values;             ///< the Format's data, in file order
    std::vector<std::string> tips;               ///< List_Tip, one for each List value, or empty
    std::vector<Type> columns;                   ///< Table: the type of each column
    std::vector<std::vector<std::string>> rows;  ///< Table: its rows, without Labels
    std::vector<std::string> labels;             ///< Table: its column labels, or empty
    std::optional<std::string> statedDefault;    ///< Default, as far as it is of the type
    std::string defaultValue;  ///< what is sent: Value or Default, else the Format's first value
    std::string description;
    Place place;                 ///< of the opening parenthesis
    std::optional<Fault> fault;  ///< why it can be neither sent nor set; Format and values are
                                 ///< left out then

    /// Dotted path below the root, without Reserved_Parameters and Model_Specific: "taps.-1".
    std::string Path() const;

    /// True for In and InOut, the usages that a host sends to AMI_Init.
    bool IsInput() const { return usage == Usage::In || usage == Usage::InOut; }

    /// False for a parameter that states neither a Format's values nor a Default.
    bool HasValue() const { return !values.empty() || !rows.empty() || statedDefault; }

    /// What the Format admits, for people: "0 to 31", "0, 1, 2", "any integer".
    std::string AllowedValues() const;
};

struct AmiFile
{
    std::filesystem::path path;
    std::string rootName;     ///< name of the tree's root, which heads the parameter string too
    std::string description;  ///< the root's own Description
    std::vector<AmiParameter> parameters;  ///< in document order
    Place reserved;                        ///< of Reserved_Parameters, if it is there
    bool isParameterString = false;        ///< what AMI_Init is handed rather than definitions
    std::optional<Fault> fault;  ///< why it cannot be used as a whole: parameters may be missing

    /// The parameter of this dotted path (with or without the root's name in front), or of this
    /// leaf name if only one parameter bears it; null otherwise.
    const AmiParameter* Find(std::string_view name) const;

    /// The parameter of this name in Reserved_Parameters, or null.
    const AmiParameter* FindReserved(std::string_view name) const;

    /// Value of a reserved parameter such as Ignore_Bits or GetWave_Exists, if the file states it.
    std::optional<std::string> Reserved(std::string_view name) const;
};

/// Reads an .ami file. Whatever is wrong with its content goes to the findings (rules 820 to 863)
/// and reading goes on. Throws Error for a file that cannot be read at all.
AmiFile ReadAmiFile(const std::filesystem::path& path, Findings& findings);

/// The same from a text already in memory; path serves for messages only.
AmiFile ParseAmiText(std::string_view text, const std::filesystem::path& path, Findings& findings);

/// True for a tree of values without Usage and Type, such as "(Root (Mode 1))": the parameter
/// string that AMI_Init is handed, or what it hands back.
bool IsParameterString(const AmiNode& root);

}  // namespace ibis
