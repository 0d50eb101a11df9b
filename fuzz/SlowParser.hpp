#pragma once

#include <string>
#include <utility>
#include <vector>

/// The parameter string's language read as plainly as can be, to compare the model's parser with:
/// copies everything, recurses for each list, knows nothing of memory.
namespace slow {

struct Value
{
    std::string Text;
    int Type = 0;  ///< -1 empty, 0 string, 1 integer, 2 boolean, 3 floating
    bool Last = false;
};

struct Node
{
    std::string Name;
    bool IsBranch = false;
    int Level = 1;
    std::vector<Value> Values;
    std::vector<Node> Children;
};

/// Leaves with their dotted paths.
using Paths = std::vector<std::pair<std::string, const Node*>>;

struct Tree
{
    int Code = 0;             ///< 0, or why there is no tree
    std::vector<Node> Roots;  ///< one, or none where there are only empty lists

    /// All leaves that can be looked up, in the order of the text.
    Paths Leaves() const;
};

Tree Parse(const std::string& text);

}  // namespace slow
