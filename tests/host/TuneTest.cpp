#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "host/tune/Ranking.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

/// With a receiver that adds a part of the bit before, m/rx.ami.
class TuneTest : public ProgramTest
{
protected:
    void Make(bool impulse)
    {
        fs::create_directories("m");
        fs::copy_file(FIR_MODEL, "m/rx.so", fs::copy_options::overwrite_existing);
        const auto truth = [](bool value) { return value ? "True" : "False"; };
        Save("m/rx.ami",
             fmt::format("(rx (Reserved_Parameters\n"
                         "(AMI_Version (Usage Info) (Type String) (Value \"7.0\"))\n"
                         "(GetWave_Exists (Usage Info) (Type Boolean) (Value {}))\n"
                         "(Init_Returns_Impulse (Usage Info) (Type Boolean) (Value {})))\n"
                         "(Model_Specific (First (Usage In) (Type Float) (Value 1))\n"
                         "(Second (Usage In) (Type Float) (Value 0))\n"
                         "(Impulse (Usage In) (Type Float) (Value {}))))\n",
                         truth(!impulse), truth(impulse), impulse ? 1 : 0));
    }
    int Tune(const std::string& arguments)
    {
        return Shell(AMISIM_PROGRAM
                     " tune m/rx.ami --loss 0 --amplitude 1 --ppm 0 --bits 4000"
                     " --confirm-bits 8000 --jobs 2 " +
                     arguments);
    }
    static Json Found() { return Json::parse(Read("tune/tune.json")); }
};

// Without loss, de-emphasis c and the receiver's part s of the bit before leave of a bit 1 - c, of
// the next two (1 - c) s - c and -c s: the eye opens by 1 - c - |(1 - c) s - c| - c s, most where
// s = c / (1 - c).
TEST_F(TuneTest, FindsTheOptimumOfAFilterOfTwoTapsAndHowFlatItIs)
{
    for (const bool impulse : {false, true}) {
        SCOPED_TRACE(impulse);
        Make(impulse);
        ASSERT_EQ(Tune("--over rx.Second=0.05:0.05:0.4 --tx-post 0.2 --confirm 2 --pictures svg "
                       "--adaptation First=1,0.5"),
                  0)
            << output_;
        EXPECT_TRUE(Says("8 cases")) << output_;
        EXPECT_TRUE(Says("Second 0.15 to 0.3; 4 of 8 cases within 1 dB of the best")) << output_;
        EXPECT_TRUE(Says("dB below the best")) << output_;
        const Json found = Found();
        EXPECT_TRUE(found["computed"]);
        EXPECT_EQ(found["best"]["settings"], Json({{"Second", "0.25"}}));
        for (const Json& c : found["cases"]) {
            const double s = std::stod(c["settings"]["Second"].get<std::string>());
            EXPECT_NEAR(c["figure"], 0.8 - std::abs(0.8 * s - 0.2) - 0.2 * s, 0.005) << s;
        }
        ASSERT_EQ(found["confirmed"].size(), 2U);
        EXPECT_NEAR(found["confirmed"][0]["eye_height_v"], 0.75, 0.01);
        EXPECT_NEAR(found["adaptation"]["figure"], 0.3, 0.005);
        EXPECT_NE(Read("tune/tune.html").find("href=\"tune.svg\""), std::string::npos);
        EXPECT_TRUE(fs::exists("tune/tune.svg"));
        fs::remove_all("tune");
    }
    ASSERT_EQ(Tune("--over rx.Second=0.05,0.25 --over tx.post1=0,0.2 --confirm 0"), 0) << output_;
    EXPECT_EQ(Found()["best"]["settings"], Json({{"Second", "0.05"}, {"tx-post", "0"}}));
    ASSERT_EQ(Tune("--over rx.Second=0.05,0.25 --over tx.post1=0,0.2 --confirm 0"), 0) << output_;
    EXPECT_TRUE(Says("4 of 4 cases have been run before")) << output_;
}

