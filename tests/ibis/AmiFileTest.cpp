#include "ibis/ami/AmiFile.hpp"

#include <gtest/gtest.h>

#include <utility>

#include "ibis/ami/ParameterTable.hpp"
#include "tests/ibis/Support.hpp"

namespace ibis {
namespace {

constexpr const char* kReserved =
    "(Reserved_Parameters (AMI_Version (Usage Info)(Type String)(Value \"7.0\"))"
    "(Init_Returns_Impulse (Usage Info)(Type Boolean)(Value False))"
    "(GetWave_Exists (Usage Info)(Type Boolean)(Value True)))";

/// A file whose lines 2 and on are the text, within Model_Specific.
AmiFile Parsed(const std::string& specific, Findings&& findings = Findings("m.ami"))
{
    return ParseAmiText(fmt::format("(m {} (Model_Specific\n{}\n))", kReserved, specific), "m.ami",
                        findings);
}

TEST(AmiFile, ReadsEveryFormat)
{
    struct Row
    {
        const char* data;
        const char* type;
        Format format;
        const char* defaultValue;
        const char* allowed;
    };
    const Row rows[] = {
        {"(Format Value 3)", "Integer", Format::Value, "3", "any integer"},
        {"(Default 0.5)", "Float", Format::None, "0.5", "any number"},
        {"(Value True)", "Boolean", Format::Value, "True", "True, False"},
        {"(Range 1 0 2)", "UI", Format::Range, "1", "0 to 2"},
        {"(List 2 0)(List_Tip \"both\" \"none\")(Default 0)", "Integer", Format::List, "0",
         "2 (both), 0 (none)"},
        {"(Corner 1 0.5 2)", "Float", Format::Corner, "1", "1, 0.5, 2"},
        {"(Steps 0 -1 1 8)", "Float", Format::Steps, "0", "-1 to 1 in 8 steps"},
        {"(Increment 0 -1 1 0.25)", "Float", Format::Increment, "0",
         "-1 to 1 in steps of 0.25 from 0"},
        {"(Table (Labels T P) (0 0.5) (1 0.5))", "Float", Format::Table, "", "table of 2 rows"},
        {"(Gaussian 0 0.1)", "UI", Format::Gaussian, "0", "Gaussian 0 0.1"},
        {"(Dual-Dirac -1 1 0.1)", "UI", Format::DualDirac, "-1", "Dual-Dirac -1 1 0.1"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.data);
        const AmiFile file =
            Parsed(fmt::format("(p (Usage In)(Type {}){}(Description \"d\"))", row.type, row.data));
        const AmiParameter& parameter = file.parameters.back();
        EXPECT_EQ(parameter.format, row.format);
        EXPECT_EQ(Name(parameter.type), row.type);
        EXPECT_EQ(parameter.defaultValue, row.defaultValue);
        EXPECT_EQ(parameter.AllowedValues(), row.allowed);
    }
}

TEST(AmiFile, KnowsBranchesFromParametersAndFindsByPathOrLeaf)
{
    const AmiFile file = Parsed(
        "(Long (Usage Info)(Type String)(Value \"1 | 2\n     3\"))\r\n"
        "(a (Description \"group\") (x (Usage In)(Type Tap)(Value 1)) | (y comment \"\n"
        "(b (x (Usage Out)(Type Tap)) (-1 (Usage InOut)(Type Tap)(Value \"2\"))))");
    ASSERT_EQ(file.parameters.size(), 7U);
    EXPECT_EQ(file.Find("a.b.-1")->place.line, 5);
    EXPECT_EQ(file.Find("a.b.-1")->place.column, 30);
    EXPECT_EQ(file.Find("m.a.b.-1"), file.Find("-1"));
    EXPECT_EQ(file.Find("x"), nullptr);  // two of them
    EXPECT_EQ(file.Find("Long")->defaultValue, "1 | 2 3");
    EXPECT_EQ(file.Reserved("GetWave_Exists"), "True");
    EXPECT_EQ(file.Reserved("Long"), std::nullopt);
}

TEST(AmiFile, TakesWhatIsMostProbablyMeant)
{
    struct Row
    {
        const char* parameter;
        const char* value;
        Format format = Format::Value;
        Usage usage = Usage::In;
    };
    const Row rows[] = {
        {"(Usage In)(Type Boolean)(Value true)", "True"},
        {"(Usage In)(Type Integer)(Value 1e3)", "1000"},
        {"(Usage INPUT)(Type int)(Value 3.0)", "3"},
        {"(usage Out)(TYPE Float)(value 3)", "3", Format::Value, Usage::Out},
        {"(Usage In)(Type Integer)(List 1 2)(Default 3)", "3", Format::List},
        {"(Usage In)(Type Float)(Value 1)(Default 2)", "1"},
        {"(Usage In)(Type Float)(Value 1)(List 2 3)", "1"},
        {"(Usage In)(Type Integer)(Label \"a\")(List 2 0)(Default 0.0)", "0", Format::List},
        {"(Usage In)(Type Float)(Value 1) (q (Usage In)(Type Float)(Value 2))", "1"},
        {"(Usage In)(Type Float)(Range 3 0 2)", "3", Format::Range},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.parameter);
        const AmiFile file = Parsed(fmt::format("(p {})", row.parameter));
        const AmiParameter& parameter = *file.Find("p");
        EXPECT_FALSE(parameter.fault);
        EXPECT_EQ(parameter.defaultValue, row.value);
        EXPECT_EQ(parameter.format, row.format);
        EXPECT_EQ(parameter.usage, row.usage);
    }
    // One that cannot be understood takes none of the others with it.
    const AmiFile file = Parsed(
        "(p (Usage In)(Type Float)(Range 0 x 1))(q (Usage In)(Type UI)(Value "
        "2)))(r (Usage In)(Type Tap)(Value 3)");
    EXPECT_EQ(file.Find("p")->fault->text, "parameter 'p': expected a Float, found 'x'");
    EXPECT_EQ(file.Find("p")->AllowedValues(), "nothing");
    EXPECT_EQ(file.Find("q")->defaultValue, "2");
    EXPECT_EQ(file.Find("r")->defaultValue, "3");  // outside of Model_Specific by a ')' too many
}

TEST(AmiFile, EndsWithinItsStackAndMemory)
{
    for (const char* open : {"(a", "((", "(a \"", "(a (b (Usage "}) {
        std::string nested;
        for (int i = 0; i < 100000; ++i) {
            nested += open;
        }
        Findings findings("m.ami");
        EXPECT_TRUE(ParseAmiText(nested, "m.ami", findings).fault);
        EXPECT_LE(findings.Take().size(), 3U);
    }
}

TEST(ParameterTable, AlignsColumnsAndWrapsDescriptions)
{
    const AmiFile file = Parsed(
        "(Gain (Usage In)(Type Float)(Range 1 0.5 2)(Description \"How much of the signal is "
        "left\"))");
    const std::string table = ParameterTable(file, 80);
    const std::string expected =
        "Parameter             Usage  Type     Default  Allowed   Description\n"
        "Gain                  In     Float    1        0.5 to 2  How much of the signal\n"
        "                                                         is left\n"
        "AMI_Version           Info   String   7.0\n";
    EXPECT_EQ(table.substr(0, expected.size()), expected);
}

}  // namespace
}  // namespace ibis
