#include <fmt/format.h>

#include <cmath>
#include <complex>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

constexpr double kBit = 1 / 10.3125e9;
constexpr double kCorner = 6e9;  // Hz

/// A receiver that takes a clock in, and a transmitter, both of which hand their input on.
class ForwardedClockTest : public ProgramTest
{
protected:
    static void Make(const std::string& name, const std::string& reserved)
    {
        fs::copy(TEST_MODEL, name + ".so");
        Save(name + ".ami",
             "(" + name +
                 "\n(Reserved_Parameters\n"
                 "(AMI_Version (Usage Info) (Type String) (Value \"7.1\"))\n"
                 "(GetWave_Exists (Usage Info) (Type Boolean) (Value True))\n"
                 "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))\n" +
                 reserved +
                 ")\n(Model_Specific (Mode (Usage In) (Type String) (Value \"pass\"))))\n");
    }

    ForwardedClockTest()
    {
        Make("rx",
             "(Rx_Use_Clock_Input (Usage In) (Type String) (List \"Times\" \"Wave\" \"None\"))\n");
        Make("tx",
             "(Tx_Sj (Usage Info) (Type UI) (Value 0.2))\n"
             "(Tx_Sj_Frequency (Usage Info) (Type Float) (Value 3e7))\n");
        std::string lane = "# Hz S RI R 50\n";
        for (double f = 0; f < 100e9; f += 20e6) {
            const auto h = 1.0 / std::complex(1.0, f / kCorner);
            lane += fmt::format("{0} 0 0 {1} {2} {1} {2} 0 0\n", f, h.real(), h.imag());
        }
        Save("lane.s2p", lane);
    }

    nlohmann::json Run(const std::string& options, int code = 0)
    {
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run rx.ami --ignore-bits 100 --bits 2000 --save-wave npy "
                                       "--statistical off " +
                        options),
                  code)
            << output_;
        return code == 0 ? nlohmann::json::parse(Read("out/result.json")) : nlohmann::json();
    }
};

TEST_F(ForwardedClockTest, TimesAreTheCrossingsOfTheLane)
{
    std::string first;
    for (const char* blocks : {"256", "7"}) {
        const auto result =
            Run(std::string("-p 'Mode=keep clock' --loss 0 --ppm 0 --block-bits ") + blocks);
        EXPECT_EQ(result["errors"], 0);
        EXPECT_EQ(result["verdict"], "locked");
        EXPECT_EQ(result["clock"]["times"], 1999);
        std::istringstream clock(Read("out/clock.csv"));
        std::string line;
        std::getline(clock, line);
        for (int n = 1; std::getline(clock, line); ++n)
            ASSERT_NEAR(std::stod(line), n * kBit, 1e-12 * n * kBit);
        if (first.empty()) first = clock.str();
        EXPECT_EQ(clock.str(), first);
    }
    // A ramp through a lane that is a filter of the first order, over and over: the data have none.
    const auto late = Run("-p 'Mode=keep clock' --loss 0 --ppm 0 --clock-lane lane.s2p");
    const double ramp = 0.15 / 0.40966553, constant = 1 / (2 * std::numbers::pi * kCorner * kBit);
    const double smeared =
        std::cosh(ramp / constant / 2) / (1 + std::pow(ramp / constant / std::numbers::pi, 2));
    const double expected = constant * std::log(2 * smeared / (1 + std::exp(-1 / constant)));
    const std::string times = Read("out/clock.csv");
    const double last = std::stod(times.substr(times.rfind('\n', times.size() - 2) + 1));
    EXPECT_NEAR(last / kBit, 1999 + expected, 1.0 / 64);  // a sample, of the lane
    EXPECT_EQ(late["errors"], 0);
    EXPECT_EQ(late["model"]["clock_input"],
              (nlohmann::json{{"as", "Times"}, {"lane", "lane.s2p"}}));
}

TEST_F(ForwardedClockTest, ItsEdgesMoveAsThoseOfTheDataDo)
{
    for (const char* jitter :
         {"--rj 0.03 --sj-amplitude 0.2 --sj-frequency 3e7 --ppm 200", "--tx tx.ami --rj 0.03"}) {
        const std::string options = std::string(" --loss 0 ") + jitter;
        const auto forwarded = Run("-p 'Mode=keep clock'" + options);
        EXPECT_NEAR(forwarded["clock"]["tie_rms_ui"], std::hypot(0.03, 0.2 / std::sqrt(2)), 0.01);
        EXPECT_GT(forwarded["eye"]["width_ui"], 0.97) << output_;
        const auto even = Run("-p Rx_Use_Clock_Input=None" + options);
        EXPECT_LT(even["eye"]["width_ui"], 0.6);
        EXPECT_FALSE(even["model"].contains("clock_input"));
    }
}

TEST_F(ForwardedClockTest, TheWaveIsThatOfTheLaneWithoutNoiseAndDeemphasis)
{
    for (const auto& [data, clock] :
         {std::pair("--loss 9 --rj 0.02", "--loss 9 --rj 0.02"),
          {"--loss 3 --noise 0.01 --tx-post 0.1 --clock-lane lane.s2p --block-bits 33",
           "--touchstone lane.s2p"}}) {
        Run(std::string("-p Rx_Use_Clock_Input=Wave -p 'Mode=clock to wave' ") + data);
        const std::string wave = Read("out/wave.npy");
        Run(std::string("-p Rx_Use_Clock_Input=None --clock-pattern 1 ") + clock);
        EXPECT_EQ(Read("out/wave.npy"), wave);
    }
}

TEST_F(ForwardedClockTest, WhereItComesFromOrThatThereIsNoneIsSaid)
{
    Save("wave.csv", fmt::format("0,-1\n{},1\n{},-1\n", 200 * kBit, 400 * kBit));
    struct Case
    {
        const char* options;
        int code;
        const char* says;
    };
    for (const Case& c : {
             Case{"", 0, "Times: the clock comes through a channel like the data's; --clock-lane"},
             {"--wave wave.csv", 0, "Times is not honoured: of a waveform no clock is known"},
             {"--loss 0 --retimer " TEST_MODEL, 0, "not honoured: behind a repeater no clock is"},
             {"-p Rx_Use_Clock_Input=None --clock-lane lane.s2p", 0, "is of no use: the model"},
             {"--clock-lane none.s2p", 3, "none.s2p: cannot be opened"},
         }) {
        Run(c.options, c.code);
        EXPECT_TRUE(Says(c.says)) << c.options << "\n" << output_;
    }
}

}  // namespace
}  // namespace amisim
