#include <fmt/format.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

#include "host/files/WavePoints.hpp"
#include "host/signal/Deconvolution.hpp"
#include "host/signal/Random.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Links of a FIR filter as transmitter and another as receiver, of any kind.
class LinkTest : public ProgramTest
{
protected:
    struct Kind
    {
        bool wave, impulse;
    };
    static constexpr Kind kWave{true, false}, kImpulse{false, true}, kDual{true, true};

    LinkTest() { fs::create_directories("m"); }

    static void Make(const std::string& name, Kind kind, double first, double second,
                     double fold = 0, const std::string& more = "",
                     const std::map<std::string, double>& own = {})
    {
        fs::copy(FIR_MODEL, "m/" + name + ".so", fs::copy_options::overwrite_existing);
        const auto parameter = [](const char* what, const char* type, const std::string& value) {
            return fmt::format("({} (Usage {}) (Type {}) (Value {}) (Description \"\"))\n", what,
                               std::string(type) == "Float" ? "In" : "Info", type, value);
        };
        std::string set;
        for (const auto& [what, value] : own)
            set += parameter(what.c_str(), "Float", fmt::format("{}", value));
        const auto truth = [](bool value) { return value ? "True" : "False"; };
        Save("m/" + name + ".ami",
             "(" + name + " (Description \"\")\n(Reserved_Parameters\n" +
                 parameter("AMI_Version", "String", "\"7.0\"") +
                 parameter("GetWave_Exists", "Boolean", truth(kind.wave)) +
                 parameter("Init_Returns_Impulse", "Boolean", truth(kind.impulse)) + more +
                 ")\n(Model_Specific\n" + parameter("First", "Float", fmt::format("{}", first)) +
                 parameter("Second", "Float", fmt::format("{}", second)) +
                 parameter("Impulse", "Float", kind.impulse ? "1" : "0") +
                 parameter("Fold", "Float", fmt::format("{}", fold)) + set + "))\n");
    }

    /// The output's samples; "" as transmitter: the one that is built in.
    std::vector<double> Output(const std::string& transmitter, const std::string& options)
    {
        const std::string tx = transmitter.empty() ? "" : " --tx m/" + transmitter + ".ami";
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run m/rx.ami --save-wave npy --bits 400 " + options + tx),
                  0)
            << output_;
        std::vector<double> values;
        const auto points = WavePoints::Open("out/wave.npy", {});
        for (WavePoint point; points->Next(point);) values.push_back(point.value);
        EXPECT_EQ(values.size(), 400U * 64);
        return values;
    }

    static nlohmann::json Result() { return nlohmann::json::parse(Read("out/result.json")); }

    /// The largest difference, `a` being so many samples later, over the largest of `b`; without
    /// the first two bits where it is, since a ramp that began before time 0 is cut off.
    static double Apart(const std::vector<double>& a, const std::vector<double>& b,
                        std::size_t later = 0)
    {
        double apart = 0, largest = 0;
        for (std::size_t n = later > 0 ? 128 : 0; n + later < a.size(); ++n) {
            apart = std::max(apart, std::abs(a[n + later] - b[n]));
            largest = std::max(largest, std::abs(b[n]));
        }
        return apart / largest;
    }
};

TEST_F(LinkTest, EveryKindOfTransmitterAndReceiverGivesTheSameOutput)
{
    const std::string line = "--loss 8 --ppm 130 --rj 0.02 --block-bits 50 --amplitude 0.7";
    std::vector<double> first;
    for (const Kind tx : {kWave, kImpulse, kDual}) {
        for (const Kind rx : {kWave, kImpulse, kDual}) {
            SCOPED_TRACE(fmt::format("{}{} {}{}", tx.wave, tx.impulse, rx.wave, rx.impulse));
            Make("tx", tx, 0.8, -0.2);
            Make("rx", rx, 1.1, -0.3);
            const auto output = Output("tx", line);
            if (first.empty()) first = output;
            const bool divided = tx.wave && tx.impulse && !rx.wave;
            EXPECT_LT(Apart(output, first), divided ? 1e-5 : 1e-9);
            EXPECT_EQ(Result()["model"].contains("filter_residual"), divided);
            EXPECT_EQ(Result()["errors"], 0);
            EXPECT_EQ(Result()["transmitter"]["name"], "tx");
        }
    }
    // Both filters and the swing are in it: a constant level passes all.
    Make("tx", kWave, 0.8, -0.2);
    const auto flat = Output("tx", "--clock-pattern 100 --loss 0 --amplitude 0.7");
    EXPECT_NEAR(std::abs(flat[64 * 95]), 0.35 * 0.6 * 0.8, 1e-12);
}

