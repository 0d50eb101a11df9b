#include "ami/ParameterTree.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

namespace {

int g_iAllocationsLeft = -1;  ///< after so many the next one fails; below zero none does

bool Refused()
{
    return g_iAllocationsLeft >= 0 && g_iAllocationsLeft-- == 0;
}

}  // namespace

extern "C" {
void* __real_calloc(size_t iCount, size_t iSize);
void* __real_realloc(void* pBlock, size_t iSize);
void* __wrap_calloc(size_t iCount, size_t iSize)
{
    return Refused() ? nullptr : __real_calloc(iCount, iSize);
}
void* __wrap_realloc(void* pBlock, size_t iSize)
{
    return Refused() ? nullptr : __real_realloc(pBlock, iSize);
}
}

namespace {

/// A node as parameter text, each value between quotes and with its type.
std::string Printed(const NODE_STRUCT& node, int iLevel)
{
    if (!node.record) return "()";
    EXPECT_EQ(node.level, iLevel);
    if (node.enumNodeType == NODE_TYPE_BRANCH) {
        std::string text = std::string("(") + BranchOf(node)->name;
        for (int i = 0; i < BranchOf(node)->numberOfChildren; ++i) {
            text += Printed(BranchOf(node)->children[i], iLevel + 1);
        }
        return text + (BranchOf(node)->numberOfChildren == 0 ? "())" : ")");
    }
    static const char* const kTypes[] = {":empty", ":string", ":int", ":bool", ":float"};
    std::string text = std::string("(") + LeafOf(node)->name;
    for (int i = 0; i < LeafOf(node)->numberOfValues; ++i) {
        const VALUE_STRUCT& value = LeafOf(node)->values[i];
        text += std::string(" \"") + value.text + '"' + kTypes[value.valueType + 1];
    }
    return text + ")";
}

std::string Parsed(const std::string& text)
{
    TREE_STRUCT* tree = nullptr;
    const int iResult = GetParsedTree(text.c_str(), &tree);
    if (iResult != 0) return "code " + std::to_string(iResult);
    const std::string printed = Printed(tree->nodes[0], 1);
    FreeParsedTree(&tree);
    EXPECT_EQ(tree, nullptr);
    return printed;
}

std::string Repeated(int iTimes, const std::string& text)
{
    std::string all;
    for (int i = 0; i < iTimes; ++i) all += text;
    return all;
}

TEST(ParameterTree, ReadsTextsAsDocumented)
{
    // Apostrophes stand for double quotes, in the texts and in the trees.
    static const char* const kTable[][2] = {
        {"\t(\nR\n(\nC\n1\n)\n)\r\n", "(R(C '1':int))"},
        {"(\xe9 (\xa0 \xff))", "(\xe9(\xa0 '\xff':string))"},
        {"(a (b) (c ))", "(a(b)(c))"},
        {"(a () (b 1) ( ))", "(a(b '1':int))"},
        // Types.
        {"(a 5 -7 +3 010 99999999999999999999)",
         "(a '5':int '-7':int '+3':int '010':int '99999999999999999999':int)"},
        {"(a 2.5e3 0x10 5. inf NaN)",
         "(a '2.5e3':float '0x10':float '5.':float 'inf':float 'NaN':float)"},
        {"(a True False true)", "(a 'True':bool 'False':bool 'true':string)"},
        {"(a 5V 1,5 - . 0x 1e)",
         "(a '5V':string '1,5':string '-':string '.':string '0x':string '1e':string)"},
        // Quotes.
        {"(a '5' ' 5' '5 ' ' ')", "(a '5':int ' 5':int '5 ':string ' ':string)"},
        {"(a '' 5)", "(a '':empty '5':int)"},
        {"(a '(x' ')')", "(a '(x':string ')':string)"},
        {"(a '5'6)", "(a '5':int '6':int)"},
        {"(a 7'')", "(a '':empty)"},
        {"('a' 5)", "('a' '5':int)"},
        // Quotes in names are ordinary: the quoted value begins where a quoted name would end.
        {"('a b' (c 1))", "('a ' (c 1))':string)"},
        {"(a'b c' 1)", "(a'b ' 1)':string)"},
        {"(a'(' 1)", "code 7"},
        // Values and lists mixed.
        {"(a (b 1(c ')' (e)) 4) (d 3))", "(a(d '3':int))"},
        {"(a 1 (b 2)) (c (d 3))", "(c(d '3':int))"},
        // Between lists.
        {"()", "()"},
        {"(a (b 1) x 'y (' 2(c 3)z)z", "(a(b '1':int)(c '3':int))"},
        // Errors.
        {"", "code 2"},
        {"(a (b 1)", "code 1"},
        {"(a 'b)", "code 1"},
        {"(a 1) (b 2)", "code 5"},
        {"(a 1)) (b (c 2)", "code 6"},
        {"((a 1))", "code 8"},
    };
    for (const auto& row : kTable) {
        std::string text = row[0];
        std::replace(text.begin(), text.end(), '\'', '"');
        std::string tree = Parsed(text);
        std::replace(tree.begin(), tree.end(), '"', '\'');
        EXPECT_EQ(tree, row[1]) << text;
    }
    TREE_STRUCT* tree = nullptr;
    EXPECT_EQ(GetParsedTree(nullptr, &tree), 3);
    EXPECT_EQ(GetParsedTree("(a 1)", nullptr), 3);
    EXPECT_EQ(tree, nullptr);
    FreeParsedTree(&tree);
    FreeParsedTree(nullptr);
}

TEST(ParameterTree, TakesAnyDepthWidthAndLength)
{
    const int iMany = 300000;
    const std::string longText(1000000, 'x');
    EXPECT_EQ(Parsed(Repeated(1000000, "(")), "code 1");
    EXPECT_EQ(Parsed(Repeated(500000, "(") + Repeated(500000, ")")), "code 8");
    EXPECT_EQ(Parsed("(" + longText + " " + longText + ")"),
              "(" + longText + " \"" + longText + "\":string)");
    EXPECT_EQ(Parsed("(a" + Repeated(iMany, " 1") + ")"),
              "(a" + Repeated(iMany, " \"1\":int") + ")");
    EXPECT_EQ(Parsed("(a" + Repeated(iMany, "(b 1)") + ")"),
              "(a" + Repeated(iMany, "(b \"1\":int)") + ")");
    EXPECT_EQ(Parsed("(a" + Repeated(iMany, "(b 1(c))") + ")"), "(a())");
}

TEST(ParameterTree, SurvivesEveryFailedAllocation)
{
    const char* const pText = "(a (b 1 2 3) (c (d x)) (e 4 (f 5)) (g 6))";
    int iFailing = 0;
    for (int iResult = 4; iResult != 0; ++iFailing) {
        TREE_STRUCT* tree = nullptr;
        testing::internal::CaptureStdout();
        g_iAllocationsLeft = iFailing;
        iResult = GetParsedTree(pText, &tree);
        g_iAllocationsLeft = -1;
        const std::string log = testing::internal::GetCapturedStdout();
        ASSERT_EQ(iResult, tree ? 0 : 4);
        EXPECT_EQ(log.substr(0, 4), tree ? "" : "E190");
        FreeParsedTree(&tree);
    }
    EXPECT_GT(iFailing, 20);
}

TEST(ParameterTree, AbortsOnMoreThan120Blanks)
{
    const std::string most(120, ' ');
    const std::string quoted = "\"" + most + most + "\"";
    const std::string one = "(" + most + "a" + most + "(" + most + "b" + most + "1" + most + "2";
    EXPECT_EQ(Parsed(most + one + most + ")" + most + "(c d(e" + most + most + "))" + quoted + ")" +
                     most),
              "(a(b \"1\":int \"2\":int))");
    EXPECT_EQ(Parsed("(a " + quoted + ")"), "(a " + quoted + ":string)");

#if !defined _WIN32 && !defined RETIMER_EMULATED  // tests/portability has it for all systems
    for (const char* pText : {"#", "#(a 1)", "(#a 1)", "(a#1)", "(a#(b 1))", "(a 1#)", "(a 1#2)",
                              "(a#)", "(a (b)#(c))", "(a (b)x#(c))", "(a 1)#"}) {
        std::string text = pText;
        text.replace(text.find('#'), 1, most + "\n");
        TREE_STRUCT* tree = nullptr;
        EXPECT_EXIT(
            {
                dup2(STDERR_FILENO, STDOUT_FILENO);
                GetParsedTree(text.c_str(), &tree);
            },
            testing::KilledBySignal(SIGABRT), "^[^:]+:[0-9]+:assertion failed\\.\n$")
            << pText;
    }
#endif
}

}  // namespace
