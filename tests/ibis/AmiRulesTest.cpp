#include <gtest/gtest.h>

#include <fstream>
#include <set>

#include "ibis/ami/CheckAmi.hpp"
#include "ibis/ami/ParameterString.hpp"
#include "tests/TemporaryFolder.hpp"

namespace ibis {
namespace {

using enum Severity;

constexpr std::string_view kGood = R"((rx
  (Description "Receiver")
  (Reserved_Parameters
    (AMI_Version (Usage Info) (Type String) (Value "7.2"))
    (Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))
    (GetWave_Exists (Usage Info) (Type Boolean) (Value True))
    (Max_Init_Aggressors (Usage Info) (Type Integer) (Value 0))
    (Ignore_Bits (Usage Info) (Type Integer) (Value 1000))
    (Resolve_Exists (Usage Info) (Type Boolean) (Value True))
    (Supporting_Files (Usage Info) (Type String) (Table ("coeff.dat")))
    (DLL_Path (Usage In) (Type String))
    (Rx_Rj (Usage Info) (Type UI) (Value 0.01))
    (Rx_Dj (Usage InOut) (Type Float) (Range 1e-12 0 5e-12))
    (Rx_Clock_PDF (Usage Info) (Type UI)
      (Table (Labels "Row" "Time" "Probability") (0 -0.1 0.25) (1 0 0.5) (2 0.1 0.25)))
    (Modulation (Usage In) (Type String) (List "NRZ" "PAM4"))
    (PAM4_LowerThreshold (Usage Info) (Type Float) (Value -0.2))
    (PAM4_CenterThreshold (Usage Out) (Type Float))
    (PAM4_UpperThreshold (Usage Info) (Type Float) (Value 0.2))
    (Ts4file (Usage Dep) (Type String) (Corner "rx.s4p" "rx.s4p" "rx.s4p"))
    (Rx_R (Usage Info) (Type Float) (Value 50)))
  (Model_Specific
    | Comments may hold "anything (
    (Gain (Usage In) (Type Float) (Range 1 .5 2) (Description "Gain | dB"))
    (Mode (Usage InOut) (Type Integer) (List 2 0 1) (List_Tip "a" "b" "c") (Default 0)
      (Description "What it does"))
    (Name (Usage In) (Type String) (Value "") (Description "Any"))
    (On (Usage In) (Type Boolean) (Default True) (Description "Switch"))
    (Rate (Usage In) (Type Integer) (Increment 0 -4 4 2) (Description "Rate"))
    (Fine (Usage In) (Type UI) (Steps 0 -1 1 8) (Description "Phase"))
    (taps (Description "Filter")
      (-1 (Usage In) (Type Tap) (Range 0 -0.5 0.5))
      (0 (Usage Info) (Type Tap) (Value 1))
      (1 (Usage In) (Type Tap) (Range +0.1 -1e0 1)))
    (Errors (Usage Out) (Type Integer))
    (Spread (Usage Info) (Type UI) (DjRj -0.1 0.1 0.01))
    (Curve (Usage Info) (Type Float String) (Table (0 "a") (1 "b")))))
)";

/// What differs from the good file, and what is to be found then.
struct Row
{
    int rule;
    std::string from, to;
    Severity severity;
    std::string text;
    AmiContext context = {};
};

constexpr const char* kRj = "    (Rx_Rj (Usage Info) (Type UI) (Value 0.01))";
constexpr const char* kGain =
    "    (Gain (Usage In) (Type Float) (Range 1 .5 2) (Description \"Gain | dB\"))";

/// One reserved parameter in place of another: "Tx_DCD Info UI (Value 0.7)".
Row Reserved(int rule, const std::string& parameter, Severity severity, const std::string& text)
{
    return {rule, kRj, parameter, severity, text};
}
std::string Info(const std::string& name, const std::string& type, const std::string& rest)
{
    return fmt::format("    ({} (Usage Info) (Type {}) {})", name, type, rest);
}
/// One parameter of the model's own in place of another.
Row Specific(int rule, const std::string& parameter, Severity severity, const std::string& text)
{
    return {rule, kGain, "    " + parameter, severity, text};
}
std::string In(const std::string& type, const std::string& rest)
{
    return fmt::format("(p (Usage In) (Type {}) {} (Description \"d\"))", type, rest);
}