TEST_F(LinkTest, ModelsThatChangeNothingGiveTheRunWithoutThem)
{
    const std::string line = "--loss 8 --noise 0.01 --amplitude 1 --rise-time 0 --ppm 0";
    Make("rx", kWave, 1, 0);
    const auto alone = Output("", line);
    const std::string wave = Read("out/wave.npy");
    for (const Kind tx : {Kind{false, false}, kWave, kImpulse, kDual}) {
        for (const Kind rx : {kWave, kImpulse, kDual}) {
            SCOPED_TRACE(fmt::format("{}{} {}{}", tx.wave, tx.impulse, rx.wave, rx.impulse));
            const bool builtIn = !tx.wave && !tx.impulse;
            if (!builtIn) Make("tx", tx, 1, 0);
            Make("rx", rx, 1, 0);
            Output(builtIn ? "" : "tx", line);
            EXPECT_EQ(Read("out/wave.npy"), wave);
        }
    }
}

// The redriver's receiver, the transmitter of its far side and the last receiver filter the wave
// one after the other, whichever way each of them does it.
TEST_F(LinkTest, BehindARedriverEveryKindOfModelGivesTheSameOutput)
{
    const std::string line =
        "--loss 4 --ppm 0 --rise-time 0 --amplitude 0.7 --block-bits 50 "
        "--redriver m/first.ami --loss 5 --tx m/tx.ami";
    const Kind kinds[] = {kWave, kImpulse, kDual};
    std::vector<double> first;
    for (std::size_t n = 0; n < 9; ++n) {
        SCOPED_TRACE(n);
        Make("first", kinds[n / 3], 1.2, -0.1);
        Make("tx", kinds[n % 3], 0.8, -0.2);
        Make("rx", kinds[(n / 3 + n) % 3], 1.1, -0.3);
        const auto output = Output("", line);
        if (first.empty()) first = output;
        EXPECT_LT(Apart(output, first), 3e-4);  // where divided
        EXPECT_EQ(Result()["end_to_end"]["errors"], 0);
    }
    // All three filters are in the response that the last AMI_Init has had, and so in its eye.
    for (const char* name : {"first", "tx", "rx"}) Make(name, kDual, 0.9, -0.1);
    EXPECT_EQ(
        Shell(AMISIM_PROGRAM " run m/rx.ami --loss 4 --ppm 0 --noise 0.004 --redriver m/first.ami "
                             "--noise 0.003 --loss 5 --tx m/tx.ami --bits 20000 --ber 1e-3"),
        0)
        << output_;
    const auto openings = [&](const nlohmann::json& eye) {
        return eye["openings"][0]["height_v"].get<double>();
    };
    EXPECT_NEAR(openings(Result()["statistical"]["eye"]) / openings(Result()["eye"]), 1, 0.02);
}

TEST_F(LinkTest, ARedriverThatChangesNothingJoinsTwoLines)
{
    Make("rx", kWave, 1, 0);
    const auto one = Output("", "--loss 10 --ppm 0 --noise 0");
    for (const char* as : {"redriver", ""}) {
        // By itself the [Repeater Pin] names the transmitter, and Repeater_Type what it is.
        const bool declared = *as == '\0';
        Make("rx", kWave, 1, 0, 0,
             declared ? "(Repeater_Type (Usage Info) (Type String) (Value \"Redriver\"))" : "");
        Make("tx", kWave, 1, 0);
        Save("m/device.ibs",
             "[IBIS Ver] 7.0\n[File Name] device.ibs\n[Component] Device\n[Pin] signal_name "
             "model_name R_pin L_pin C_pin\n1 RP in\n2 RN in\n3 TP out\n4 TN out\n"
             "[Diff Pin] inv_pin vdiff tdelay_typ\n1 2 0.1 0\n3 4 NA 0\n"
             "[Repeater Pin] tx_non_inv_pin\n1 3\n"
             "[Model] out\nModel_type Output\n[Algorithmic Model]\n"
             "Executable Linux_64 tx.so tx.ami\n[Model] in\nModel_type Input\n"
             "[Algorithmic Model]\nExecutable Linux_64 rx.so rx.ami\n[End]\n");
        Save("link.toml",
             std::string("[[segment]]\nloss = 5\nppm = 0\nrx = { ibis = \"m/device.ibs\"") +
                 (declared ? "" : ", as = \"redriver\"") +
                 " }\n[[segment]]\nloss = 5\nrx = { ibis = \"m/rx.ami\" }\n");
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run link.toml --save-wave npy --bits 400"), 0) << output_;
        EXPECT_EQ(Result()["transmitter"]["name"], "tx");
        std::vector<double> two;
        const auto points = WavePoints::Open("out/wave.npy", {});
        for (WavePoint point; points->Next(point);) two.push_back(point.value);
        EXPECT_LT(Apart(two, one), 2e-3);
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run link.toml --set 2.rj=0.1"), 2);
        EXPECT_TRUE(Says("link.toml:5: segment 2: --rj: is of what sends symbols")) << output_;
    }
    Make("rx", kWave, 1, 0);
    EXPECT_EQ(Shell(AMISIM_PROGRAM " run link.toml"), 2);
    EXPECT_TRUE(Says("declares no Repeater_Type")) << output_;
    EXPECT_EQ(Shell(AMISIM_PROGRAM " run m/rx.ami --redriver m/rx.ami --rj 0.1"), 2);
    EXPECT_TRUE(Says("a redriver passes its waveform on as it is")) << output_;
}