TEST_F(TuneTest, OfALinkTheWeakestEyeIsTuned)
{
    Make(true);
    Save("link.toml",
         "[link]\nbits = 4000\n[[segment]]\nloss = 0\nppm = 0\ntx = { swing = 0.7 }\n"
         "rx = { ibis = \"" TEST_MODEL
         "\", as = \"retimer\" }\n"
         "[[segment]]\nloss = 0\ntx = { swing = 1, post = 0.2 }\nrx = { ibis = \"m/rx.ami\" }\n");
    const auto tune = [&](const std::string& arguments) {
        return Shell(AMISIM_PROGRAM
                     " tune link.toml --confirm-bits 8000 --jobs 2 --pictures none "
                     "--confirm 1 --adaptation First=1,0.5 " +
                     arguments);
    };
    ASSERT_EQ(tune("--over rx.Second=0.05,0.25 --over 2.tx.post=0.1,0.2"), 0) << output_;
    const Json found = Found();
    EXPECT_EQ(found["best"]["settings"], Json({{"2.rx.set.Second", "0.05"}, {"2.tx.post", "0.1"}}));
    EXPECT_NEAR(found["best"]["figure"], 0.7, 0.005) << "of the first segment";
    for (const Json& c : found["cases"]) {
        const double s = std::stod(c["settings"]["2.rx.set.Second"].get<std::string>());
        const double post = std::stod(c["settings"]["2.tx.post"].get<std::string>());
        const double second = 1 - post - std::abs((1 - post) * s - post) - post * s;
        EXPECT_NEAR(c["figure"], std::min(0.7, second), 0.005) << c;
    }
    // The receiver's parameters are left to the model, the link's to the best setting.
    EXPECT_EQ(found["adaptation"]["name"], "First=0.5, 2.tx.post=0.1");
    ASSERT_EQ(tune("--over 1.noise=0,0.3 --for errors"), 0) << output_;
    EXPECT_EQ(Found()["cases"][0]["figure"], 0);
    EXPECT_GT(Found()["cases"][1]["figure"], 20);
    EXPECT_EQ(tune("--over tx.post1=0,0.1"), 2);
    EXPECT_TRUE(Says("expected the segment before it, such as 1.tx.post")) << output_;
}

TEST_F(TuneTest, WhatCannotBeSearchedIsNamedWithWhatWasExpected)
{
    Make(false);
    const std::pair<const char*, const char*> cases[] = {
        {"", "nothing to tune: give --over NAME=VALUES"},
        {"--over rx.Third=1:2", "--over rx.Third=1:2: Third is neither"},
        {"--over rx.Second=a", "Second"},
        {"--over tx.post2=0,0.1", "--over tx.post2=0,0.1: expected tx.pre1 or tx.post1"},
        {"--over rx.Second=0,1 --for height", "--for height: expected height@RATIO"},
        {"--over rx.Second=0,1 --for width@1", "--for width@1: expected"},
        {"--over rx.Second=0,1 --for errors@1e-3", "--for errors@1e-3: expected"},
        {"--over rx.Second=0,1 --adaptation First", "--adaptation First: expected NAME=OFF,ON"},
        {"--over tx.post1=0,0.1 --tx-post 0.2", "tx-post is among the options"},
    };
    for (const auto& [arguments, said] : cases) {
        EXPECT_EQ(Tune(arguments), 2) << arguments;
        EXPECT_TRUE(Says(said)) << arguments << ": " << output_;
    }
    EXPECT_FALSE(fs::exists("tune"));
}

TEST(RankingTest, AFlatRangeEndsAtACaseThatDoesNotCompare)
{
    const Figure figure("width@1e-9");
    Table table;
    table.plan.axes = {{"a", false, {"1", "2", "3", "4", "5"}, ""}};
    const double widths[] = {0.70, 0.77, 0.80, 0.79, 0.78};
    for (std::size_t i = 0; i < 5; ++i) {
        Row row;
        row.status = Row::Status::kOk;
        row.ranked = i != 3;
        row.numbers[figure.AsNumber().pointer] = widths[i];
        table.rows.push_back(row);
    }
    const Ranking ranking(table, figure);
    ASSERT_EQ(ranking.rows.size(), 4U);
    EXPECT_EQ(ranking.rows[1], &table.rows[4]);
    EXPECT_EQ(ranking.near, 3);
    ASSERT_EQ(ranking.flat.size(), 1U);
    EXPECT_EQ(ranking.flat[0].from, "2");
    EXPECT_EQ(ranking.flat[0].to, "3");
    EXPECT_FALSE(ranking.flat[0].atBegin || ranking.flat[0].atEnd);
}

}  // namespace
}  // namespace amisim
