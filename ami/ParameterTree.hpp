#pragma once

/// The parameter string of the IBIS-AMI interface as a tree: "(root (name value) (branch (name
/// value value)))". How a text is read stands in NodeScanner.cpp.

/// What a value's text can be read as.
enum VALUE_TYPE : int {
    VALUE_TYPE_EMPTY = -1,
    VALUE_TYPE_STRING = 0,
    VALUE_TYPE_INTEGER = 1,   ///< all of it a decimal integer, however long
    VALUE_TYPE_BOOLEAN = 2,   ///< "True" or "False", in this spelling
    VALUE_TYPE_FLOATING = 3,  ///< all of it a number of the C library, but no integer
};

enum NODE_TYPE : int { NODE_TYPE_BRANCH = 0, NODE_TYPE_LEAF = 1 };

/// What the functions below return.
enum PARSE_RESULT : int {
    PARSE_SUCCESS = 0,
    PARSE_UNBALANCED = 1,  ///< parentheses outside quotes do not balance
    PARSE_NO_LIST = 2,     ///< the first character is not "("
    PARSE_NULL_ARGUMENT = 3,
    PARSE_OUT_OF_MEMORY = 4,
    PARSE_SECOND_ROOT = 5,     ///< a list after the root list
    PARSE_BELOW_ROOT = 6,      ///< a ")" with no list open
    PARSE_TOO_MANY_NODES = 7,  ///< more lists than "(" outside quotes: a name holds a quote
    PARSE_EMPTY_NAME = 8,
};

struct VALUE_STRUCT
{
    char* text;
    int valueType;   ///< one of VALUE_TYPE
    int stringType;  ///< of a keyword its code; else -1 for the last value of a leaf, 0 before
};

struct LEAF_STRUCT
{
    char* name;
    VALUE_STRUCT* values;  ///< in document order; null without values
    int numberOfValues;
    int keyword;  ///< 1 to 6 for Usage, Type, Format, Default, Description, Labels; else 0
};

/// A node of the tree. An entry of zeroes - a branch without a record - stands for no node.
struct NODE_STRUCT
{
    NODE_TYPE enumNodeType;
    int level;     ///< 1 for the root list, 2 for its children, ...
    void* record;  ///< the BRANCH_STRUCT or LEAF_STRUCT
};

struct BRANCH_STRUCT
{
    char* name;
    NODE_STRUCT* children;  ///< in document order; the records belong to the tree's node list
    int numberOfChildren;
};

/// The tree. Its node list, in document order, owns all records. It has an entry for each "(" of
/// the text; those that found no node stay zero. The first entry is the root.
struct TREE_STRUCT
{
    NODE_STRUCT* nodes;
    int numberOfNodes;
};

inline BRANCH_STRUCT* BranchOf(const NODE_STRUCT& node)
{
    return static_cast<BRANCH_STRUCT*>(node.record);
}

inline LEAF_STRUCT* LeafOf(const NODE_STRUCT& node)
{
    return static_cast<LEAF_STRUCT*>(node.record);
}

/// Parses text, which stays as it is, into a new tree that the caller frees. Returns a PARSE_RESULT
/// and leaves *tree alone unless that is PARSE_SUCCESS.
int GetParsedTree(const char* text, TREE_STRUCT** tree);

/// Frees *tree and all it holds, and sets *tree to null. Both may be null.
void FreeParsedTree(TREE_STRUCT** tree);

/// Frees a node's record and zeroes the entry.
void FreeNode(NODE_STRUCT* node);

/// Writes the nodes of text, in document order and not yet linked to their parents, into nodes, an
/// array of count zeroed entries. Returns a PARSE_RESULT; the caller frees what was made until
/// then.
int ScanForNodes(const char* text, NODE_STRUCT* nodes, int count);

/// True when as many "(" as ")" stand outside double quotes; *count is then their number, else 0.
bool ISValidBuffer(const char* text, int* count);

/// Returns the VALUE_TYPE of a text; null counts as empty.
int GetValueType(const char* text);

/// Sets a value's string type when text is a keyword, and leaves it alone otherwise.
void s_setStringType(VALUE_STRUCT* value, const char* text);

/// Returns LEAF_STRUCT::keyword for a leaf's name.
int GetKeywordCode(const char* name);