TEST_F(LinkTest, AReceiverThatOnlyHasAnImpulseFiltersNoiseAndCrosstalkToo)
{
    std::string pair = "# Hz S RI R 50\n";
    for (double f = 20e6; f < 80e9; f += 20e6) pair += fmt::format("{0} 0 0 .2 0 .2 0 0 0\n", f);
    Save("pair.s2p", pair);
    // Half of the ramp lies before a bit's beginning, and an impulse response begins with it.
    const auto ramp = static_cast<std::size_t>(std::ceil(0.15 * 64 / 0.40966553 / 2));
    // Without loss what is cut off there has no effect for long.
    const std::string line = "--loss 0 --ppm 0 ", lossy = "--loss 8 ",
                      noise = "--noise 0.02 --noise-bandwidth 2e10 ";
    const auto both = [&](const std::string& options) {
        Make("rx", kWave, 1.1, -0.3);
        auto wave = Output("", options);
        Make("rx", kImpulse, 1.1, -0.3);
        return std::pair(std::move(wave), Output("", options));
    };
    const auto [wave, impulse] = both(line);
    EXPECT_LT(Apart(impulse, wave, ramp), 1e-9);
    const auto [quietWave, quietImpulse] = both(lossy);
    auto [noisyWave, noisyImpulse] = both(lossy + noise);
    for (std::size_t n = 0; n < wave.size(); ++n) {
        noisyWave[n] -= quietWave[n];
        noisyImpulse[n] -= quietImpulse[n];
    }
    EXPECT_LT(Apart(noisyImpulse, noisyWave), 1e-3);
    EXPECT_LT(Result()["model"]["filter_residual"], 1e-4);
    const auto [crossedWave, crossedImpulse] = both(line + "--fext pair.s2p");
    EXPECT_GT(Apart(crossedWave, wave), 0.2);
    EXPECT_LT(Apart(crossedImpulse, crossedWave, ramp), 2e-3) << "edges between samples";
    EXPECT_TRUE(Says("an ideal clock is used"));
}

TEST_F(LinkTest, JitterThatATransmitterDeclaresMovesItsEdges)
{
    Make("rx", kWave, 1, 0);
    for (const char* const unit : {"UI", "Float"}) {
        const char* const value = std::string(unit) == "UI" ? "0.05" : "4.84848e-12";
        Make("tx", kWave, 1, 0, 0,
             fmt::format("(Tx_DCD (Usage Info) (Type {}) (Value {}) (Description \"\"))\n"
                         "(Tx_Sj (Usage Info) (Type UI) (Value 0.1) (Description \"\"))\n",
                         unit, value));
        Output("tx", "--loss 0 --ppm 0 --ignore-bits 50");
        EXPECT_TRUE(Says("applied to the edges, as the transmitter's .ami has it: Tx_DCD"));
        EXPECT_TRUE(Says("Tx_Sj is not applied: there is no Tx_Sj_Frequency"));
        EXPECT_NEAR(Result()["eye"]["width_ui"], 0.9, 2e-3);
    }
}