/// A small file of this version.
std::string OfVersion(const std::string& version, const std::string& specific)
{
    return "(rx (Reserved_Parameters" +
           Info("AMI_Version", "String", "(Value \"" + version + "\")") +
           Info("Init_Returns_Impulse", "Boolean", "(Value True)") +
           Info("GetWave_Exists", "Boolean", "(Value True)") + ")(Model_Specific " + specific +
           "))";
}

std::vector<Row> Rows()
{
    using enum AmiDirection;
    const std::string version = "(Value \"7.2\"))";
    return {
        {238,
         kRj,
         Info("Repeater_Type", "String", "(Value \"Retimer\")"),
         Warning,
         "no [Repeater Pin]",
         {72, Rx, false, ""}},
        {238, "", "", Warning, ":3:3: warning IB238: a [Repeater Pin]", {72, Rx, true, ""}},

        {820, "(1 \"b\")))))", "(1 \"b\"))))", Error,
         ":38:1: error IB820: expected the ')' that closes '(rx' of line 1, found the end"},
        {820, "(1 \"b\")))))", "(1 \"b\"))))))", Error, ":37:71: error IB820: expected the end of"},
        {820, "(1 \"b\")))))", "(1 \"b\"))))) (more)", Error, "found '(more)'"},
        {820, "(rx\n", "<html>\n", Error, "expected '(' and the model's name, found '<html>'; it"},
        {820, "(taps (Desc", "(() taps (Desc", Error, ":31:6: error IB820: expected a name"},
        {821, "(rx\n", "(\n", Error, ":2:3: error IB821: expected a name after '(', found '(De"},
        {822, std::string(kGood), "(rx (Mode 0) (taps (1 0.5)))", Error,
         ":1:5: error IB822: '(Mode ...)' is a value without Usage and Type: this is a parameter"},
        {822, "(Model_Spec", "(Mode 0) (Model_Spec", Error, "'(Mode ...)' is a value of a"},
        {823, "\"Receiver\"", "\"Receiver", Error, ":2:16: error IB823: expected the '\"'"},
        {823, "\"Filter\"", "\"Fil\r\nter\"", Warning, "runs over the end of its line"},
        {824, "(Gain", "# a word (\n ; another ) \r\n    // and\n    (Gain", Warning,
         ":24:5: warning IB824: expected a comment to begin with '|', found '# a word (' (and"},
        {825, "What it", "50 \xCE\xA9", Warning, "an omega in UTF-8 (0xCE 0xA9)"},
        {825, "What it", "\x01", Warning, "found a byte beyond ASCII (0x01)"},
        {826, "(Model_Specific", "(ModelSpecific", Error, "'ModelSpecific' is read as Model_Spec"},
        {826, "(Model_Specific", "(Global (q (Usage Out) (Type Tap))) (Model_Specific", Error,
         "found 'Global'"},
        {826, "(Model_Specific", "(Reserved_Parameters) (Model_Specific", Error,
         ":22:3: error IB826: a second Reserved_Parameters; the first is in line 3"},
        {826, "(Reserved_Par", "(Model_Specific (q (Usage Out) (Type Integer))) (Reserved_Par",
         Warning, "Reserved_Parameters should come before Model_Specific"},
        {826, "(Value 50)))\n", "(Value 50))\n", Error, "expected Model_Specific directly below"},
        {826, std::string(kGood), "(rx)", Error, "there are no Reserved_Parameters"},
        Specific(827, "(zero_ghz (Value 5))", Error, "'zero_ghz' states a value without Usage"),
        Specific(827, "(p (Usage Out) (Type Integer) (q (Usage Out) (Type Integer)))", Error,
                 ":24:35: error IB827: parameter 'p' of line 24 holds the list 'q'"),
        Specific(827, "(g word (p (Usage Out) (Type Integer)))", Error, "found 'word'"),
        Specific(827, "(Nothing)", Note, "'Nothing' holds no parameters"),
        Specific(828, "(Rate (Usage Out) (Type Integer))", Error,
                 ":29:5: error IB828: a second parameter 'Rate'"),
        Specific(828, "(p (Usage Out) (Type Tap) (Usage In))", Error, "a second Usage in param"),
        Specific(829, In("Integer", "(List 0 1) (Label \"off\" \"on\")"), Note,
                 "holds an unknown list 'Label'; did you mean Labels?"),
        Specific(829, In("Integer", "(List 0 1) (ListTip \"off\" \"on\")"), Note,
                 "'ListTip' in parameter 'p' is read as List_Tip"),
        Specific(829, "(p (usage Out) (Type Integer))", Note, "'usage' in parameter 'p' is read"),
        Specific(830, "(\"p q\" (Usage Out) (Type Integer))", Warning, "found \"p q\""),
        Specific(830, "(p+q (Usage Out) (Type Integer))", Warning, "found 'p+q'"),
        Specific(831, "(a (b (c (d (e (f (g (h (i (q (Usage Out) (Type Tap)))))))))))", Note,
                 "stands in more than 10 lists"),

        Specific(850, "(p (Type Float) (Value 1))", Error, "parameter 'p' has no Usage"),
        Specific(850, "(p (Usage INPUT) (Type Float) (Value 1))", Error, "'INPUT' is read as In"),
        Specific(850, "(p (Usage out) (Type Float))", Warning, "'out' is read as Out"),
        Specific(850, "(p (Usage Inn) (Type Float) (Value 1))", Error,
                 ":24:15: error IB850: Usage of parameter 'p': expected one of In, Out, Info, "
                 "InOut, Dep, found 'Inn'; did you mean In?"),
        {850, std::string(kGood), OfVersion("6.0", "(p (Usage Dep) (Type Tap))"), Error,
         "Usage of parameter 'p': Dep belongs to versions from 6.1 on; AMI_Version says 6.0"},
        Specific(851, "(p (Usage In) (Value 1))", Error, "parameter 'p' has no Type"),
        Specific(851, "(p (Usage Out) (Type Int))", Error, "'Int' is read as Integer"),
        Specific(851, "(p (Usage Out) (Type Foat))", Error, "did you mean Float?"),
        Specific(852, In("Float", ""), Error, "'p' has neither a Format nor a Default"),
        Specific(852, In("Float", "(Value 1) (List 1 2)"), Error, "a second Format in parameter"),
        Specific(852, In("Float", "(Format Rnge 1 0 2)"), Error, "did you mean Range?"),
        Specific(852, In("Float", "(Format Range 1 0 2)"), Note, "(Format Range ...) is an older"),
        Specific(853, In("Float", "(Range 0 1)"), Error,
                 "Range of parameter 'p': expected typ, min and max, found 2 values"),
        Specific(853, In("Float", "(List)"), Error, "expected one value or more, found 0"),
        Specific(853, In("Float", "(Value 1) (Default 1 2)"), Error, "expected one value, found 2"),
        Specific(854, In("Float", "(Value 10p)"), Error, "'p': expected a Float, found '10p'"),
        Specific(854, In("Float", "(Value inf)"), Error, "expected a Float, found 'inf'"),
        Specific(854, In("Integer", "(Value 1.5)"), Error, "expected an Integer, found '1.5'"),
        Specific(854, In("Boolean", "(Value 1)"), Error, "expected a Boolean, found '1'"),
        Specific(854, In("Boolean", "(Value true)"), Warning, "'true' is read as the Boolean True"),
        Specific(854, In("Integer", "(Value 1e3)"), Warning, "'1e3' is read as the Integer 1000"),
        Specific(854, In("String", "(Value fast)"), Warning, "String fast should stand in quotes"),
        Specific(854, In("Float", "(Value \"1\")"), Warning, "Float 1 should stand without quotes"),
        Specific(854, "(p (Usage Out) (Type Float) (Description two words))", Warning,
                 "a Description should be one text in quotes"),
        Specific(855, In("String", "(Range \"b\" \"a\" \"c\")"), Error, "expected a Type of numb"),
        Specific(855, In("Boolean", "(Gaussian True False)"), Error, "whose Type is Boolean"),
        Specific(856, In("Float", "(Range 0 31 0)"), Warning, "min 31 is above max 0"),
        Specific(856, In("Float", "(Range 3 0 2)"), Warning, "expected typ 3 to be from 0 to 2"),
        Specific(856, In("Float", "(Increment 0 0 1 0)"), Warning, "a delta above 0, found 0"),
        Specific(856, In("Float", "(Steps 0 0 1 0)"), Warning, "one step or more, found 0"),
        Specific(857, In("Integer", "(List 1 2) (Default 3)"), Warning,
                 "the Default 3 of parameter 'p' is not among what its List allows: 1, 2"),
        Specific(858, Info("p", "UI", "(Gaussian 0 0.1) (Default 0)"), Warning, "a Gaussian and a"),
        Specific(859, In("Float", "(Value 1) (Default 2)"), Warning, "the Value 1 and another"),
        Specific(859, In("Float", "(Value 1) (Default 1.0)"), Note, "and the same Default 1.0"),
        Specific(860, "(p (Usage Out) (Type Integer) (Default 0))", Warning, "the model sets it"),
        Specific(860, In("Integer", "(List 3)"), Note, "only one possible value, 3"),
        Specific(861, Info("p", "Integer", ""), Error, "the Info parameter 'p' has no value"),
        Specific(862, In("Integer", "(List 0 1) (List_Tip \"a\")"), Error,
                 "1 List_Tip texts for 2"),
        Specific(863, Info("p", "Float", "(Table (0 1) (2))"), Error, "expected 2 values in this"),
        Specific(863, Info("p", "Float", "(Table (Labels \"a\") (0 1))"), Error,
                 "2 columns and 1 L"),
        Specific(863, Info("p", "Float UI", "(Table (0) (1))"), Error, "1 columns and 2 Types"),
        Specific(863, Info("p", "Tap", "(Table (0) (1))"), Error, "Type Tap is not for tables"),
        Specific(864, "(p (Usage In) (Type Float) (Value 1))", Note, "'p' has no Description"),
        {865, "(Type Boolean) (Value True))\n    (Supp", "(Type Boolean) (Value False))\n    (Supp",
         Warning, "Usage of parameter 'Ts4file' is Dep"},
        {866, "(0 (Usage Info) (Type Tap) (Value 1))", "", Note, "taps from -1 to 1, but no tap 0"},
        Specific(867, In("Tap", "(Value -0.1 0.7 -0.2)"), Note, "holds 3 taps in one Value"),
        Specific(867, In("Tap", "(Value 1)"), Note, "'p' is not named by a whole number"),
        Reserved(868, Info("Tx_Rj", "Float", "(Value 0.02)"), Warning, "Tx_Rj is 0.02 s"),
        Reserved(868, Info("Rx_DCD", "UI", "(Value 2)"), Warning, "Rx_DCD is 2 UI"),
        Specific(869, In("String", "(Value \"C:/Temp/a.txt\")"), Note, "absolute path 'C:/Temp/a"),

        {900, version, "(Value \"7.3\"))", Warning, "AMI_Version 7.3 is newer than what is known"},
        {900, version, "(Value \"7,2\"))", Warning, "AMI_Version 7,2 is no version"},
        {900, version, version, Warning, "newer than the [IBIS Ver] 6.1", {61, Unknown, {}, ""}},
        {900, "    (AMI_Ver", Info("Rx_Sj", "UI", "(Value 0)") + "    (AMI_Ver", Warning,
         "AMI_Version should come first"},
        {900, "(AMI_Version (Usage Info) (Type String) (Value \"7.2\"))", "", Warning,
         "AMI_Version is missing: the file counts as one of version 5.0"},
        {901, "(GetWave_Exists (Usage Info) (Type Boolean) (Value True))",
         "(GetWave_Exists (Usage Info) (Type Boolean) (Value False))", Error, "does nothing"},
        {901, "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))", "", Error,
         ":3:3: error IB901: the required reserved parameter Init_Returns_Impulse is missing"},
        {902, "(GetWave_Exists (Usage Info) (Type Boolean) (Value True))", "", Error,
         "the required reserved parameter GetWave_Exists is missing"},
        Reserved(903, Info("Use_Init_Output", "Boolean", "(Value True)"), Error, "5.0 alone"),
        {904, "(Value 0))\n    (Ign", "(Value -1))\n    (Ign", Warning,
         "Max_Init_Aggressors is -1"},
        {905, "(Value 1000)", "(Value -1)", Warning, "Ignore_Bits is -1: expected a value from 0"},
        {905, "(Value 1000)", "(Value 2000000)", Note, "a run is longer than that"},
        {909, "coeff.dat", "lost.dat", Warning, "Supporting_Files names 'lost.dat', which is not"},
        Reserved(912, Info("Repeater_Type", "String", "(Value \"Both\")"), Warning,
                 "Repeater_Type is 'Both': expected Redriver or Retimer"),
        Reserved(920,
                 Info("Tx_Jitter", "UI", "(Gaussian 0 0.01)") + Info("Tx_Rj", "UI", "(Value 0.01)"),
                 Warning, "Tx_Jitter and Tx_Rj stand beside each other"),
        Reserved(921, Info("Tx_DCD", "UI", "(Value 0.7)"), Warning,
                 "Tx_DCD is 0.7: expected a value from 0 to less than 0.5"),
        Reserved(922, Info("Tx_Dj", "UI", "(Value -0.1)"), Warning, "Tx_Dj is -0.1"),
        Reserved(922, Info("Tx_Sj", "UI", "(Value 0.1)"), Warning, "without Tx_Sj_Frequency"),
        Reserved(923, Info("Tx_Sj_Frequency", "Float", "(Value 0)"), Warning, "a value above 0"),
        Reserved(930, Info("Rx_Sj", "UI", "(Value -0.1)"), Warning, "Rx_Sj is -0.1"),
        {931, "(1 0 0.5)", "(1 0 5)", Warning, "sum to 5.5, not to 1"},
        Reserved(932, Info("Rx_Clock_Recovery_Rj", "UI", "(Value 0.01)"), Warning,
                 "Rx_Clock_PDF and Rx_Clock_Recovery_Rj stand beside"),
        Reserved(933, Info("Rx_Receiver_Sensitivity", "Float", "(Value 50)"), Warning, "is 50"),
        Reserved(934, Info("Rx_Noise", "Float", "(Value -1)"), Warning, "Rx_Noise is -1"),
        Reserved(934, Info("Rx_Noise", "Float", "(Value 0.001)"), Note, "Rx_GaussianNoise stands"),
        Reserved(935, Info("Rx_UniformNoise", "Float", "(Value -1)"), Warning, "is -1"),
        Reserved(937, Info("Rx_Use_Clock_Input", "String", "(Value \"Clock\")"), Warning,
                 "expected None or Times or Wave"),
        {940, "\"NRZ\" \"PAM4\"", "\"PAM4\" \"PAM5\"", Note, "Modulation is 'PAM5'"},
        Reserved(941, Info("Modulation_Levels", "Integer", "(Value 4)"), Note, "beside each other"),
        Reserved(942, Info("PAM4_Mapping", "String", "(Value \"0122\")"), Warning, "is '0122'"),
        {943, "(Value 0.2)", "(Value -0.2)", Warning,
         "PAM4_UpperThreshold is -0.2, and PAM4_LowerThreshold below it is -0.2"},
        {943, "\"NRZ\" \"PAM4\"", "\"NRZ\"", Warning, "without a Modulation that admits PAM4"},
        {950, "(Corner \"rx.s4p\"", "(Corner \"lost.s4p\"", Warning, "names 'lost.s4p', which is"},
        {950, "(Corner \"rx.s4p\"", "(Corner \"coeff.dat\"", Warning, "which is no .s4p"},
        Reserved(951, Info("Tx_V", "Float", "(Value 0)"), Warning,
                 "Tx_V is 0: expected a value ab"),
        {952, "(Ts4file (Usage Dep) (Type String) (Corner \"rx.s4p\" \"rx.s4p\" \"rx.s4p\"))", "",
         Warning, "Rx_R stands without Ts4file"},
        Reserved(961, "(BCI_ID (Usage In) (Type String) (Value \"\"))", Warning,
                 "without BCI_State"),
        Reserved(962, Info("BCI_Training_UI", "Integer", "(Value 9)"), Warning,
                 "without BCI_Proto"),
        Reserved(965, Info("Ignore_Bit", "Integer", "(Value 1)"), Error,
                 "'Ignore_Bit' is no reserved parameter; did you mean Ignore_Bits?"),
        Specific(966, Info("Rx_Sj", "UI", "(Value 0)"), Warning, "Rx_Sj stands in Model_Specific"),
        {967, version, "(Value \"6.1\"))", Error,
         "Ts4file belongs to versions from 7.0 on; AMI_Version says 6.1"},
        {968, "(Ignore_Bits (Usage Info)", "(Ignore_Bits (Usage In)", Error,
         "Usage of Ignore_Bits: expected Out, Info, found In"},
        {968, "(Ignore_Bits (Usage Info) (Type Integer)", "(Ignore_Bits (Usage Info) (Type Float)",
         Error, "Type of Ignore_Bits: expected Integer, found Float"},
        Reserved(968, Info("Rx_Sj", "UI", "(Gaussian 0 0.1)"), Warning,
                 "Format of Rx_Sj: expected"),
        {969,
         kRj,
         kRj,
         Warning,
         "Rx_Rj is for a receiver, and the model is a transmitter",
         {72, Tx, {}, ""}},
    };
}

