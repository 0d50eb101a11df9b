#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/FileError.hpp"

/// Reading of IBIS-AMI parameter definition files (.ami; IBIS 7.2 section 10) and of the parts of
/// .ibs files that name them.
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

/// The words of the standard for the enumerators ("InOut", "UI", "Dual-Dirac").
std::string_view Name(Usage usage);
std::string_view Name(Type type);
std::string_view Name(Format format);

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
    std::string defaultValue;                    ///< Default, else the Format's first value, or ""
    std::string description;
    int line = 0;  ///< of the opening parenthesis, from 1

    /// Dotted path below the root, without Reserved_Parameters and Model_Specific: "taps.-1".
    std::string Path() const;

    /// True for In and InOut, the usages that a host sends to AMI_Init.
    bool IsInput() const { return usage == Usage::In || usage == Usage::InOut; }

    /// What the Format admits, for people: "0 to 31", "0, 1, 2", "any integer".
    std::string AllowedValues() const;
};

struct AmiFile
{
    std::filesystem::path path;
    std::string rootName;     ///< name of the tree's root, which heads the parameter string too
    std::string description;  ///< the root's own Description
    std::vector<AmiParameter> parameters;  ///< in document order
    std::vector<std::string> notes;        ///< departures from the standard that do not keep the
                                           ///< model from running, each "file:line: what is wrong"

    /// The parameter of this dotted path (with or without the root's name in front), or of this
    /// leaf name if only one parameter bears it; null otherwise.
    const AmiParameter* Find(std::string_view name) const;

    /// Value of a reserved parameter such as Ignore_Bits or GetWave_Exists, if the file states it.
    std::optional<std::string> Reserved(std::string_view name) const;
};

/// Reads an .ami file. Throws FileError at the first thing that cannot be understood.
AmiFile ReadAmiFile(const std::filesystem::path& path);

/// The same from a text already in memory; path serves for messages only.
AmiFile ParseAmiText(std::string_view text, const std::filesystem::path& path);

}  // namespace ibis
