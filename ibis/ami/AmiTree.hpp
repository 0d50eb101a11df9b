#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/findings/Findings.hpp"

namespace ibis {

/// A word or a quoted text of an .ami file.
struct AmiWord
{
    std::string text;  ///< without quotes; a line break within them has become one blank
    bool quoted = false;
    Place place;
};

/// A parenthesised list: a name, then words and lists. Which of the two may follow which name is
/// not the tree's business.
struct AmiNode
{
    std::string name;     ///< empty where the file has none
    bool quoted = false;  ///< the name stands in quotes, as only a table's first column may
    Place place;          ///< of the opening parenthesis
    std::vector<AmiWord> words;
    std::vector<AmiNode> children;

    const AmiNode* Child(std::string_view childName) const;
};

/// Why something cannot be used.
struct Fault
{
    Place place;
    std::string text;
};

struct AmiTree
{
    AmiNode root;
    std::optional<Fault> fault;  ///< the text is no single whole tree: what was read may lack parts
};

/// Reads one parenthesised tree. A '|' outside quotes begins a comment that ends with the line.
/// What is wrong with the text (rules 820 to 831) goes to the findings, and reading goes on.
AmiTree ParseAmiTree(std::string_view text, Findings& findings);

}  // namespace ibis
