#include <cstring>
#include <iterator>

#include "ami/ParameterTree.hpp"
#include "runtime/NumberText.hpp"

namespace {

/// The position of a text in a table of texts, or -1.
template <class Table>
int PositionIn(const Table& table, const char* pText)
{
    for (std::size_t i = 0; i < std::size(table); ++i) {
        if (std::strcmp(table[i], pText) == 0) return static_cast<int>(i);
    }
    return -1;
}

}  // namespace

int GetValueType(const char* text)
{
    if (!text || *text == '\0') return VALUE_TYPE_EMPTY;
    if (*Vantor::PassInteger(text) == '\0') return VALUE_TYPE_INTEGER;
    double dValue = 0.0;
    if (*Vantor::ReadNumber(text, dValue) == '\0') return VALUE_TYPE_FLOATING;
    const bool bBoolean = std::strcmp(text, "True") == 0 || std::strcmp(text, "False") == 0;
    return bBoolean ? VALUE_TYPE_BOOLEAN : VALUE_TYPE_STRING;
}

void s_setStringType(VALUE_STRUCT* value, const char* text)
{
    // The position is the code.
    static constexpr const char* kKeywords[] = {
        "In",        "Out",   "Info",  "InOut",    "Float",      "Integer", "String",
        "Boolean",   "Tap",   "UI",    "Value",    "Range",      "List",    "Corner",
        "Increment", "Steps", "Table", "Gaussian", "Dual-Dirac", "DjRj"};
    const int iCode = PositionIn(kKeywords, text);
    if (iCode >= 0) value->stringType = iCode;
}

int GetKeywordCode(const char* name)
{
    // The position plus one is the code; other names are found nowhere and give zero.
    static constexpr const char* kNames[] = {"Usage",   "Type",        "Format",
                                             "Default", "Description", "Labels"};
    return PositionIn(kNames, name) + 1;
}
