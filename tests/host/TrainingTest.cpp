#include <fmt/format.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "host/files/WavePoints.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// A transmitter whose tap a receiver has moved until there is no postcursor.
class TrainingTest : public ProgramTest
{
protected:
    /// @param back  reserved parameters of the back channel besides BCI_ID and BCI_State
    static void Make(const std::string& name, const std::string& back, const std::string& own)
    {
        fs::copy(TRAINING_MODEL, name + ".so", fs::copy_options::overwrite_existing);
        Save(name + ".ami",
             "(" + name +
                 "\n(Reserved_Parameters\n"
                 "(AMI_Version (Usage Info) (Type String) (Value \"7.0\"))\n"
                 "(GetWave_Exists (Usage Info) (Type Boolean) (Value True))\n"
                 "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))\n"
                 "(BCI_ID (Usage In) (Type String) (Value \"\"))\n"
                 "(BCI_State (Usage InOut) (Type String) (List \"Off\" \"Training\" \"Converged\" "
                 "\"Failed\" \"Error\"))\n" +
                 back + ")\n(Model_Specific\n" + own + "))\n");
    }
    static std::string Number(const std::string& name, const std::string& value)
    {
        return "(" + name + " (Usage In) (Type Float) (Value " + value + "))\n";
    }
    static std::string Protocol(const std::string& name)
    {
        return "(BCI_Protocol (Usage Info) (Type String) (Value \"" + name + "\"))\n";
    }
    static std::string Count(const std::string& name, const std::string& value)
    {
        return "(" + name + " (Usage Info) (Type Integer) (Value " + value + "))\n";
    }

    TrainingTest()
    {
        Make("tx", Protocol("lms") + Count("BCI_Message_Interval_UI", "700"),
             Number("Step", "0.015625") + Number("Tap", "0"));
        Make("rx",
             Protocol("lms") + Count("BCI_Message_Interval_UI", "1000") +
                 Count("BCI_Training_UI", "30000"),
             Number("Within", "0.015625") + Number("Fail", "0") + Number("Stubborn", "0") +
                 Number("Interval", "0"));
    }

    nlohmann::json Run(const std::string& options)
    {
        EXPECT_EQ(Shell(std::string(AMISIM_PROGRAM " run rx.ami --tx tx.ami --bits 3000 --loss 6 "
                                                   "--ppm 40 --rj 0.01 --save-wave npy ") +
                        options),
                  0)
            << output_;
        return nlohmann::json::parse(Read("out/result.json"));
    }
    static std::vector<double> Wave()
    {
        std::vector<double> values;
        const auto points = WavePoints::Open("out/wave.npy", {});
        for (WavePoint point; points->Next(point);) values.push_back(point.value);
        return values;
    }
    static double Last(const nlohmann::json& result, const std::string& name)
    {
        for (const auto& one : result["parameters_out"]) {
            if (one["name"] == name) return one["values"].back();
        }
        return NAN;
    }
};