TEST_F(LinkTest, EyesAreComputedThroughBothModelsAsTheyAreCounted)
{
    const std::string options =
        "--loss 6 --noise 0.01 --noise-bandwidth 2e10 --rj 0.02 --sj-amplitude 0.05 "
        "--sj-frequency 3e8 --bits 50000";
    const auto run = [&](Kind tx, Kind rx) {
        Make("tx", tx, 0.85, -0.15, 0,
             "(Tx_Dj (Usage Info) (Type UI) (Value 0.04) (Description \"\"))\n"
             "(Tx_DCD (Usage Info) (Type UI) (Value 0.02) (Description \"\"))\n");
        Make("rx", rx, 1.2, -0.3);
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run m/rx.ami --tx m/tx.ami " + options), 0) << output_;
        return Result();
    };
    const auto result = run(kImpulse, kImpulse);
    for (const char* eye : {"input_eye", "eye"}) {
        for (const char* member : {"height_v", "width_ui"}) {
            const double counted = result[eye][member];
            EXPECT_NEAR(result["statistical"][eye][member], counted, 0.02 * counted)
                << eye << " " << member;
        }
    }
    // What AMI_Init does not return cannot be known.
    const auto wave = run(kWave, kWave);
    EXPECT_EQ(wave["statistical"]["input_eye"], nullptr);
    EXPECT_EQ(wave["statistical"]["eye"], nullptr);
}

/// Half a period of the sine would pull the ideal clock by 0.13 UI to one side.
TEST_F(LinkTest, AnIdealClockStandsInTheMiddleOfASlowSine)
{
    Make("rx", kWave, 1, 0);
    Make("tx", kImpulse, 1, 0, 0,
         "(Tx_Sj (Usage Info) (Type UI) (Value 0.2) (Description \"\"))\n"
         "(Tx_Sj_Frequency (Usage Info) (Type Float) (Value 5e6) (Description \"\"))\n");
    for (const char* const sent : {"--sj-amplitude 0.2 --sj-frequency 5e6", "--tx m/tx.ami"}) {
        ASSERT_EQ(Shell(AMISIM_PROGRAM " run m/rx.ami --ppm 0 --bits 40000 " + std::string(sent)),
                  0)
            << output_;
        const auto result = Result();
        EXPECT_EQ(result["errors"], 0);
        const double computed = result["statistical"]["input_eye"]["height_v"];
        for (const char* eye : {"input_eye", "eye"})
            EXPECT_NEAR(result[eye]["height_v"], computed, 0.1 * computed) << eye;
    }
}

TEST_F(LinkTest, AnOutputIsComputedThroughGetWaveAsThroughInit)
{
    const std::string run = AMISIM_PROGRAM " run m/rx.ami --loss 8 --rj 0.02 --bits 4000";
    const auto eyeOf = [&](Kind kind, double first, const std::map<std::string, double>& own) {
        Make("rx", kind, first, -0.3, 0, "", own);
        EXPECT_EQ(Shell(run), 0) << output_;
        return Result()["statistical"]["eye"];
    };
    const auto init = eyeOf(kImpulse, 0.9, {});
    // That which changes while it runs, and says to what, is measured where it ends.
    for (const auto& wave :
         {eyeOf(kWave, 0.9, {}), eyeOf(kWave, 1.3, {{"Later", 0.9}, {"Tell", 1}})}) {
        ASSERT_TRUE(wave.is_object()) << output_;
        for (const char* member : {"height_v", "width_ui", "worst_height_v"})
            EXPECT_NEAR(wave[member], init[member].get<double>(), 1e-9) << member;
        for (std::size_t i = 0; i < init["openings"].size(); ++i) {
            // So much is rounding, of a density as of the smallest part of it.
            const double near = 1e-9 + 2e-17 / init["openings"][i]["ber"].get<double>();
            for (const char* member : {"height_v", "width_ui"})
                EXPECT_NEAR(wave["openings"][i][member], init["openings"][i][member].get<double>(),
                            near);
        }
    }
    struct Case
    {
        std::map<std::string, double> own;
        const char* says;
    };
    for (const Case& c : {Case{{{"Bend", 0.4}}, "is not linear: its responses to a small pulse"},
                          {{{"Later", 0.9}}, "is not linear, or was not at one setting"}}) {
        EXPECT_EQ(eyeOf(kWave, 1.3, c.own), nullptr);
        EXPECT_TRUE(Says(c.says)) << output_;
    }
}

