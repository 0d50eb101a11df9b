#include "ibis/ami/ParameterString.hpp"

#include <gtest/gtest.h>

#include <utility>

#include "tests/ibis/Support.hpp"

namespace ibis {
namespace {

constexpr const char* kModel = R"((rx
  (Reserved_Parameters
    (AMI_Version (Usage Info) (Type String) (Value "7.0"))
    (Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))
    (GetWave_Exists (Usage Info) (Type Boolean) (Value True))
    (DLL_Path (Usage In) (Type String) (Value "."))
    (Rx_Noise (Usage Out) (Type Float)))
  (Model_Specific
    (Mode (Usage In) (Type String) (List "slow one" "fast"))
    (On (Usage InOut) (Type Boolean) (Default True))
    (taps
      (pre (-1 (Usage In) (Type Tap) (Range 0 -0.5 0.5)))
      (0 (Usage Info) (Type Tap) (Value 1))
      (1 (Usage In) (Type Tap) (Increment 0 -1 1 0.25)))
    (outputs (1 (Usage Out) (Type Integer)))
    (Rate (Usage In) (Type Float) (Steps 1.0 0 2 8))
    (Level (Usage In) (Type Integer) (List 2 0 1) (List_Tip "eye" "bits" "clock") (Default 0))
    (Gain (Usage In) (Type Float) (Corner 1.0 0.9 1.1))
    (Curve (Usage In) (Type Float String) (Table (Labels x name) (0 "a b") (1 "c"))))))";

AmiFile Parsed(std::string_view text)
{
    Findings findings("rx.ami");
    return ParseAmiText(text, "rx.ami", findings);
}

const AmiFile& Model()
{
    static const AmiFile file = Parsed(kModel);
    return file;
}

TEST(ParameterString, HoldsInputsOnlyNestedAndQuotedWithTheirDefaults)
{
    EXPECT_EQ(ParameterString(Model()),
              "(rx (DLL_Path \".\") (Mode \"slow one\") (On True) (taps (pre (-1 0)) (1 0)) "
              "(Rate 1.0) (Level 0) (Gain 1.0) (Curve (0 \"a b\") (1 \"c\")))");
}

TEST(ParameterString, WritesOverridesAsTheFileDoes)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Mode=fast", "(Mode \"fast\")"}, {"DLL_Path=/a/b=c", "(DLL_Path \"/a/b=c\")"},
        {"On=false", "(On False)"},       {"taps.pre.-1=-5e-1", "(pre (-1 -5e-1))"},
        {"Level=1.0", "(Level 1)"},       {"Level=Clock", "(Level 1)"},  // by its List_Tip
        {"Gain=9e-1", "(Gain 0.9)"},
    };
    for (const auto& [setting, leaf] : rows) {
        const std::string text = ParameterString(Model(), {SplitOverride(setting)});
        EXPECT_NE(text.find(leaf), std::string::npos) << setting << " gave " << text;
    }
    const std::string last = ParameterString(Model(), {{"Rate", "0"}, {"Rate", "2"}});
    EXPECT_NE(last.find("(Rate 2)"), std::string::npos) << last;
}

TEST(ParameterString, RefusesWhatTheFileDoesNotAllowAndSaysWhatItDoes)
{
    const std::pair<const char*, const char*> rows[] = {
        {"Mode=Fast", "rx.ami:9: Mode = Fast: expected String: slow one, fast"},
        {"taps.pre.-1=0.51", "rx.ami:12: taps.pre.-1 = 0.51: expected Tap: -0.5 to 0.5"},
        {"taps.1=0.3", "rx.ami:14: taps.1 = 0.3: expected Tap: -1 to 1 in steps of 0.25 from 0"},
        {"Rate=0.3", "rx.ami:16: Rate = 0.3: expected Float: 0 to 2 in 8 steps"},
        {"Curve=2", "rx.ami:19: Curve = 2: expected Float: table of 2 rows"},
        {"Rx_Noise=1", "rx.ami:7: Rx_Noise = 1: its Usage is Out, so it cannot be set"},
        {"DLL_Path=a\"b",
         "rx.ami:6: DLL_Path = a\"b: a value can hold neither quotes nor line breaks"},
        {"1=0", "rx.ami: '1' could be taps.1 or outputs.1"},
        {"rate=1",
         "rx.ami: no parameter 'rate' (did you mean Rate?); the inputs are DLL_Path, Mode, On, "
         "taps.pre.-1, taps.1, Rate, Level, Gain, Curve"},
        {"=3", "'=3': expected Name=Value"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(MessageOf([&] { ParameterString(Model(), {SplitOverride(row.first)}); }),
                  row.second);
    }
}

TEST(ParameterString, HoldsNoValueBetweenThoseThatTheFileAllows)
{
    // Rounding is forgiven on a lattice, not beyond the ends of a Range.
    const std::pair<const char*, const char*> rows[] = {
        {"taps.pre.-1", "0.5000000001"},
        {"taps.pre.-1", "-0.5000000001"},
        {"taps.1", "0.250001"},
        {"taps.1", "1.25"},
        {"Rate", "0.125"},
        {"Rate", "2.25"},
        {"Gain", "0.900001"},
    };
    const auto refusal = [](const auto& row) {
        return MessageOf([&] { ParameterString(Model(), {{row.first, row.second}}); });
    };
    for (const auto& row : rows) {
        EXPECT_NE(refusal(row), "") << row.first << " = " << row.second;
    }
    for (const auto& row : {std::pair{"taps.1", "0.2500000001"}, {"Rate", "1.75"}}) {
        EXPECT_EQ(refusal(row), "");
    }
}

TEST(ParameterString, IsRefusedWhereAnInputCannotBeSent)
{
    const std::pair<const char*, const char*> rows[] = {
        {"(p (Usage In)(Type Float)\n(Range 0 1))",
         "rx.ami:3: Range of parameter 'p': expected typ, min and max, found 2 values"},
        {"(g (p (Usage In)(Type Flo)(Value 1)))",
         "rx.ami:2: Type of parameter 'g.p': expected one of Float, Integer, String, Boolean, Tap, "
         "UI, found 'Flo'; did you mean Float?"},
        {"(p (Type Float)(Value 1))", "rx.ami:2: parameter 'p' has no Usage"},
        {"(p (Usage In)(Type Float))",
         "rx.ami:2: parameter 'p' has neither a Format nor a Default: give it a value, p=..."},
        {"(p (Usage Out)(Type Flo)) (q 3)", ""},  // neither is to be sent
        {"(p (Usage In)(Type Float)(Value 1)) (q",
         "rx.ami:2: expected the ')' that closes '(rx' of line 1, found the end of the file"},
    };
    for (const auto& [text, message] : rows) {
        const AmiFile file = Parsed(fmt::format("(rx (Model_Specific\n{}))", text));
        EXPECT_EQ(MessageOf([&] { ParameterString(file); }), message);
    }
    EXPECT_EQ(MessageOf([&] { ParameterString(Parsed("(rx (Mode 0))")); }),
              "rx.ami:1: '(Mode ...)' is a value without Usage and Type: this is a parameter "
              "string, not the definition of parameters");
    const AmiFile open = Parsed("(rx (Model_Specific (p (Usage In)(Type Float))))");
    EXPECT_EQ(ParameterString(open, {{"p", "2"}}), "(rx (p 2))");
    const AmiFile taps = Parsed("(rx (Model_Specific (p (Usage In)(Type Tap)(Value 0.1 1 -.2))))");
    EXPECT_EQ(ParameterString(taps), "(rx (p 0.1 1 -.2))");
}

}  // namespace
}  // namespace ibis
