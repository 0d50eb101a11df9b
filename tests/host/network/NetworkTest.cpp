#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "host/network/CrosstalkNoise.hpp"
#include "host/network/LimitFile.hpp"
#include "host/network/MakeReport.hpp"
#include "host/network/NetworkPage.hpp"
#include "tests/host/Support.hpp"
#include "touchstone/Cascade.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;

/// A line matched between its own references, with this loss in dB.
SParameters Line(double ohms, double delay, double (*loss)(double))
{
    SParameters s{2, {}, {ohms, ohms}, {}};
    for (int k = 1; k <= 1500; ++k) {
        const double f = 10e6 * k;
        s.frequency.push_back(f);
        const Complex through =
            std::polar(std::pow(10.0, -loss(f) / 20), -2 * std::numbers::pi * f * delay);
        s.values.insert(s.values.end(), {0.0, through, through, 0.0});
    }
    return s;
}

ChannelNetwork Network(const SParameters& s)
{
    ChannelNetwork network;
    network.s = s;
    network.ports = kCascadePorts;
    return network;
}

double Flat(double)
{
    return 0.0;
}

double Loss(double f)
{
    return 0.2 + 1e-5 * std::sqrt(f) + 8e-10 * f + 3e-20 * f * f;
}

TEST(LossFit, FindsTheTermsOfALossThatHasThem)
{
    const ChannelNetwork network = Network(Line(50, 1e-9, Loss));
    const NetworkFigures figures = FiguresOf(network, {}, {});
    const double expected[] = {0.2, 1e-5, 8e-10, 3e-20};
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_NEAR(figures.fit.a[i] / expected[i], 1.0, 1e-6) << kFitTerms[i];
    EXPECT_LT(figures.fit.rmsDb, 1e-9);
    // A straight line leaves what is curved, and lies between its frequencies only.
    const NetworkFigures line = FiguresOf(network, {}, {{true, false, true, false}, 1e9, 6e9});
    const auto& deviation = line.Find("loss_deviation_db")->db;
    EXPECT_EQ(line.fit.a[1], 0.0);
    EXPECT_TRUE(std::isnan(deviation[98]) && std::isnan(deviation[600]));
    double sum = 0.0;
    for (std::size_t k = 99; k < 600; ++k) sum += deviation[k];
    EXPECT_NEAR(sum, 0.0, 1e-9);
    EXPECT_GT(std::abs(deviation[99]), 0.01);
    EXPECT_THROW(FiguresOf(network, {}, {{true, true, true, true}, 1e9, 1.02e9}), Error);
}

TEST(Reflectometry, ReadsTheImpedanceOfEachPlace)
{
    // 50, 60 and 40 ohm, each 1 ns there and back, and then 50: seen from either end.
    const double part = 0.5e-9;
    const auto section = [&](double ohms) { return Line(ohms, part, Flat); };
    for (const bool isPair : {false, true}) {
        SParameters whole = Cascade({section(50), section(60), section(40), section(50)});
        const ChannelNetwork network = Network(isPair ? WithLegs(whole, 2) : whole);
        const NetworkFigures figures = FiguresOf(network, {}, {});
        const double scale = isPair ? 2 : 1;
        const auto at = [&](const Reflectometry& from, double time) {
            const auto found = std::ranges::lower_bound(from.time, time);
            return from.ohms[static_cast<std::size_t>(found - from.time.begin())] / scale;
        };
        EXPECT_NEAR(at(figures.source, 0.5e-9), 50.0, 0.05);
        EXPECT_NEAR(at(figures.source, 1.5e-9), 60.0, 0.05);
        EXPECT_NEAR(at(figures.load, 1.5e-9), 40.0, 0.05);
        // The second one is seen through the first, whose ends have taken 1.7 % of the wave.
        EXPECT_NEAR(at(figures.source, 2.5e-9), 40.0, 0.5);
        EXPECT_NEAR(figures.reference, 50.0 * scale, 1e-12);
    }
}

TEST(NetworkFigures, TellCrosstalkAndModeConversion)
{
    // A pair of which one leg is 6.02 dB weaker: SDD21 0.75, SCD21 0.25 of what goes in.
    SParameters pair = WithLegs(Line(50, 1e-9, Flat), 2);
    for (std::size_t k = 0; k < pair.frequency.size(); ++k) {
        for (const std::size_t i : {7U, 13U}) pair.values[16 * k + i] *= 0.5;
    }
    const FrequencyResponse through = pair.Term(3, 1);
    FrequencyResponse tenth = through;
    for (auto& value : tenth.value) value *= 0.1;
    FrequencyResponse coarse{{5e6, 4e9, 9e9, 16e9}, {0.05, 0.05, 0.05, 0.05}};
    const NetworkFigures figures = FiguresOf(Network(pair), {{tenth, false}, {coarse, true}}, {});
    const auto value = [&](const char* name) { return figures.Find(name)->db[300]; };
    EXPECT_NEAR(value("insertion_loss_db"), -20 * std::log10(0.75), 1e-9);
    EXPECT_NEAR(value("conversion_scd21_db"), 20 * std::log10(0.25), 1e-9);
    const double ratio = 10 * std::log10(0.75 * 0.75 / (0.01 + 0.0025));
    EXPECT_NEAR(value("crosstalk_ratio_db"), ratio, 1e-9);
    EXPECT_NEAR(value("fitted_crosstalk_ratio_db"), ratio, 1e-9);
    EXPECT_EQ(FiguresOf(Network(pair), {}, {}).Find("crosstalk_ratio_db"), nullptr);
}