TEST_F(LinkTest, WhatCannotBeDoneTrulyIsSaid)
{
    Make("tx", kDual, 0.8, -0.2);
    Make("rx", kImpulse, 1, 0, 1e9);
    Output("tx", "--loss 8");
    EXPECT_TRUE(Says("is no linear filter, or more than the response tells")) << output_;
    EXPECT_GT(Result()["model"]["filter_residual"], 1e-3);

    Make("tx", kWave, 1, 0);
    Make("none", {false, false}, 1, 0);
    Save("m/both.ibs",
         "[IBIS Ver] 7.0\n[Model] out\nModel_type Output\n[Algorithmic Model]\n"
         "Executable Linux_64 tx.so tx.ami\n[Model] in\nModel_type Input\n[Algorithmic Model]\n"
         "Executable Linux_64 rx.so rx.ami\n[End]\n");
    struct Case
    {
        const char* options;
        int code;
        const char* says;
    };
    for (const Case& c : {
             Case{"--tx m/both.ibs", 0, ""},
             {"--tx m/both.ibs --tx-model in", 4, "is a receiver's model, by its [Model]; --tx"},
             {"--tx m/none.ami", 4, "does nothing to a signal"},
             {"--tx m/tx.ami --tx-param Third=1", 2, "no parameter 'Third'"},
             {"--tx m/tx.ami --tx-post 0.1", 2, "the model has its own"},
             {"--tx m/tx.ami --wave x.csv", 2, "goes with a pattern"},
             {"--tx-param First=1", 2, "for a model given with --tx"},
             {"--tx " TEST_MODEL " --tx-param Mode=abort", 5,
              "in AMI_GetWave 3 of the transmitter"},
             {"--tx " TEST_MODEL " --tx-param 'Mode=init 0'", 6, "in AMI_Init of the transmitter"},
             {"--tx " TEST_MODEL " --tx-param 'Mode=out taps'", 0, "tx.gain"},
         }) {
        EXPECT_EQ(Shell(std::string(AMISIM_PROGRAM " run m/rx.ami --bits 2000 ") + c.options),
                  c.code)
            << output_;
        EXPECT_TRUE(Says(c.says)) << c.options << "\n" << output_;
    }
}

TEST_F(LinkTest, ASweepSetsParametersOfTheTransmitter)
{
    Make("tx", kImpulse, 1, 0);
    Make("rx", kWave, 1, 0);
    const std::string sweep = AMISIM_PROGRAM " sweep m/rx.ami --grid tx-param=First=0.5,First=1 ";
    ASSERT_EQ(Shell(sweep + "--out sweep -- --tx m/tx.ami --loss 0 --bits 500"), 0) << output_;
    const std::string table = Read("sweep/table.csv");
    double half = 0, whole = 0;
    EXPECT_EQ(std::sscanf(table.c_str() + table.find('\n'), "\n1,First=0.5,,%lf", &half), 1)
        << table;
    EXPECT_EQ(std::sscanf(table.c_str() + table.find("\n2,"), "\n2,First=1,,%lf", &whole), 1)
        << table;
    EXPECT_NEAR(whole, 0.8, 1e-3);
    EXPECT_NEAR(half, 0.4, 1e-3);
    EXPECT_EQ(Shell(sweep + "--out sweep -- --tx m/none.ami"), 3);
    EXPECT_TRUE(Says("case tx-param=First=0.5: m/none.ami: does not exist")) << output_;
}

TEST(Deconvolution, FindsTheFilterAndSaysHowTrulyItDoes)
{
    Random random(3);
    std::vector<double> before(4096), filter(300);
    for (std::size_t n = 0; n < 200; ++n) before[n] = std::exp(-0.03 * static_cast<double>(n));
    for (double& tap : filter) tap = random.Normal() / 10;
    std::vector<double> after = Convolved(before, {filter, 0});
    double direct = 0;
    for (std::size_t k = 0; k <= 100; ++k) direct += before[100 - k] * filter[k];
    EXPECT_NEAR(after[100], direct, 1e-12);
    const Deconvolved found = Deconvolve(before, after);
    EXPECT_LT(found.residual, 1e-6);
    for (std::size_t n = 0; n < filter.size(); ++n)
        ASSERT_NEAR(found.filter.taps[n + found.filter.lead], filter[n], 1e-6);
    // What comes before what it is made of is no filter's doing.
    std::rotate(before.begin(), before.end() - 2000, before.end());
    EXPECT_GT(Deconvolve(before, after).residual, 0.1);
}

}  // namespace
}  // namespace amisim
