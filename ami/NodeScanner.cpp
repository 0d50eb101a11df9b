#include <cstring>

#include "ami/ParameterTree.hpp"
#include "ami/ParserHelpers.hpp"

// The language, read in one pass from left to right:
//
//   text   = { stray | list }
//   list   = "(" ")"                          no node
//          | "(" name { stray | list } ")"    a branch, when "(" comes first after the name
//          | "(" name { value } ")"           a leaf otherwise; there may be no values
//   name   = one or more characters other than whitespace, "(" and ")"; quotes are ordinary here
//   value  = one or more characters other than whitespace, "(", ")" and the double quote
//          | [ such characters, dropped ] quoted
//   quoted = a double quote, the value, a double quote: anything between them is the value, nothing
//            included; what follows, even without whitespace, is the next value
//   stray  = quoted, or any other characters than "(" and ")": skipped
//
// Whitespace may stand between any two of these. A leaf with a "(" among its values is a list
// mixed of values and lists: it is passed over as a whole, to its own ")", quotes respected.
// There are no comments and no escapes.
//
// Quotes in names make the balance check see other quoted stretches than this scanner does. A text
// that is balanced there can therefore hold more lists than were counted (an error), or end inside
// a quoted value or an open list (which the end then closes).

namespace {

using ParserHelpers::IsSpace;
using ParserHelpers::SkipWhitespace;

bool EndsWord(char c)
{
    return c == '\0' || c == '(' || c == ')' || IsSpace(c);
}

/// The closing quote of the stretch that begins at pText, or the end of the text.
const char* EndOfQuoted(const char* pText)
{
    return pText + std::strcspn(pText, "\"");
}

/// The character after a position, but never one after the end of the text.
const char* After(const char* pText)
{
    return *pText == '\0' ? pText : pText + 1;
}

/// The character after the ")" that closes the list pText stands in.
const char* EndOfList(const char* pText)
{
    std::size_t iOpen = 1;
    for (; *pText != '\0'; pText = After(pText)) {
        if (*pText == '"') pText = EndOfQuoted(pText + 1);
        if (*pText == '(') ++iOpen;
        if (*pText == ')' && --iOpen == 0) return pText + 1;
    }
    return pText;
}

class NodeScanner
{
public:
    NodeScanner(const char* pText, NODE_STRUCT* pNodes, int iCapacity)
        : m_pText(pText), m_pNodes(pNodes), m_iCapacity(iCapacity)
    {
    }

    int Scan();

private:
    int BeginList();
    template <class Record>
    Record* MakeRecord(NODE_TYPE type, const char* pName, const char* pNameEnd);
    int ReadValues(LEAF_STRUCT* pLeaf);
    bool ReadValue(LEAF_STRUCT* pLeaf);

    const char* m_pText;  ///< the next character to be read
    NODE_STRUCT* m_pNodes;
    int m_iCapacity;
    int m_iNodes = 0;
    int m_iLevel = 0;  ///< lists that are open
};

/// Reads between lists: all that can stand there until the end of the text.
int NodeScanner::Scan()
{
    for (;;) {
        m_pText = SkipWhitespace(m_pText);
        switch (*m_pText) {
            case '\0':
                return PARSE_SUCCESS;
            case '(':
                ++m_pText;
                ++m_iLevel;
                if (const int iResult = BeginList(); iResult != PARSE_SUCCESS) return iResult;
                break;
            case ')':
                ++m_pText;
                if (m_iLevel == 0) return PARSE_BELOW_ROOT;
                --m_iLevel;
                break;
            case '"':
                m_pText = After(EndOfQuoted(m_pText + 1));
                break;
            default:
                ++m_pText;
        }
    }
}

/// Reads what follows "(": the name, and of a leaf all that remains. A branch, and a list without
/// name and content, are left open.
int NodeScanner::BeginList()
{
    const char* pName = SkipWhitespace(m_pText);
    const char* pNameEnd = pName;
    while (!EndsWord(*pNameEnd)) ++pNameEnd;
    m_pText = pName;
    if (*pName == ')') return PARSE_SUCCESS;
    if (pNameEnd == pName) return PARSE_EMPTY_NAME;
    if (m_iNodes == m_iCapacity) return PARSE_TOO_MANY_NODES;

    m_pText = SkipWhitespace(pNameEnd);
    if (*m_pText == '(') {
        if (!MakeRecord<BRANCH_STRUCT>(NODE_TYPE_BRANCH, pName, pNameEnd)) {
            return PARSE_OUT_OF_MEMORY;
        }
        ++m_iNodes;
        return PARSE_SUCCESS;
    }
    auto* pLeaf = MakeRecord<LEAF_STRUCT>(NODE_TYPE_LEAF, pName, pNameEnd);
    if (!pLeaf) return PARSE_OUT_OF_MEMORY;
    pLeaf->keyword = GetKeywordCode(pLeaf->name);
    return ReadValues(pLeaf);
}

/// Fills the next entry of the node list. What a failure leaves there is freed with the list.
template <class Record>
Record* NodeScanner::MakeRecord(NODE_TYPE type, const char* pName, const char* pNameEnd)
{
    auto* pRecord = ParserHelpers::AllocateArray<Record>(1);
    if (!pRecord) return nullptr;
    m_pNodes[m_iNodes] = {type, m_iLevel, pRecord};
    pRecord->name = ParserHelpers::CopyText(pName, static_cast<std::size_t>(pNameEnd - pName));
    return pRecord->name ? pRecord : nullptr;
}

/// Reads a leaf to its end and keeps it, or passes over it when there is a list among its values.
int NodeScanner::ReadValues(LEAF_STRUCT* pLeaf)
{
    while (*m_pText != '(' && *m_pText != ')' && *m_pText != '\0') {
        if (!ReadValue(pLeaf)) return PARSE_OUT_OF_MEMORY;
    }
    if (*m_pText == '(') {
        FreeNode(&m_pNodes[m_iNodes]);
        m_pText = EndOfList(m_pText);
    } else {
        m_pText = After(m_pText);
        ++m_iNodes;
    }
    --m_iLevel;
    return PARSE_SUCCESS;
}

/// Reads one value and the whitespace after it.
bool NodeScanner::ReadValue(LEAF_STRUCT* pLeaf)
{
    const char* pStart = m_pText;
    const char* pEnd = pStart;
    while (!EndsWord(*pEnd) && *pEnd != '"') ++pEnd;
    m_pText = pEnd;
    if (*pEnd == '"') {
        pStart = pEnd + 1;
        pEnd = EndOfQuoted(pStart);
        m_pText = After(pEnd);
    }
    m_pText = SkipWhitespace(m_pText);

    if (!ParserHelpers::MakeRoomForOne(pLeaf->values, pLeaf->numberOfValues)) return false;
    char* pText = ParserHelpers::CopyText(pStart, static_cast<std::size_t>(pEnd - pStart));
    if (!pText) return false;
    const bool bLast = *m_pText == ')' || *m_pText == '\0';
    VALUE_STRUCT& value = pLeaf->values[pLeaf->numberOfValues++];
    value = {pText, GetValueType(pText), bLast ? -1 : 0};
    if (value.valueType == VALUE_TYPE_STRING) s_setStringType(&value, pText);
    return true;
}

}  // namespace

int ScanForNodes(const char* text, NODE_STRUCT* nodes, int count)
{
    return NodeScanner(text, nodes, count).Scan();
}
