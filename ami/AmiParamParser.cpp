#include "ami/AmiParamParser.hpp"

#include <cstring>

#include "ami/ParserHelpers.hpp"
#include "runtime/Assertion.hpp"
#include "runtime/NumberText.hpp"
#include "runtime/Numeric.hpp"

namespace Vantor::AMI {

namespace {

/// What remains of path after name and "."; null when path does not begin so.
const char* PathAfter(const char* path, const char* name)
{
    const std::size_t iLength = std::strlen(name);
    const bool bBegins = std::strncmp(path, name, iLength) == 0 && path[iLength] == '.';
    return bBegins ? path + iLength + 1 : nullptr;
}

/// A branch whose children are being searched.
struct OpenBranch
{
    const BRANCH_STRUCT* branch;
    const char* rest;  ///< of the path, below the branch
    int nextChild;
};

}  // namespace

ParamParser::ParamParser(const char* text)
{
    valid = GetParsedTree(text, &tree) == PARSE_SUCCESS;
}

ParamParser::~ParamParser()
{
    FreeParsedTree(&tree);
}

const LEAF_STRUCT* ParamParser::GetLeaf(const char* path) const
{
    if (!valid || !tree) return nullptr;
    const NODE_STRUCT& root = tree->nodes[0];
    if (root.enumNodeType != NODE_TYPE_BRANCH || !root.record) return nullptr;
    return FindLeafWithName(BranchOf(root), path, "");
}

const LEAF_STRUCT* ParamParser::FindLeafWithName(const BRANCH_STRUCT* branch, const char* path,
                                                 const char* prefix)
{
    assert(branch);
    const char* rest = *prefix == '\0' ? path : PathAfter(path, prefix);
    if (rest) rest = PathAfter(rest, branch->name);
    if (!rest) return nullptr;

    // Only branches whose own path begins the one sought are entered. Names may hold dots, so more
    // than one branch can qualify, and what the first lacks is sought in the next. Every open
    // branch has used up a dot of the path at least, which bounds their number.
    int iDots = 0;
    for (const char* p = path; *p != '\0'; ++p) iDots += *p == '.';
    auto* pOpen = ParserHelpers::AllocateArray<OpenBranch>(iDots);
    if (!pOpen) return nullptr;
    int iOpen = 0;
    pOpen[iOpen++] = {branch, rest, 0};
    const LEAF_STRUCT* pFound = nullptr;
    while (iOpen > 0 && !pFound) {
        OpenBranch& top = pOpen[iOpen - 1];
        if (top.nextChild == top.branch->numberOfChildren) {
            --iOpen;
            continue;
        }
        const NODE_STRUCT& node = top.branch->children[top.nextChild++];
        if (node.enumNodeType == NODE_TYPE_LEAF) {
            if (std::strcmp(LeafOf(node)->name, top.rest) == 0) pFound = LeafOf(node);
            continue;
        }
        assert(node.enumNodeType == NODE_TYPE_BRANCH);
        branch = BranchOf(node);
        assert(branch);
        rest = PathAfter(top.rest, branch->name);
        if (rest) pOpen[iOpen++] = {branch, rest, 0};
    }
    ParserHelpers::FreeAndNull(pOpen);
    return pFound;
}

bool ParamParser::IsParamLeafBranch(const BRANCH_STRUCT* branch)
{
    assert(branch);
    return branch->numberOfChildren > 0 && branch->children[0].enumNodeType == NODE_TYPE_LEAF;
}

const VALUE_STRUCT* ParamParser::FirstValue(const char* path) const
{
    const LEAF_STRUCT* pLeaf = GetLeaf(path);
    return pLeaf ? pLeaf->values : nullptr;
}

bool ParamParser::GetValue(double& out, const char* path) const
{
    const VALUE_STRUCT* pValue = FirstValue(path);
    if (!pValue) return false;
    if (pValue->valueType != VALUE_TYPE_INTEGER && pValue->valueType != VALUE_TYPE_FLOATING) {
        return false;
    }
    ReadNumber(pValue->text, out);
    return true;
}

bool ParamParser::GetValue(int& out, const char* path) const
{
    double dValue = 0.0;
    if (!GetValue(dValue, path)) return false;
    out = ToInt32(dValue);
    return true;
}

bool ParamParser::GetValue(bool& out, const char* path) const
{
    const VALUE_STRUCT* pValue = FirstValue(path);
    if (!pValue || pValue->valueType != VALUE_TYPE_BOOLEAN) return false;
    out = std::strcmp(pValue->text, "True") == 0;
    return true;
}

bool ParamParser::GetValue(char* out, const char* path) const
{
    const VALUE_STRUCT* pValue = FirstValue(path);
    if (!pValue || pValue->valueType != VALUE_TYPE_STRING) return false;
    delete[] out;
    return true;
}

}  // namespace Vantor::AMI