std::vector<Finding> FindIn(const std::string& text, AmiContext context)
{
    if (context.folder.empty()) {
        context.folder = ".";
    }
    Findings findings("rx.ami");
    CheckAmi(ParseAmiText(text, "rx.ami", findings), context, findings);
    return findings.Take();
}

class RulesOfAmi : public testing::Test
{
    TemporaryFolder folder_;

protected:
    RulesOfAmi()
    {
        std::ofstream("coeff.dat") << "1";
        std::ofstream("rx.s4p") << "1";
    }
};

TEST_F(RulesOfAmi, AreSilentOnAGoodFileWhateverItsLineEndsAndMark)
{
    const std::string good(kGood);
    std::string dos, mac, upper;
    for (const char c : good) {
        dos += c == '\n' ? "\r\n" : std::string(1, c);
        mac += c == '\n' ? '\r' : c;
    }
    for (const std::string& text : {good, dos, mac}) {
        for (const auto& finding : FindIn(text, {72, AmiDirection::Rx, {}, ""})) {
            ADD_FAILURE() << finding.Line();
        }
    }
    // Lines and columns are those of an editor, whatever the line ends.
    for (std::string text : {good, dos, mac}) {
        text.replace(text.find("(Value 50)"), 10, "(Value 5x)");
        const auto findings = FindIn(text, {});
        ASSERT_EQ(findings.size(), 1U);
        EXPECT_EQ(findings[0].Line().substr(0, 22), "rx.ami:21:44: error IB");
    }
    const auto marked = FindIn("\xEF\xBB\xBF" + good, {});
    ASSERT_EQ(marked.size(), 1U);
    EXPECT_EQ(marked[0].Line(),
              "rx.ami:1:1: warning IB825: expected printable ASCII, found a byte order mark (0xEF "
              "0xBB 0xBF). Remedy: save the file as plain ASCII.");
}

