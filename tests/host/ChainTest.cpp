#include <cmath>
#include <nlohmann/json.hpp>

#include "host/run/Retimer.hpp"
#include "host/signal/Random.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

using Json = nlohmann::json;

class ChainTest : public ProgramTest
{
protected:
    /// @return result.json
    Json Run(const std::string& words)
    {
        EXPECT_EQ(Shell(AMISIM_PROGRAM " run --pictures none --statistical off " + words), 0)
            << output_;
        return Json::parse(Read("out/result.json"));
    }

    void Refuses(const std::string& words, const std::string& text)
    {
        EXPECT_NE(Shell(AMISIM_PROGRAM " run " + words), 0) << words;
        EXPECT_TRUE(Says(text)) << words << "\n" << output_;
    }

    const std::string kRetimer = " --retimer " TEST_MODEL " --loss 0", kModel = " " TEST_MODEL;
};

TEST_F(ChainTest, RetimersThatDecideInTheMiddleChangeNothing)
{
    const Json result = Run("--bits 6000 --loss 0 --ppm 0" + kRetimer + kRetimer + kModel);
    ASSERT_EQ(result["segments"].size(), 3);
    for (const Json& segment : result["segments"]) {
        EXPECT_EQ(segment["end_to_end"]["errors"], 0);
        EXPECT_GT(segment["end_to_end"]["compared_bits"], 2900);
        EXPECT_NEAR(segment["eye"]["height_v"], 0.8, 1e-3);
    }
    const Json four = Run("--bits 6000 --loss 0 --ppm 0 --modulation pam4" + kRetimer + kModel);
    for (const Json& segment : four["segments"]) {
        EXPECT_EQ(segment["eye"]["eyes"].size(), 3);
        EXPECT_EQ(segment["end_to_end"]["errors"], 0);
        EXPECT_GT(segment["end_to_end"]["compared_bits"], 5800);
    }
    EXPECT_TRUE(Says("what it sends on is decided by the ones evenly")) << output_;
    // Half of a unit interval off, which half of the edges are decided wrongly by.
    const Json off = Run("--bits 6000 --loss 0 --ppm 0 --rj 0.02 --retimer " TEST_MODEL
                         " --retimer-param 'Mode=clock between' --loss 0" +
                         kModel);
    EXPECT_GT(
        off["end_to_end"]["errors"].get<int>() + off["alignment"]["unaligned_bits"].get<int>(),
        500);
}

TEST_F(ChainTest, EachSegmentLeavesWhatItsModelReturned)
{
    // The one before is ahead of the last, by blocks that do not end where the run does.
    Run("--bits 3333 --block-bits 100 --loss 0 --ppm 0 --save-wave npy --retimer " TEST_MODEL
        " --retimer-param 'Mode=out taps' --loss 0" +
        kModel);
    EXPECT_EQ(Read("out/segment1/wave.npy").size(), Read("out/wave.npy").size());
    EXPECT_GT(Read("out/wave.npy").size(), 3333U * 64 * 16);
    EXPECT_EQ(Read("out/segment1/clock.csv"), Read("out/clock.csv"));
    EXPECT_TRUE(Read("out/segment1/parameters_out.csv").starts_with("name,bit,value\n"));
}

TEST_F(ChainTest, ErrorsOfSegmentsAddUp)
{
    // Each decides 0.4 V wrongly with a probability p, that of a noise of 0.2 V.
    const std::string noisy = "--loss 0 --noise 0.2 ";
    const Json result =
        Run("--bits 60000 --ignore-bits 2000 --ppm 0 " + noisy + "--retimer " TEST_MODEL " " +
            noisy + "--retimer " TEST_MODEL " " + noisy + kModel);
    const double p = 0.5 * std::erfc(2 / std::sqrt(2.0));
    for (std::size_t k = 0; k < 3; ++k) {
        const Json& segment = result["segments"][k];
        const auto within = [&](const char* name, double ratio) {
            const double bits = segment[name]["compared_bits"], expected = bits * ratio;
            EXPECT_NEAR(segment[name]["errors"], expected, 5 * std::sqrt(expected)) << name << k;
        };
        within("errors", p);
        // A bit wrong twice is right again.
        within("end_to_end", 0.5 * (1 - std::pow(1 - 2 * p, static_cast<double>(k + 1))));
    }
}

