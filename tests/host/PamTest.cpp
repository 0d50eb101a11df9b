#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/analysis/Tail.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Runs of symbols of several levels through a model that hands them on: 0.8 V peak to peak.
class PamTest : public ProgramTest
{
protected:
    nlohmann::json Run(const std::string& arguments, const std::string& model = PAM_MODEL)
    {
        EXPECT_EQ(
            Shell(AMISIM_PROGRAM " run " + model + " -p Swing=0.8 --pictures none " + arguments), 0)
            << output_;
        return nlohmann::json::parse(Read("out/result.json"));
    }

    /// A receiver's or transmitter's .ami with these reserved parameters, each "Name Type Value".
    static void Make(const std::string& name, const std::vector<std::string>& reserved)
    {
        fs::copy(PAM_MODEL, name + ".so", fs::copy_options::overwrite_existing);
        std::string text = "(" + name + " (Description \"\")\n(Reserved_Parameters\n";
        for (const std::string& one : reserved) {
            const auto type = one.find(' '), value = one.find(' ', type + 1);
            text += fmt::format("({} (Usage {}) (Type {}) {} (Description \"\"))\n",
                                one.substr(0, type), one.find("(List") == one.npos ? "Info" : "In",
                                one.substr(type + 1, value - type - 1), one.substr(value + 1));
        }
        Save(name + ".ami", text +
                                ")\n(Model_Specific (Swing (Usage In) (Type Float) (Value 0.8) "
                                "(Description \"\"))))\n");
    }
    static inline const std::vector<std::string> kBasic = {
        "AMI_Version String (Value \"7.0\")", "GetWave_Exists Boolean (Value True)",
        "Init_Returns_Impulse Boolean (Value False)"};
    static std::vector<std::string> With(std::vector<std::string> more)
    {
        more.insert(more.begin(), kBasic.begin(), kBasic.end());
        return more;
    }
};

TEST_F(PamTest, OpenEyesAreAThirdOfTheSwingWhereverTheModelSaysItDecides)
{
    struct Case
    {
        const char *arguments, *says;
        bool errors;
    };
    for (const Case& c : {
             Case{"-p Tell=PAM4", "the model's own thresholds, at the end: -266.7, 0.0, 266.7",
                  false},
             {"-p Tell=LIST", "the model's own thresholds, at the end: -266.7, 0.0, 266.7", false},
             {"", "halfway between the levels found at the sampling instant: -266.7, 0", false},
             {"-p Tell=SOME", "tells 2 of its 3 thresholds", false},
             // What is told later holds from its block on, and what was found does not follow.
             {"-p Tell=PAM4 -p Halve=60", "at the end: -133.3, 0.0, 133.3", false},
             {"-p Tell=LIST -p Halve=60", "at the end: -133.3, 0.0, 133.3", false},
             {"-p Halve=60", "found", true},
         }) {
        SCOPED_TRACE(c.arguments);
        const auto result =
            Run("--ppm 0 --modulation pam4 --loss 0 --prbs 13 " + std::string(c.arguments));
        EXPECT_TRUE(Says(c.says)) << output_;
        EXPECT_TRUE(Says("PAM4, PRBS13Q"));
        EXPECT_EQ(result["symbol_errors"] > 0, c.errors);
        EXPECT_EQ(result["errors"] > 0, c.errors);
        EXPECT_EQ(result["compared_bits"], 2 * result["compared_symbols"].get<int>());
        EXPECT_EQ(result["verdict"], "locked");
        for (const char* side : {"eye", "input_eye"}) {
            const auto& worst = result[side];
            ASSERT_EQ(worst["eyes"].size(), 3U);
            double least = 1;
            for (int i = 0; i < 3; ++i) {
                const auto& eye = worst["eyes"][static_cast<std::size_t>(i)];
                least = std::min(least, eye["height_v"].get<double>());
                if (std::string(c.arguments).find("Halve") != std::string::npos) continue;
                EXPECT_NEAR(eye["height_v"], 0.8 / 3, 1e-3);
                EXPECT_NEAR(eye["threshold_v"], (i - 1) * 0.8 / 3, 1e-6);
                EXPECT_GT(eye["width_ui"], 0.6);  // the outer ones' sides are of several edges
            }
            EXPECT_EQ(worst["height_v"], least);
            EXPECT_EQ(worst["threshold_v"].is_number(), true);
        }
    }
    const auto late = Run("--ppm 0 --modulation pam4 --loss 0 -p Tell=LATE");
    for (const std::size_t i : {0U, 1U, 2U}) {
        EXPECT_NEAR(late["eye"]["eyes"][i]["sampled_at_ui"], 0.4 + 0.1 * static_cast<double>(i),
                    1e-6);
        // The eye stays where it is, and more of it lies on one side of the instant.
        EXPECT_NEAR(late["eye"]["eyes"][i]["left_ui"].get<double>() -
                        late["eye"]["eyes"][i]["right_ui"].get<double>(),
                    0.2 * (static_cast<double>(i) - 1), 0.01);
    }
}

