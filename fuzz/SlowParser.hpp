#pragma once

#include <optional>
#include <string>
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

struct Tree
{
    int Code = 0;             ///< 0, or why there is no tree
    std::vector<Node> Roots;  ///< one, or none where there are only empty lists

    /// The first leaf of this dotted path; null where there is none.
    const Node* Find(const std::string& path) const;

    /// The dotted paths of all leaves.
    std::vector<std::string> Paths() const;
};

Tree Parse(const std::string& text);

}  // namespace slow
