#include "ami/ParameterTree.hpp"

#include <algorithm>
#include <climits>
#include <cstddef>

#include "ami/ParserHelpers.hpp"

using ParserHelpers::FreeAndNull;

namespace {

/// Appends every node to the children of its parent. The scanner opens no list without a branch
/// around it, so a node's parent is the latest branch one level up; only a second root has none.
int LinkChildren(const TREE_STRUCT& tree)
{
    int iDeepest = 1;
    for (int i = 0; i < tree.numberOfNodes; ++i) {
        iDeepest = std::max(iDeepest, tree.nodes[i].level);
    }
    auto** ppLatest = ParserHelpers::AllocateArray<BRANCH_STRUCT*>(iDeepest);
    if (!ppLatest) return PARSE_OUT_OF_MEMORY;

    int iResult = PARSE_SUCCESS;
    for (int i = 0; i < tree.numberOfNodes && iResult == PARSE_SUCCESS; ++i) {
        const NODE_STRUCT& node = tree.nodes[i];
        if (!node.record) break;
        if (node.enumNodeType == NODE_TYPE_BRANCH) ppLatest[node.level - 1] = BranchOf(node);
        if (i == 0) continue;
        if (node.level == 1) {
            iResult = PARSE_SECOND_ROOT;
            continue;
        }
        BRANCH_STRUCT* pParent = ppLatest[node.level - 2];
        if (ParserHelpers::MakeRoomForOne(pParent->children, pParent->numberOfChildren)) {
            pParent->children[pParent->numberOfChildren++] = node;
        } else {
            iResult = PARSE_OUT_OF_MEMORY;
        }
    }
    FreeAndNull(ppLatest);
    return iResult;
}

}  // namespace

int GetParsedTree(const char* text, TREE_STRUCT** tree)
{
    if (!text || !tree) return PARSE_NULL_ARGUMENT;
    text = ParserHelpers::SkipWhitespace(text);
    if (*text != '(') return PARSE_NO_LIST;
    int iCapacity = 0;
    if (!ISValidBuffer(text, &iCapacity)) return PARSE_UNBALANCED;

    auto* pTree = ParserHelpers::AllocateArray<TREE_STRUCT>(1);
    if (!pTree) return PARSE_OUT_OF_MEMORY;
    int iResult = PARSE_OUT_OF_MEMORY;
    pTree->nodes = ParserHelpers::AllocateArray<NODE_STRUCT>(iCapacity);
    if (pTree->nodes) {
        pTree->numberOfNodes = iCapacity;
        iResult = ScanForNodes(text, pTree->nodes, iCapacity);
    }
    if (iResult == PARSE_SUCCESS) iResult = LinkChildren(*pTree);
    if (iResult != PARSE_SUCCESS) {
        FreeParsedTree(&pTree);
        return iResult;
    }
    *tree = pTree;
    return PARSE_SUCCESS;
}

void FreeParsedTree(TREE_STRUCT** tree)
{
    if (!tree || !*tree) return;
    for (int i = 0; i < (*tree)->numberOfNodes; ++i) FreeNode(&(*tree)->nodes[i]);
    FreeAndNull((*tree)->nodes);
    FreeAndNull(*tree);
}

void FreeNode(NODE_STRUCT* node)
{
    // A tree without a node list has no nodes either.
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference)
    if (node->record && node->enumNodeType == NODE_TYPE_BRANCH) {
        FreeAndNull(BranchOf(*node)->name);
        FreeAndNull(BranchOf(*node)->children);
    } else if (node->record) {
        LEAF_STRUCT* pLeaf = LeafOf(*node);
        for (int i = 0; i < pLeaf->numberOfValues; ++i) FreeAndNull(pLeaf->values[i].text);
        FreeAndNull(pLeaf->values);
        FreeAndNull(pLeaf->name);
    }
    FreeAndNull(node->record);
    *node = {};
}

bool ISValidBuffer(const char* text, int* count)
{
    std::size_t iOpening = 0;
    std::size_t iClosing = 0;
    bool bQuoted = false;
    for (; *text != '\0'; ++text) {
        if (*text == '"') bQuoted = !bQuoted;
        if (*text == '(' && !bQuoted) ++iOpening;
        if (*text == ')' && !bQuoted) ++iClosing;
    }
    const bool bValid = iOpening == iClosing && iOpening <= INT_MAX;
    *count = bValid ? static_cast<int>(iOpening) : 0;
    return bValid;
}
