#include "ami/AmiParamParser.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace {

using Vantor::AMI::ParamParser;

/// What the look-ups of each type find at path: "int double" of a number, "true" or "false",
/// "string", or "none". Checks that a failed one leaves its target alone.
std::string Found(const std::string& text, const char* path)
{
    const ParamParser parser(text.c_str());
    double dValue = -77.0;
    int iValue = -77;
    bool bValue = true;
    const bool bNumber = parser.GetValue(iValue, path);
    EXPECT_EQ(parser.GetValue(dValue, path), bNumber);
    if (bNumber) {
        char acText[64];
        std::snprintf(acText, sizeof acText, "%d %g", iValue, dValue);
        return acText;
    }
    EXPECT_EQ(iValue, -77);
    EXPECT_EQ(dValue, -77.0);
    if (parser.GetValue(bValue, path)) return bValue ? "true" : "false";
    EXPECT_TRUE(bValue);
    char* pText = new char[4];
    if (parser.GetValue(pText, path)) return "string";
    delete[] pText;
    return "none";
}

TEST(ParamParser, FindsTypedValuesByPath)
{
    static const char* const kTable[][3] = {
        {"(R (E 5)(F 2))", "R.F", "2 2"},
        {"(R (E -2.7))", "R.E", "-2 -2.7"},
        {"(R (E nan))", "R.E", "-2147483648 nan"},
        {"(R (E 99999999999999999999))", "R.E", "-2147483648 1e+20"},
        {"(R (E True))", "R.E", "true"},
        {"(R (E False))", "R.E", "false"},
        {"(R (E TRUE))", "R.E", "string"},
        {"(R (E \"\" 5))", "R.E", "none"},
        {"(R (E 5)", "R.E", "none"},
        {"(R (E 5))", "r.E", "none"},
        {"(R (E 5))", "E", "none"},
        {"(R 5)", "R", "none"},
        {"(R 1 (E 5))", "R.E", "none"},
        {"(R (S (E 5)))", "R.S.E", "5 5"},
        // Several leaves with one path.
        {"(R (E x)(E 5))", "R.E", "string"},
        {"(R (E)(E 5))", "R.E", "none"},
        {"(R (E ())(E 5))", "R.E", "5 5"},
        {"(R (S (x 1))(S (E 2))(S (E 3)))", "R.S.E", "2 2"},
        // Names with dots.
        {"(R (S.T (x 1))(S (T (E 2)))(S (T.E 3)))", "R.S.T.E", "2 2"},
        {"(R (. (E 5)))", "R...E", "5 5"},
    };
    for (const auto& row : kTable)
        EXPECT_EQ(Found(row[0], row[1]), row[2]) << row[0] << ' ' << row[1];
}

TEST(ParamParser, SearchesBelowABranchWithItsPrefix)
{
    char acBranch[] = "S";
    char acLeaf[] = "E";
    LEAF_STRUCT leaf{acLeaf, nullptr, 0, 0};
    NODE_STRUCT node{NODE_TYPE_LEAF, 2, &leaf};
    const BRANCH_STRUCT branch{acBranch, &node, 1};
    EXPECT_EQ(ParamParser::FindLeafWithName(&branch, "Q.R.S.E", "Q.R"), &leaf);
    EXPECT_EQ(ParamParser::FindLeafWithName(&branch, "Q.S.E", "R"), nullptr);
    EXPECT_TRUE(ParamParser::IsParamLeafBranch(&branch));
    EXPECT_DEATH(ParamParser::FindLeafWithName(nullptr, "a", ""), "`branch'");
    EXPECT_DEATH(ParamParser::IsParamLeafBranch(nullptr), "`branch'");
}

TEST(ParamParser, SearchesAnyDepth)
{
    const int iDepth = 200000;
    std::string text;
    std::string path;
    for (int i = 0; i < iDepth; ++i) text += "(a(a 0)(.)", path += "a.";
    text += "(b 7)" + std::string(iDepth, ')');
    EXPECT_EQ(Found(text, (path + "b").c_str()), "7 7");
    EXPECT_EQ(Found(text, (path + "c").c_str()), "none");
}

}  // namespace