TEST_F(PamTest, NoiseMakesTheErrorsOfItsDistribution)
{
    const std::string noisy = "--ppm 0 --loss 0 --bits 60000 --ignore-bits 1000 --seed 3 ";
    const auto errors = [](const nlohmann::json& result, const char* what, double expected) {
        EXPECT_NEAR(result[what].get<double>(), expected, 4 * std::sqrt(expected)) << what;
    };
    struct Case
    {
        const char* mapping;
        double bits;  // wrong ones for a step to the next level
    };
    for (const Case& c : {Case{"0132", 1}, {"0123", 4.0 / 3}}) {
        Make("rx", With({"Modulation String (Value \"PAM4\")",
                         fmt::format("PAM4_Mapping String (Value \"{}\")", c.mapping)}));
        const auto result = Run(noisy + "--sampler-noise 0.06", "rx.ami");
        const double symbols = result["compared_symbols"];
        // Six of eight ways to a next level.
        const double wrong = symbols * 1.5 * Q(0.8 / 6 / 0.06);
        errors(result, "symbol_errors", wrong);
        errors(result, "errors", c.bits * wrong);
        EXPECT_NEAR(result["symbol_error_ratio"].get<double>() * symbols, result["symbol_errors"],
                    1e-6);
        EXPECT_EQ(result["signal"]["pam4_mapping"], c.mapping);
        EXPECT_TRUE(Says("Symbol errors"));
        for (const auto& eye : result["eye"]["eyes"]) {
            // A quarter of the symbols on either side.
            const double margin = 0.06 * InverseQ(4e-3);
            EXPECT_NEAR(eye["height_v"], std::max(0.0, 0.8 / 3 - 2 * margin), 8e-3);
        }
    }
    // 3 bits on 2 symbols; levels without a mapping have symbol errors alone.
    const auto three = Run(noisy + "--modulation pam3 --sampler-noise 0.09");
    errors(three, "symbol_errors", three["compared_symbols"].get<double>() * 4 / 3 * Q(0.2 / 0.09));
    EXPECT_NEAR(three["compared_bits"], 1.5 * three["compared_symbols"].get<double>(), 1);
    EXPECT_GT(three["errors"], three["symbol_errors"].get<double>() * 0.9);
    const auto five = Run(noisy + "--modulation pam5 --sampler-noise 0.045");
    errors(five, "symbol_errors", five["compared_symbols"].get<double>() * 1.6 * Q(0.1 / 0.045));
    EXPECT_TRUE(five["errors"].is_null());
}

