#pragma once

#include "ami/ParameterTree.hpp"

namespace Vantor::AMI {

/// Typed look-up in the parameter string of AMI_Init. A parameter goes by its dotted path, the
/// names from the root list to the leaf joined with "."; case matters, and of several leaves with
/// one path the first counts. Only a leaf's first value is read. A text that cannot be parsed has
/// no leaves.
class ParamParser
{
public:
    explicit ParamParser(const char* text);
    ParamParser(const ParamParser&) = delete;
    ParamParser& operator=(const ParamParser&) = delete;
    ~ParamParser();

    /// Returns the leaf at path, or null. The parser owns it.
    const LEAF_STRUCT* GetLeaf(const char* path) const;

    /// Returns the first leaf, depth first in document order, below branch (not null) whose path is
    /// path; prefix is the path of branch's own parent, empty for the root. Null when there is
    /// none, or no memory for the search, which needs some for each "." in path.
    static const LEAF_STRUCT* FindLeafWithName(const BRANCH_STRUCT* branch, const char* path,
                                               const char* prefix);

    /// True when the first child of branch (not null) is a leaf.
    static bool IsParamLeafBranch(const BRANCH_STRUCT* branch);

    /// Stores the parameter's value in out and returns true, or leaves out alone and returns false
    /// when there is no such parameter or it has no value of the type. An int accepts any number,
    /// truncated toward zero, INT_MIN when out of range; a bool accepts "True" and "False".
    bool GetValue(double& out, const char* path) const;
    bool GetValue(int& out, const char* path) const;
    bool GetValue(bool& out, const char* path) const;

    /// Returns true when the parameter's value is a string, and then deletes the array out. The
    /// text itself is not handed back: out is passed by value.
    bool GetValue(char* out, const char* path) const;

private:
    const VALUE_STRUCT* FirstValue(const char* path) const;

    bool valid = false;
    TREE_STRUCT* tree = nullptr;
};

}  // namespace Vantor::AMI