TEST_F(ChainTest, ALinkFileSaysWhatTheCommandLineSays)
{
    const std::string rx = "rx = { ibis = \"" TEST_MODEL "\"";
    Save("one.toml",
         "[link]\nbits = 3_000\n[[segment]]\ntx = { swing = 0.7, post = [0.1, 0.05] }\n"
         "channel = { loss = 9.5 }\nnoise = 0.003\n" +
             rx + " }\n");
    Save("two.toml", "[[segment]]\nloss = 5\n" + rx +
                         ", as = \"retimer\", set = { Mode = \"slice\" } }\n"
                         "[[segment]]\nchannel = { loss = 7 }\n" +
                         rx + " }\n");
    std::string line = "# GHz S RI R 50\n";
    for (int k = 0; k < 400; ++k) line += fmt::format("{} 0 0 .1 0 .1 0 0 0\n", 0.1 * k);
    Save("line.s2p", line);
    Save("three.toml",
         "[[segment]]\nchannel = [\"line.s2p\", \"line.s2p\"]\nnext = \"line.s2p\"\n"
         "fext = [\"line.s2p\", { file = \"line.s2p\", element = 2 }]\n" +
             rx + " }\n");
    const auto same = [&](const std::string& file, const std::string& words) {
        Run(file + " --save-wave npy");
        const std::string wave = Read("out/wave.npy");
        Run(words + " --save-wave npy");
        EXPECT_FALSE(wave.empty());
        EXPECT_TRUE(wave == Read("out/wave.npy")) << file;
    };
    same("one.toml",
         "--bits 3000 --amplitude 0.7 --tx-post 0.1,0.05 --loss 9.5 --noise 0.003" + kModel);
    same("one.toml --bits 2000 --set 1.noise=0",
         "--bits 2000 --amplitude 0.7 --tx-post 0.1,0.05 --loss 9.5" + kModel);
    same("three.toml --bits 3000",
         "--bits 3000 --touchstone line.s2p --touchstone line.s2p --next line.s2p "
         "--fext line.s2p --fext line.s2p@2" +
             kModel);
    same("two.toml --bits 3000", "--bits 3000 --loss 5 --retimer " TEST_MODEL
                                 " --retimer-param Mode=slice --loss 7" +
                                     kModel);
}

TEST_F(ChainTest, WhatDoesNotMakeALinkIsRefusedByName)
{
    Refuses("--ppm 0 --loss 0 --retimer " TEST_MODEL " --retimer-param 'Mode=no clock'" + kModel,
            "has returned no clock times");
    Refuses("--retimer " TEST_MODEL " --ppm 3" + kModel, "segment 2: --ppm");
    Refuses("--retimer-param Mode=slice" + kModel, "belongs behind a repeater");
    const std::string last = "rx = { ibis = \"" TEST_MODEL "\" }\n";
    for (const auto& [text, said] :
         {std::pair<std::string, std::string>{
              "[[segment]]\nlos = 3\n" + last,
              "link.toml:2: los: is not known here; did you mean loss?"},
          {"[[segment]]\nloss = 99\n" + last, "link.toml:2: loss: "},
          {"[[segment]]\nloss = 3\n", "link.toml:1: segment: has no receiver"},
          {"[[segment]]\n" + last + "[[segment]]\n" + last, "declares no Repeater_Type"},
          {"[[segment]]\nnext = [{ file = \"x.s4p\" }]\n" + last,
           "link.toml:2: next: expected a file, or { file ="},
          {"[lnk]\n[[segment]]\n" + last, "expected [link] or [[segment]]"}}) {
        Save("link.toml", text);
        Refuses("link.toml", said);
    }
}

TEST(Retimer, SendsWithoutAClockWhatItSentLastAtTheNominalRate)
{
    // A clock time for each bit of 100 ps, of which some are missing and then all.
    constexpr int kSamples = 10;
    Random random(3, 1);
    std::vector<double> wave, times;
    std::vector<Symbol> bits;
    for (int n = 0; n < 4000; ++n) {
        bits.push_back(static_cast<Symbol>(random.Uniform() > 0.5));
        wave.insert(wave.end(), kSamples, bits.back() ? 1.0 : -1.0);
        if (n >= 5 && n < 2000 && n != 700) times.push_back(n * 100e-12);
    }
    Retimer retimer({"", 10e-12, kSamples, {}}, [] { FAIL(); });
    retimer.ExpectClockBy(4000);
    retimer.Add(wave, times);
    const auto sent = retimer.Symbols();
    for (std::size_t n = 0; n < 3990; ++n) {
        const Symbol expected = n < 5      ? Symbol{0}
                                : n == 700 ? bits[699]
                                           : bits[std::min<std::size_t>(n, 1999)];
        ASSERT_EQ(sent->Next(), expected) << n;
        ASSERT_NEAR(*sent->Begin(), static_cast<double>(n * kSamples), 1e-6) << n;
    }
    Retimer silent({"rx.ibs", 10e-12, kSamples, {}}, [] {});
    silent.ExpectClockBy(3000);
    EXPECT_THROW(silent.Add(wave, {}), Error);
}

}  // namespace
}  // namespace amisim