TEST_F(PamTest, EyesAreComputedAsTheyAreCounted)
{
    for (const char* modulation : {"pam3", "pam4"}) {
        SCOPED_TRACE(modulation);
        const std::string noisy = fmt::format(
            "--ppm 0 --modulation {} --loss 5 --noise 0.004 --noise-bandwidth 50e9 --rj 0.01 "
            "--bits 120000 ",
            modulation);
        const auto result = Run(noisy + "--ignore-bits 1000");
        const auto alone = Run(noisy + "--statistical only");
        const auto &counted = result["input_eye"]["eyes"],
                   &computed = result["statistical"]["input_eye"]["eyes"];
        ASSERT_EQ(counted.size(), computed.size());
        for (std::size_t i = 0; i < counted.size(); ++i) {
            EXPECT_EQ(counted[i]["threshold_v"], computed[i]["threshold_v"]);
            const auto opening = [](const nlohmann::json& eye) { return eye["openings"][0]; };
            EXPECT_NEAR(opening(counted[i])["height_v"], opening(computed[i])["height_v"], 5e-3);
            EXPECT_NEAR(opening(counted[i])["width_ui"], opening(computed[i])["width_ui"], 0.02);
            // Where nothing is counted the thresholds are those of the response.
            const auto& own = alone["statistical"]["input_eye"]["eyes"][i];
            EXPECT_NEAR(own["threshold_v"], computed[i]["threshold_v"], 6e-3);
            EXPECT_NEAR(opening(own)["height_v"], opening(computed[i])["height_v"], 1e-3);
        }
    }
}

TEST_F(PamTest, AWaveformHasThresholdsToo)
{
    Run("--ppm 0 --modulation pam4 --loss 3 --save-wave npy");
    fs::rename("out", "first");
    const auto result = Run("--modulation pam4 --wave first/wave.npy");
    EXPECT_EQ(result["eye"]["eyes"].size(), 3U);
    EXPECT_GT(result["eye"]["height_v"], 0.05);
    EXPECT_TRUE(result["symbol_errors"].is_null());
    EXPECT_EQ(result["signal"]["modulation"], "PAM4");
}

TEST_F(PamTest, WhatIsSentIsWhatTheModelsDeclareAndAgreeOn)
{
    Make("four", With({"Modulation String (Value \"PAM4\")"}));
    Make("either", With({"Modulation String (List \"NRZ\" \"PAM4\")"}));
    Make("levels", With({"Modulation_Levels Integer (Value 6)"}));
    Make("tx", With({"Modulation String (Value \"PAM4\")", "Tx_Rj UI (Value 0)"}));
    Make("other", With({"Modulation String (Value \"PAM4\")", "Tx_Rj UI (Value 0)",
                        "PAM4_Mapping String (Value \"0123\")"}));
    Make("mapped",
         With({"Modulation String (Value \"PAM4\")", "PAM4_Mapping String (Value \"0132\")"}));
    struct Case
    {
        const char* arguments;
        int code;
        const char* says;
    };
    for (const Case& c : {
             Case{"four.ami", 0, "PAM4, PRBS31Q"},
             {"levels.ami", 0, "PAM6, PRBS31"},
             {"either.ami", 0, "lossless line, PRBS31"},
             {"either.ami -p Modulation=PAM4", 0, "PAM4"},
             {"either.ami --modulation pam4", 4,
              "Modulation is NRZ, and --modulation asks for PAM4; -p Modulation=PAM4 asks"},
             {"four.ami --tx tx.ami", 0, "PAM4"},
             {"either.ami --tx tx.ami", 4,
              "either.ami:6: the receiver's Modulation is NRZ, and tx.ami:6: the transmitter's "
              "Modulation is PAM4: both"},
             {"mapped.ami --tx other.ami", 4, "with PAM4_Mapping 0132, and other.ami:6"},
             {"four.ami --modulation pam17", 2, "expected nrz or pam2 to pam16, found 'pam17'"},
         }) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(Shell(fmt::format("{} run {} --bits 600 --loss 0 --pictures none", AMISIM_PROGRAM,
                                    c.arguments)),
                  c.code);
        EXPECT_TRUE(Says(c.says)) << output_;
    }
}

}  // namespace
}  // namespace amisim