TEST(CrosstalkNoise, OfFlatCouplingIsThatOfTheWeightsIntegral)
{
    FrequencyResponse flat, half;  // -40 dB throughout, and to half the bit rate
    for (int k = 0; k <= 1500; ++k) {
        flat.frequency.push_back(10e6 * k);
        flat.value.push_back(std::polar(0.01, 0.3 * k));
    }
    half = flat;
    half.frequency.resize(501);
    half.value.resize(501);
    // Twice the integral over x from 0 to 1 (and 1/2) of sinc^2(x) / ((1 + (x / 0.946)^4) (1 + (x /
    // 0.75)^8)), by Simpson's rule elsewhere.
    const AggressorSignal signal{10e9, 0.8, 25e-12};
    const double one = 0.4 * 0.01 * std::sqrt(0.85029978),
                 part = 0.4 * 0.01 * std::sqrt(0.76355611);
    const CrosstalkNoise far = NoiseOf({{flat, false}}, signal);
    EXPECT_NEAR(far.far / one, 1.0, 1e-5);
    EXPECT_EQ(far.near, 0.0);
    EXPECT_EQ(far.to, 10e9);
    EXPECT_NEAR(NoiseOf({{half, true}}, signal).near / part, 1.0, 1e-5);
    const CrosstalkNoise both = NoiseOf({{flat, true}, {half, false}, {flat, true}}, signal);
    EXPECT_NEAR(both.near / one, std::sqrt(2), 1e-5);
    EXPECT_NEAR(both.Total() / std::hypot(one, one, part), 1.0, 1e-5);
    // Without a rise time, by the same rule.
    const CrosstalkNoise wide = NoiseOf({{flat, false}}, {1e9, 2, 0});
    EXPECT_TRUE(std::isinf(wide.transmitterCorner));
    EXPECT_NEAR(wide.far / (0.01 * std::sqrt(0.87294044)), 1.0, 1e-3);
}

TEST(Limits, HaveTheBackplanesValues)
{
    const LimitSet kr = FindLimits("10gbase-kr");
    const auto at = [&](std::size_t i, double f) { return kr.limits[i].db(f); };
    // 25 dB at half the bit rate less what separates the fitted line's limit from the loss's.
    EXPECT_NEAR(at(0, 5.15625e9), 25.0, 1.0);
    EXPECT_NEAR(at(0, 5.15625e9) - at(1, 5.15625e9), 0.8 + 1.03125, 1e-9);
    EXPECT_NEAR(at(0, 7e9) - at(1, 7e9), 0.8 + 1.2 + 10.0, 1e-9);
    EXPECT_EQ(at(2, 4e9), 3.0);
    EXPECT_EQ(at(3, 4e9), -3.0);
    EXPECT_EQ(at(4, 100e6), 12.0);
    EXPECT_NEAR(at(4, 3e9), 12.0 - 6.75 * std::log10(3e9 / 275e6), 1e-12);
    EXPECT_EQ(at(4, 4e9), 5.0);
    EXPECT_NEAR(at(6, 5e9), 23.3, 1e-12);
}

