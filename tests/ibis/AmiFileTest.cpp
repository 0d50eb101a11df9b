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
AmiFile Parsed(const std::string& specific)
{
    return ParseAmiText(fmt::format("(m {} (Model_Specific\n{}\n))", kReserved, specific), "m.ami");
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
        EXPECT_EQ(file.notes, std::vector<std::string>());
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
    EXPECT_EQ(file.Find("a.b.-1")->line, 5);
    EXPECT_EQ(file.Find("m.a.b.-1"), file.Find("-1"));
    EXPECT_EQ(file.Find("x"), nullptr);  // two of them
    EXPECT_EQ(file.Find("Long")->defaultValue, "1 | 2 3");
    EXPECT_EQ(file.Reserved("GetWave_Exists"), "True");
    EXPECT_EQ(file.Reserved("Long"), std::nullopt);
    EXPECT_EQ(file.notes, std::vector<std::string>{
                              "m.ami:5: the Tap value 2 of '-1' should stand without quotes"});
}

TEST(AmiFile, NamesLineAndExpectationOfWhatItCannotRead)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", "m.ami:1: expected '(' and the model's name, found the end of the file"},
        {"(m)\n\n)",
         "m.ami:3: expected the end of the file after the ')' that closes 'm' of line 1, "
         "found ')'"},
        {"(m (Model_Specific\n(p 3)))",
         "m.ami:2: expected (Usage ...) and (Type ...) in parameter 'p'"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(MessageOf([&] { ParseAmiText(row.first, "m.ami"); }), row.second);
    }
    const std::pair<const char*, const char*> parameters[] = {
        {"(Type Float)(Value 1)", "expected (Usage ...) in parameter 'p'"},
        {"(Usage Inn)(Type Float)(Value 1)",
         "expected Usage with one of In, Out, Info, InOut, Dep, found 'Inn'; did you mean In?"},
        {"(Usage In)(Type Float)(Format Rnge 1 2)",
         "expected Format with one of Value, Range, List, Corner, Increment, Steps, Table, "
         "Gaussian, Dual-Dirac, DjRj, found 'Rnge'"},
        {"(Usage In)(Type Float)(Value 10p)", "expected a Float in parameter 'p', found '10p'"},
        {"(Usage In)(Type Float)(Range 0 1)",
         "expected typ, min and max after Range in parameter 'p', found 2 values"},
        {"(Usage In)(Type Float)(Range 0 31 0)",
         "expected typ, min and max in this order in parameter 'p', but 31 > 0"},
        {"(Usage In)(Type Integer)(Value 1.5)",
         "expected an Integer in parameter 'p', found '1.5'"},
        {"(Usage In)(Type Float)(Table (0 1) (2))",
         "expected 2 values in this row of 'p', found 1"},
        {"(Usage In)(Type Float)(Value 1)) (p (Usage In)(Type Float)(Value 1)",
         "a second parameter 'p'"},
    };
    for (const auto& row : parameters) {
        EXPECT_EQ(MessageOf([&] { Parsed(fmt::format("(p {})", row.first)); }),
                  fmt::format("m.ami:2: {}", row.second));
    }
    std::string nested;
    for (int i = 0; i < 100000; ++i) {
        nested += "(a";
    }
    EXPECT_EQ(MessageOf([&] { ParseAmiText(nested, "m.ami"); }),
              "m.ami:1: more than 100 lists within each other");
}

TEST(AmiFile, NotesDeparturesThatDoNotKeepTheModelFromRunning)
{
    struct Row
    {
        const char* parameter;
        const char* note;
        const char* value;
    };
    const Row rows[] = {
        {"(Type Boolean)(Value true)", "'true' of 'p' is read as the Boolean True", "True"},
        {"(Type Integer)(Value 1e3)", "'1e3' of 'p' is read as the Integer 1000", "1000"},
        {"(Type Integer)(List 1 2)(Default 3)",
         "the Default 3 of 'p' is not among what its List allows: 1, 2", "3"},
        {"(Type Integer)(Value 1)(Description two words)",
         "the Description should be one text in quotes", "1"},
    };
    for (const Row& row : rows) {
        const AmiFile file = Parsed(fmt::format("(p (Usage In){})", row.parameter));
        EXPECT_EQ(file.notes, std::vector<std::string>{fmt::format("m.ami:2: {}", row.note)});
        EXPECT_EQ(file.parameters.back().defaultValue, row.value);
    }
    EXPECT_EQ(ParseAmiText("(m\n(Reserved_Parameters\n"
                           "(GetWave_Exists (Usage In)(Type Boolean)(Value True))\n"
                           "(AMI_Version (Usage Info)(Type String)(Value \"7.0\"))))",
                           "m.ami")
                  .notes,
              (std::vector<std::string>{
                  "m.ami:2: the required reserved parameter Init_Returns_Impulse is missing",
                  "m.ami:3: GetWave_Exists must be Usage Info, Type Boolean",
                  "m.ami:4: AMI_Version must come first in Reserved_Parameters"}));
    EXPECT_EQ(ParseAmiText("(m (Reserved_Parameters)\n(Model_Specific\n"
                           "(AMI_Version (Usage Info)(Type String)(Value \"7.0\"))))",
                           "m.ami")
                  .notes.front(),
              "m.ami:1: the required reserved parameter AMI_Version is missing");
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