TEST_F(TrainingTest, ModelsTrainEachOtherBlockByBlockBeforeTheMeasuredPart)
{
    fs::create_directories("out");
    Save("out/out_rx_bci_message", "7 1\n");  // of an earlier run
    const auto trained = Run("--ignore-bits 500");
    const double tap = Last(trained, "tx.tap");
    const auto steps = std::lround(-64 * tap);
    EXPECT_GT(steps, 3);
    EXPECT_EQ(Last(trained, "tx.late"), 0);
    // A block for each step, one in which the postcursor is gone, one in which that is heard.
    EXPECT_EQ(trained["training"],
              (nlohmann::json{
                  {"state", "converged"}, {"bits", 1000 * (steps + 2)}, {"interval_bits", 1000}}));
    EXPECT_EQ(trained["bits"], 3000 + 1000 * (steps + 2));
    EXPECT_EQ(trained["ignored_bits"], 500 + 1000 * (steps + 2));
    EXPECT_TRUE(Says(fmt::format("converged after {},000 bits", steps + 2))) << output_;
    const auto wave = Wave();

    // What is measured is the link as it is with that tap from the start.
    const auto plain =
        Run(fmt::format("--training off --tx-param Tap={} --bits {} --ignore-bits {}", tap,
                        3000 + 1000 * (steps + 2), 500 + 1000 * (steps + 2)));
    EXPECT_FALSE(plain.contains("training"));
    EXPECT_TRUE(Says("no link training takes place: --training is off")) << output_;
    EXPECT_NE(plain["model"]["parameters_in"].get<std::string>().find("(BCI_State \"Off\")"),
              std::string::npos);
    const auto same = Wave();
    ASSERT_EQ(wave.size(), same.size());
    double apart = 0;
    for (auto n = static_cast<std::size_t>(64 * 1000 * (steps + 2)); n < wave.size(); ++n)
        apart = std::max(apart, std::abs(wave[n] - same[n]));
    EXPECT_LT(apart, 1e-12);
    for (const char* member : {"height_v", "width_ui", "unit_intervals"})
        EXPECT_NEAR(trained["eye"][member], plain["eye"][member].get<double>(), 1e-9) << member;
    EXPECT_EQ(trained["compared_bits"], plain["compared_bits"]);
    EXPECT_EQ(trained["errors"], 0);
}

TEST_F(TrainingTest, ATrainingThatDoesNotConvergeEndsAndIsSaid)
{
    struct Case
    {
        const char *options, *state;
        int bits;
        const char* says;
    };
    for (const Case& c : {
             Case{"-p Fail=2", "failed", 2000, "the receiver's BCI_State is Failed"},
             {"-p Fail=2 -p Interval=400", "failed", 800, "ended after 800 bits"},
             {"-p Fail=2 -p Interval=4e3", "failed", 2000, "by 1000 bits: AMI_Init gives a"},
             {"-p Stubborn=1", "timed out", 30000, "not converged within its 30,000 bits"},
             {"-p Stubborn=1 --block-bits 5000", "timed out", 30000, "transmitter's Converged"},
         }) {
        const auto result = Run(std::string("--statistical off ") + c.options);
        EXPECT_EQ(result["training"]["state"], c.state);
        EXPECT_EQ(result["training"]["bits"], c.bits);
        EXPECT_EQ(result["bits"], c.bits + 3000);
        EXPECT_TRUE(Says(c.says)) << output_;
    }
}

TEST_F(TrainingTest, WithoutAPartnerNoneTakesPlace)
{
    struct Case
    {
        std::string protocol, options;
        int code;
        const char* says;
    };
    const std::string tx = "--tx tx.ami ";
    for (const Case& c : {
             Case{"", tx, 0, "the receiver declares no BCI_Protocol"},
             {Protocol("other"), tx, 0, "the transmitter's protocol is lms, the receiver's other"},
             {Protocol("lms"), "", 0, "the built-in transmitter has no part in it"},
             {Protocol("lms"), tx + "-p BCI_State=Off", 0, "the receiver is set to another"},
             {Protocol("lms"), "--retimer rx.ami " + tx, 2, "no clock time"},
             {Protocol("lms") + Count("BCI_Message_Interval_UI", "1000000"), tx, 2,
              "more than 16 million samples"},
         }) {
        Make("rx", c.protocol, Number("Within", "1"));
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run rx.ami --bits 3000 " + c.options), c.code) << output_;
        EXPECT_TRUE(Says(c.says)) << output_;
        if (c.code != 0) continue;
        const auto result = nlohmann::json::parse(Read("out/result.json"));
        EXPECT_FALSE(result.contains("training"));
        EXPECT_NE(result["model"]["parameters_in"].get<std::string>().find("(BCI_State \"Off\")"),
                  std::string::npos);
    }
}

}  // namespace
}  // namespace amisim