TEST_F(RulesOfAmi, FindWhatIsWrongAndNothingThatOnlyFollowsFromIt)
{
    for (const Row& row : Rows()) {
        std::string text(kGood);
        const size_t at = text.find(row.from);
        ASSERT_NE(at, text.npos) << row.rule << ": the good file has no " << row.from;
        text.replace(at, row.from.size(), row.to);
        bool found = false;
        std::string all, others;
        for (const Finding& finding : FindIn(text, row.context)) {
            const bool isIt = finding.number == row.rule && finding.severity == row.severity &&
                              finding.Line().find(row.text) != std::string::npos;
            found = found || isIt;
            all += "\n  " + finding.Line();
            // Where a parenthesis is lost, the file's end says so as well.
            const bool isOther = finding.number != row.rule && finding.number != 820;
            others += isOther && finding.severity != Note ? finding.Line() : "";
        }
        EXPECT_TRUE(found) << "IB" << row.rule << " '" << row.text << "' not among" << all;
        EXPECT_EQ(others, "") << "beside IB" << row.rule << " '" << row.text << "'";
    }
}

TEST_F(RulesOfAmi, HaveEachAFileThatBreaksThem)
{
    std::set<int> tried;
    for (const Row& row : Rows()) {
        tried.insert(row.rule);
    }
    for (const Rule* rule : AmiRules()) {
        EXPECT_TRUE(tried.contains(rule->number)) << "IB" << rule->number << ": " << rule->title;
    }
}

}  // namespace
}  // namespace ibis