TEST(Limits, AreJudgedWhereThereAreData)
{
    const TemporaryFolder folder;
    Save("limits.toml", R"(name = "ours"
[fit]
terms = ["a0", "a2"]
to_hz = 6e9
[[limit]]
curve = "insertion_loss_db"
most = [[1e9, 2.0], [3e9, 4.0], [20e9, 100.0]]
[[limit]]
curve = "return_loss_load_db"
least = [[1e9, 10], [10e9, 10]]
[[limit]]
curve = "crosstalk_ratio_db"
least = [[1e9, 10], [10e9, 10]]
)");
    const LimitSet set = FindLimits("limits.toml");
    EXPECT_EQ(set.name, "ours");
    EXPECT_EQ(set.fit.terms, (std::array{true, false, true, false}));
    const auto verdicts = Judge(FiguresOf(Network(Line(50, 1e-9, Loss)), {}, set.fit), set);
    EXPECT_TRUE(verdicts[0].isJudged && !verdicts[0].isWhole && !verdicts[0].IsMissed());
    EXPECT_EQ(verdicts[0].to, 15e9);
    EXPECT_NEAR(verdicts[0].marginDb, 4.0 - Loss(3e9), 1e-9);
    EXPECT_EQ(verdicts[0].frequency, 3e9);
    EXPECT_TRUE(verdicts[1].isWhole && !verdicts[1].IsMissed());
    EXPECT_FALSE(verdicts[2].isJudged || verdicts[2].IsMissed());
    const auto missed = Judge(
        FiguresOf(Network(Line(50, 1e-9, [](double f) { return 2 * Loss(f); })), {}, set.fit), set);
    EXPECT_TRUE(missed[0].IsMissed());

    struct Row
    {
        const char* text;
        const char* message;
    };
    for (const Row& row : {
             Row{"", "expected one [[limit]]"},
             {"[fit]\nterms = [\"a3\"]\n[[limit]]\n", "bad.toml:2: expected a0, a1, a2 or a4"},
             {"[[limit]]\ncurve = \"loss\"\nmost = [[1, 1], [2, 1]]",
              "bad.toml:2: expected as curve"},
             {"[[limit]]\ncurve = \"insertion_loss_db\"", "expected either most or least"},
             {"[[limit]]\ncurve = \"insertion_loss_db\"\nmost = [[1, 1]]", "two points or more"},
             {"[[limit]]\ncurve = \"insertion_loss_db\"\nmost = [[2, 1], [1, 1]]", "above the one"},
             {"[[limits]]\n", "unknown name 'limits'"},
         }) {
        Save("bad.toml", row.text);
        std::string said;
        try {
            FindLimits("bad.toml");
        } catch (const Error& error) {
            said = error.what();
        }
        EXPECT_NE(said.find(row.message), std::string::npos) << row.text << ": " << said;
    }
    EXPECT_NE(MessageOf([] { FindLimits("none"); }).find("built-in limits: 10gbase-kr"),
              std::string::npos);
}

class ChannelProgram : public ProgramTest
{
};

TEST_F(ChannelProgram, ShowsACascadeAndSaysWhatItMisses)
{
    const auto write = [](const char* name, double ohms) {
        const SParameters s = Line(ohms, 1e-9, Loss);
        std::string text = fmt::format("# Hz S RI R {}\n", ohms);
        for (std::size_t k = 0; k < s.frequency.size(); ++k) {
            const Complex t = s.At(k, 2, 1);
            text +=
                fmt::format("{0} 0 0 {1} {2} {1} {2} 0 0\n", s.frequency[k], t.real(), t.imag());
        }
        Save(name, text);
    };
    write("good.s2p", 50);
    write("bad.s2p", 20);
    Save("limits.toml",
         "[[limit]]\ncurve = \"return_loss_source_db\"\nleast = [[1e9, 10], [5e9, 10]]\n");
    EXPECT_EQ(Shell(AMISIM_PROGRAM " channel good.s2p good.s2p --limit limits.toml --out good"), 0)
        << output_;
    EXPECT_TRUE(Says("Return loss at the source at least")) << output_;
    EXPECT_TRUE(Says("kept by")) << output_;
    for (const char* name : {"loss.png", "impedance.png", "response.png", "channel.html",
                             "channel.csv", "impedance.csv", "response.csv"})
        EXPECT_FALSE(Read(std::string("good/") + name).empty()) << name;
    EXPECT_EQ(Shell(AMISIM_PROGRAM
                    " channel good.s2p bad.s2p --limit limits.toml --out good --pictures svg "
                    "--json >json"),
              10)
        << output_;
    const auto json = nlohmann::json::parse(Read("json"));
    EXPECT_FALSE(json["limits"]["kept"]);
    EXPECT_LT(json["limits"]["lines"][0]["margin_db"], 0.0);
    EXPECT_NEAR(json["at_half_bit_rate"]["insertion_loss_db"], 2 * Loss(5.15625e9), 2.0);
    EXPECT_EQ(nlohmann::json::parse(Read("good/channel.json")), json);
    EXPECT_FALSE(json.contains("crosstalk_noise"));
    EXPECT_EQ(Shell(AMISIM_PROGRAM " channel good.s2p good.s2p --next good.s2p@1 --out good "
                                   "--aggressor-amplitude 1.6 --pictures none --json >json"),
              0)
        << output_;
    const auto noise = nlohmann::json::parse(Read("json"))["crosstalk_noise"];
    EXPECT_EQ(noise["fext_v_rms"], 0.0);
    EXPECT_EQ(noise["next_v_rms"], noise["v_rms"]);
    EXPECT_GT(noise["v_rms"], 0.1);
    EXPECT_NE(Read("good/channel.html").find("Integrated crosstalk noise"), std::string::npos);
    EXPECT_TRUE(Read("good/loss.png").empty());  // of the run before
    EXPECT_EQ(Shell(AMISIM_PROGRAM " channel none.s2p"), 3);
    EXPECT_TRUE(Says("none.s2p")) << output_;
    EXPECT_EQ(Shell(AMISIM_PROGRAM " channel good.s2p --limit none"), 3);
}

}  // namespace
}  // namespace amisim
