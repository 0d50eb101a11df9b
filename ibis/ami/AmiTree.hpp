#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "ibis/FileError.hpp"

namespace ibis {

/// A word or a quoted text of an .ami file.
struct AmiWord
{
    std::string text;  ///< without quotes; a line break within them has become one blank
    bool quoted = false;
    int line = 0;
};

/// A parenthesised list: a name, then words and lists. Which of the two may follow which name is
/// not the tree's business.
struct AmiNode
{
    std::string name;
    bool quoted = false;  ///< the name stands in quotes, as only a table's first column may
    int line = 0;         ///< of the opening parenthesis
    std::vector<AmiWord> words;
    std::vector<AmiNode> children;

    const AmiNode* Child(std::string_view childName) const;
};

/// Reads one parenthesised tree. A '|' outside quotes begins a comment that ends with the line.
/// Throws FileError where the text is anything but a single tree.
AmiNode ParseAmiTree(std::string_view text, const std::filesystem::path& path);

}  // namespace ibis
