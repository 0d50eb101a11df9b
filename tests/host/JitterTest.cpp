#include <algorithm>
#include <cmath>
#include <complex>
#include <nlohmann/json.hpp>
#include <numbers>
#include <random>
#include <tuple>

#include "host/jitter/AmplitudeSearch.hpp"
#include "host/jitter/Frequency.hpp"
#include "host/jitter/FrequencyMask.hpp"
#include "host/jitter/SequentialTest.hpp"
#include "host/jitter/SineFit.hpp"
#include "host/run/Models.hpp"
#include "host/run/Simulation.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;
using Kind = FrequencyMask::Kind;
using Outcome = SequentialTest::Verdict;

TEST(SequentialTest, DecidesWhereThePoissonLimitsLieAtAConfidenceOf95Percent)
{
    // Errors, and the bits in units of one over the ratio up to which they fail, and from which on
    // they pass.
    const struct
    {
        std::int64_t errors;
        double fails, passes;
    } rows[] = {{0, 0, 2.996},     {1, 0.0513, 4.744}, {2, 0.3554, 6.296}, {3, 0.8177, 7.754},
                {4, 1.366, 9.154}, {5, 1.970, 10.51},  {6, 2.613, 11.84}};
    const SequentialTest test(1e-6, 0.95);
    const auto judge = [&](double units, std::int64_t errors) {
        return test.Judge(std::llround(units * 1e6), errors);
    };
    for (const auto& [errors, fails, passes] : rows) {
        SCOPED_TRACE(errors);
        if (errors > 0) {
            EXPECT_EQ(judge(fails * 0.998, errors), Outcome::kFails);
        }
        EXPECT_EQ(judge(fails * 1.002 + 0.001, errors), Outcome::kOpen);
        EXPECT_EQ(judge(passes * 0.999, errors), Outcome::kOpen);
        EXPECT_EQ(judge(passes * 1.001, errors), Outcome::kPasses);
    }
    EXPECT_EQ(SequentialTest(1e-3, 0.95, 50'000).Judge(49'999, 0), Outcome::kOpen);
    EXPECT_EQ(SequentialTest(1e-3, 0.95, 50'000).Judge(50'000, 0), Outcome::kPasses);
    EXPECT_EQ(SequentialTest(1e-3, 0.95, 50'000).Judge(10, 1), Outcome::kFails);
}

/// Parts of 10,000 links of a true ratio, in units of the one tested, that are told to pass and to
/// fail.
std::pair<double, double> Told(double trueRatio, double confidence)
{
    constexpr double kRatio = 1e-5;
    constexpr int kLinks = 10'000;
    const SequentialTest test(kRatio, confidence);
    std::mt19937_64 random(1);
    std::exponential_distribution<double> distance(trueRatio * kRatio);
    int passed = 0, failed = 0;
    for (int link = 0; link < kLinks; ++link) {
        constexpr std::int64_t kLook = 4096;  // bits
        double next = distance(random);
        std::int64_t errors = 0;
        Outcome verdict = Outcome::kOpen;
        for (std::int64_t bits = kLook; verdict == Outcome::kOpen && bits < test.MostBits();
             bits += kLook) {
            for (; next < static_cast<double>(bits); next += distance(random)) ++errors;
            verdict = test.Judge(bits, errors);
        }
        passed += verdict == Outcome::kPasses;
        failed += verdict == Outcome::kFails;
    }
    return {passed / double{kLinks}, failed / double{kLinks}};
}

TEST(SequentialTest, KeepsItsErrorsOfBothKindsSmallAwayFromTheRatio)
{
    EXPECT_LT(Told(2, 0.95).first, 0.01) << "too bad a link passes";
    EXPECT_GT(Told(2, 0.95).second, 0.98);
    EXPECT_LT(Told(0.3, 0.95).second, 0.03) << "a good link fails";
    EXPECT_GT(Told(0.3, 0.95).first, 0.96);
    EXPECT_LT(Told(1.5, 0.99).first, 0.01);
    EXPECT_LT(Told(0.5, 0.99).second, 0.02);
}

TEST(AmplitudeSearch, ClosesInOnTheThresholdFromAnyGuess)
{
    for (const double threshold : {0.0123, 0.5, 0.9999, 37.0}) {
        for (const double start : {0.01, 0.5, 100.0}) {
            SCOPED_TRACE(testing::Message() << threshold << " from " << start);
            AmplitudeSearch search({start});
            double beyond = 0;
            int trials = 0;
            for (; const auto amplitude = search.Next(); ++trials) {
                search.Take(*amplitude, *amplitude <= threshold);
                beyond = *amplitude;
            }
            ASSERT_TRUE(search.Passes() && search.Fails());
            EXPECT_LE(*search.Passes(), threshold);
            EXPECT_GT(*search.Fails(), threshold);
            EXPECT_LE(*search.Fails() / *search.Passes(), 1.03);
            EXPECT_GT(beyond, *search.Fails()) << "one above is tried at last";
            EXPECT_FALSE(search.PassesAbove());
            EXPECT_LE(trials, 22);
        }
    }
}

TEST(AmplitudeSearch, SeesAnIslandAboveAndKnowsWhereToStop)
{
    AmplitudeSearch islands({1});
    while (const auto amplitude = islands.Next())
        islands.Take(*amplitude, *amplitude < 1.1 || (*amplitude > 1.43 && *amplitude < 1.5));
    EXPECT_LT(*islands.Fails(), 1.14);
    ASSERT_TRUE(islands.PassesAbove());
    EXPECT_NEAR(*islands.PassesAbove(), 1.3 * *islands.Fails(), 1e-12);

    for (const bool passes : {true, false}) {
        AmplitudeSearch endless({.start = 1, .least = 0.01, .most = 50});
        double last = 0;
        while (const auto amplitude = endless.Next()) endless.Take(last = *amplitude, passes);
        EXPECT_EQ(last, passes ? 50 : 0.01);
        EXPECT_EQ(endless.Passes().has_value(), passes);
        EXPECT_EQ(endless.Fails().has_value(), !passes);
    }
}

TEST(SineFit, FindsASineOfFewPeriodsBesideAnOffsetAndADrift)
{
    std::vector<double> time, value;
    const double frequency = 3e5;
    for (int i = 0; i < 20'000; ++i) {
        const double t = 1e-4 + i * 1e-9;  // six periods
        const double angle = 2 * std::numbers::pi * frequency * t;
        time.push_back(t);
        value.push_back(0.7 + 4e3 * t + 0.05 * std::sin(angle - 0.4));
    }
    const auto sine = FitSine(time, value, frequency);
    EXPECT_NEAR(std::abs(sine), 0.05, 1e-9);
    EXPECT_NEAR(std::arg(sine), -0.4, 1e-7);
}

TEST(JitterInBand, CountsWhatLiesWithin)
{
    constexpr int kCount = 1 << 12;
    std::vector<double> values;
    for (int i = 0; i < kCount; ++i) {
        const auto sine = [i](int bin) {
            return std::sin(2 * std::numbers::pi * bin * i / kCount);
        };
        values.push_back(3 + 0.5 * sine(3) + 0.1 * sine(400) + 0.3 * sine(1500));
    }
    // Bins of 1 Hz.
    const BandJitter found = JitterInBand(values, kCount, 100, 1000);
    EXPECT_NEAR(found.rms, 0.1 / std::numbers::sqrt2, 1e-3);
    EXPECT_NEAR(found.peakToPeak, 0.2, 4e-3);
}

TEST(FrequencyMask, BuiltInOnesHaveTheirValues)
{
    const struct
    {
        Kind kind;
        const char* name;
        double frequency, value;
    } rows[] = {
        {Kind::kTolerance, "10gbase-r", 4e5, 0.5},
        {Kind::kTolerance, "10gbase-r", 2e7, 0.05},
        {Kind::kTolerance, "10gbase-r-0.15", 4e5, 0.6},
        {Kind::kTolerance, "10gbase-r-0.15", 5e6, 0.15},
        {Kind::kTolerance, "stm-64", 1e5, 1.5},
        {Kind::kTolerance, "stm-64", 1e6, 0.6},
        {Kind::kTolerance, "stm-64", 1e7, 0.15},
        {Kind::kTolerance, "cei", 1e10 / 66400, 0.5},
        {Kind::kTolerance, "usb-3.0", 2e6, 0.5},
        {Kind::kTransfer, "stm-16", 1e6, 0.1},
        {Kind::kTransfer, "stm-16", 2e7, -19.9},
    };
    for (const auto& [kind, name, frequency, value] : rows) {
        SCOPED_TRACE(name);
        const auto found = FindMask(kind, name, 1e10).At(frequency);
        ASSERT_TRUE(found);
        EXPECT_NEAR(*found, value, 0.002 * std::abs(value));
    }
    EXPECT_FALSE(FindMask(Kind::kTolerance, "10gbase-r", 1e10).At(3e4));
    const auto mask = FindMask(Kind::kTolerance, "stm-64", 1e10);
    const auto frequencies = DefaultFrequencies(1e10, 2, mask);
    EXPECT_EQ(std::ranges::count(frequencies, 4e5) + std::ranges::count(frequencies, 4e6), 2);
}

class JitterTest : public ProgramTest
{
protected:
    int Amisim(const std::string& arguments) { return Shell(AMISIM_PROGRAM " " + arguments); }
    /// Of the model whose loop is ideal, on a signal without anything else wrong.
    int Try(const std::string& command, const std::string& arguments)
    {
        return Amisim(command +
                      " " CLOCK_MODEL
                      " --bit-rate 1e10 --loss 0 --ppm 0 --pictures none "
                      "--samples-per-bit 16 --prbs 7 --ignore-bits 4000 " +
                      arguments);
    }
    int Tolerance(const std::string& arguments)
    {
        return Try("tolerance", "--ber 1e-3 " + arguments);
    }
    static Json Found(const std::string& file) { return Json::parse(Read(file)); }
};

TEST_F(JitterTest, AMaskOfAFileStepsWhereItSaysAndNamesItsFaults)
{
    Save("mask.csv", "frequency_hz,ui\n1e5,2  # flat\n1e6 ; 2\n\n1e6,1\n1e7,0.1\n");
    const auto mask = FindMask(Kind::kTolerance, "mask.csv", 1e10);
    EXPECT_EQ(mask.At(3e5), 2);
    EXPECT_EQ(mask.At(1e6), 2) << "the stricter one";
    EXPECT_NEAR(mask.At(std::sqrt(10) * 1e6).value(), std::sqrt(0.1), 1e-12);
    EXPECT_EQ(mask.Corners(), (std::vector<double>{1e5, 1e6, 1e7}));
    const std::pair<const char*, const char*> faults[] = {
        {"1e5,1\n1e4,1\n", "mask.csv:2: the frequencies must rise"},
        {"1e5,1\nx,1\n", "mask.csv:2: expected a frequency in Hz above 0"},
        {"1e5,1\n2e5,0\n", "mask.csv:2: expected a jitter above 0 UI"},
        {"1e5,1\n", "mask.csv: expected two lines or more"},
    };
    for (const auto& [text, message] : faults) {
        Save("mask.csv", text);
        const std::string said = MessageOf([] { FindMask(Kind::kTolerance, "mask.csv", 1e10); });
        EXPECT_TRUE(said.starts_with(message)) << said;
    }
    EXPECT_EQ(Amisim("tolerance " CLOCK_MODEL " --mask stm-6"), 2);
    EXPECT_TRUE(Says("--mask stm-6: is no mask and no file: expected one such as stm-64"))
        << output_;
}

TEST_F(JitterTest, ToleranceOfIdealLoopsIsThatOfTheClosedForms)
{
    // The eye has half a unit interval on either side. A clock that follows no faster than a slope
    // makes a triangle of a fast sine.
    const auto firstOrder = [](double f) { return std::hypot(1, 4e6 / f); };
    const auto slope = [](double f) { return std::hypot(1, 5e6 / (2 * f)); };
    const std::tuple<const char*, double (*)(double)> loops[] = {
        {"-p Corner=4e6 --frequencies 2e6,4e6,2e7", firstOrder},
        {"-p Slope=5e6 --frequencies 5e6,1e7,2e7", slope}};
    for (const auto& [arguments, tolerated] : loops) {
        SCOPED_TRACE(arguments);
        ASSERT_EQ(Tolerance(std::string("--resolution 0.01 ") + arguments), 0) << output_;
        const Json found = Found("tolerance/tolerance.json");
        EXPECT_EQ(found.at("without_sine").at("passed"), true);
        ASSERT_EQ(found.at("points").size(), 3u);
        for (const Json& point : found.at("points")) {
            const double f = point.at("frequency_hz");
            const double passes = point.at("passes_ui_pp"), fails = point.at("fails_ui_pp");
            EXPECT_NEAR(std::sqrt(passes * fails) / tolerated(f), 1, 0.03) << f;
        }
    }
}

TEST_F(JitterTest, TransferOfAnIdealLoopIsThatOfTheFirstOrder)
{
    ASSERT_EQ(
        Try("transfer", "-p Corner=4e6 --jitter-amplitude 0.1,0.3 --frequencies 2e6,4e6,1.6e7"), 0)
        << output_;
    const Json found = Found("transfer/transfer.json");
    ASSERT_EQ(found.at("points").size(), 6u);
    for (const Json& point : found.at("points")) {
        const std::complex<double> wanted =
            1.0 / std::complex<double>(1, point.at("frequency_hz").get<double>() / 4e6);
        EXPECT_NEAR(point.at("gain_db"), 20 * std::log10(std::abs(wanted)), 0.05) << point;
        EXPECT_NEAR(point.at("phase_deg"), std::arg(wanted) * 180 / std::numbers::pi, 1.5) << point;
    }
    EXPECT_NEAR(found.at("bandwidth_hz"), 4e6, 0.02 * 4e6);
    EXPECT_LT(found.at("peaking_db"), 0);
    EXPECT_LT(found.at("generation").at("rms_ui"), 1e-3);
    EXPECT_EQ(Try("transfer", "-p Corner=4e6 --frequencies 2e6 --mask stm-16 --out tight"), 0);
    EXPECT_EQ(Try("transfer", "-p Corner=4e6 --frequencies 2e6 --mask stm-4 --out tight"), 10);
}

// The clock of the first is what the second's transmitter sends by.
TEST_F(JitterTest, OfACascadeTheTransferIsTheProduct)
{
    ASSERT_EQ(Try("transfer", "-p Corner=8e6 --retimer " CLOCK_MODEL
                              " --retimer-param Corner=4e6 --loss 0 --frequencies 2e6,4e6,1e7"),
              0)
        << output_;
    const Json found = Found("transfer/transfer.json");
    ASSERT_EQ(found.at("points").size(), 3u);
    for (const Json& point : found.at("points")) {
        const double f = point.at("frequency_hz");
        const auto wanted =
            1.0 / (std::complex<double>(1, f / 4e6) * std::complex<double>(1, f / 8e6));
        EXPECT_NEAR(point.at("gain_db"), 20 * std::log10(std::abs(wanted)), 0.05) << point;
        EXPECT_NEAR(point.at("phase_deg"), std::arg(wanted) * 180 / std::numbers::pi, 1.5) << point;
    }
    EXPECT_EQ(found.at("signal").at("segments").size(), 2u);
}

// What passes the first, slower loop has little left for the second. The sine begins to count at
// its trough, where a clock that follows 19 UI down is ahead of the transmitter by as much.
TEST_F(JitterTest, ALinkOfSeveralSegmentsToleratesWhatItsFirstOneDoes)
{
    const std::string clock = "rx = { ibis = \"" CLOCK_MODEL "\"";
    Save("link.toml",
         "[link]\nbit_rate = 1e10\nsamples_per_bit = 16\nmask = \"sfi-host-rx\"\n"
         "[[segment]]\nloss = 0\nprbs = 7\nppm = 0\n" +
             clock + ", as = \"retimer\", set = { Corner = 4e6 } }\n[[segment]]\n" + clock +
             ", set = { Corner = 6e6 } }\nloss = 9\n");
    ASSERT_EQ(Amisim("tolerance link.toml --set 2.loss=0 --ber 1e-3 --frequencies 1e5,4e6 "
                     "--ignore-bits 75000 --pictures none"),
              0)
        << output_;
    const Json found = Found("tolerance/tolerance.json");
    ASSERT_EQ(found.at("points").size(), 2u);
    for (const Json& point : found.at("points")) {
        const double f = point.at("frequency_hz");
        EXPECT_NEAR(point.at("tolerance_ui_pp").get<double>() / std::hypot(1, 4e6 / f), 1, 0.03);
    }
    // A file of the link that has changed makes all trials anew.
    Save("link.toml", Read("link.toml") + "noise = 1e-6\n");
    ASSERT_EQ(Amisim("tolerance tolerance --dry-run"), 0) << output_;
    EXPECT_TRUE(Says("3 cases, 3 of them to be run")) << output_;
}

TEST_F(JitterTest, WhatAmiResolveTellsIsTakenOff)
{
    fs::copy(CLOCK_MODEL, "clock.so");
    Save("clock.ami",
         "(clock (Reserved_Parameters (AMI_Version (Usage Info) (Type String) (Value \"7.2\"))\n"
         "(GetWave_Exists (Usage Info) (Type Boolean) (Value True))\n"
         "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value False))\n"
         "(Resolve_Exists (Usage Info) (Type Boolean) (Value True))\n"
         "(Rx_DCD (Usage Dep) (Type Float) (Value 0)))\n"
         "(Model_Specific (Corner (Usage In) (Type Float) (Range 4e6 0 1e9))))\n");
    const std::string words =
        " clock.ami --bit-rate 1e10 --samples-per-bit 16 --loss 0 --ppm 0 --prbs 7 --ignore-bits "
        "4000 --frequencies 4e6 --pictures none ";
    ASSERT_EQ(Amisim("tolerance --ber 1e-3 --resolution 0.01" + words), 0) << output_;
    const Json point = Found("tolerance/tolerance.json").at("points").at(0);
    EXPECT_NEAR(point.at("tolerance_ui_pp"), (1 - 2 * 0.1) * std::hypot(1, 1), 0.03);
    EXPECT_EQ(Amisim("transfer" + words), 0) << output_;
    EXPECT_EQ(Amisim("transfer -p Corner=0 --out none" + words), 9);
    EXPECT_TRUE(Says("the model returned 0 in AMI_Resolve")) << output_;
}

TEST_F(JitterTest, AMissedMaskIsAFailureWithItsMargin)
{
    Save("mask.csv", "1e6,3\n1e8,3\n");
    EXPECT_EQ(Tolerance("-p Corner=4e6 --frequencies 1e6,2e7 --mask mask.csv"), 10) << output_;
    const Json found = Found("tolerance/tolerance.json");
    EXPECT_EQ(found.at("passed"), false);
    EXPECT_EQ(found.at("margin_at_hz"), 2e7);
    EXPECT_NEAR(found.at("margin"), std::sqrt(1 + 0.04) / 3 - 1, 0.02);
    EXPECT_EQ(found.at("points").at(0).at("trials").at(0).at("amplitude_ui_pp"), 3)
        << "the mask itself is tried";
}

TEST_F(JitterTest, AKilledSearchGoesOnFromItsTrials)
{
    ASSERT_EQ(Tolerance("-p Corner=4e6 --frequencies 4e6"), 0) << output_;
    const Json before = Found("tolerance/tolerance.json");
    const fs::path folder = "tolerance/cases/0002-frequency=4000000";
    fs::remove(folder / "case.json");
    fs::remove(folder / "result.json");
    auto trials = nlohmann::ordered_json::parse(Read(folder / "trials.json"));
    auto& made = trials.at("point").at("trials");
    made.erase(made.size() - 1);
    made.at(0).at("bits") = 12345;  // to be known again
    Save(folder / "trials.json", trials.dump());
    ASSERT_EQ(Amisim("tolerance tolerance --pictures none"), 0) << output_;
    EXPECT_TRUE(Says("1 of 2 cases have been run before")) << output_;
    Json after = Found("tolerance/tolerance.json");
    Json& first = after.at("points").at(0).at("trials").at(0).at("bits");
    EXPECT_EQ(first, 12345);
    first = before.at("points").at(0).at("trials").at(0).at("bits");
    EXPECT_EQ(after, before);
    EXPECT_EQ(Amisim("sweep tolerance"), 2);
    EXPECT_TRUE(Says("is the folder of amisim tolerance")) << output_;
}

TEST_F(JitterTest, OptionsThatDoNotFitAreRefused)
{
    const std::pair<const char*, const char*> rows[] = {
        {"--sj-amplitude 0.1", "--sj-amplitude: the sine is what this command sets"},
        {"--frequencies 6e9", "--frequencies 6e+09: expected at most half the bit rate"},
        {"--bits 3000", "--ignore-bits 4000 leaves nothing of --bits 3000"},
        {"--confidence 1", "--confidence"},
        {"--save-wave npy", "--save-wave"},
    };
    for (const auto& [arguments, message] : rows) {
        EXPECT_NE(Tolerance(arguments), 0);
        EXPECT_TRUE(Says(message)) << output_;
        EXPECT_FALSE(fs::exists("tolerance")) << arguments;
    }
}

/// Of a run that looks at errors alone, or at everything.
std::optional<BitComparison> Compared(bool errorsOnly)
{
    SimulationOptions options;
    options.signal.bits = 20'000;
    options.signal.ppm = 0;
    options.signal.sineJitter = 0.6;
    options.signal.sineFrequency = 5e7;
    options.ignoreBits = 1000;
    options.errorsOnly = errorsOnly;
    options.model = CLOCK_MODEL;
    options.parameters = {"Corner=4e6"};
    const auto models = ResolveModels(options);
    struct : BlockListener
    {
        void Take(const ModelProcess::Block& /*block*/) override {}
    } listener;
    return Simulation(options, models, {AMISIM_WORKER, ".", "log", "log"}).Run(listener).comparison;
}

TEST_F(JitterTest, ALeanRunCountsTheSameErrors)
{
    const auto all = Compared(false), lean = Compared(true);
    ASSERT_TRUE(all && lean);
    EXPECT_GT(all->errors, 100);
    EXPECT_EQ(lean->errors, all->errors);
    EXPECT_EQ(lean->compared, all->compared);
    EXPECT_EQ(lean->delay, all->delay);
}

}  // namespace
}  // namespace amisim
