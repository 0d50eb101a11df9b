#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "host/analysis/EyeMask.hpp"
#include "host/analysis/Tail.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

/// An eye of so many samples a phase, of which this part lies below a voltage.
VoltageHistogram EyeOf(double samples, const std::function<double(double phase, double v)>& below)
{
    VoltageHistogram density(256, 512);
    density.Fit(0.4);
    for (std::size_t c = 0; c < density.Columns(); ++c) {
        const double phase = (static_cast<double>(c) + 0.5) / 256;
        for (std::size_t r = 0; r < density.Rows(); ++r) {
            const auto upTo = [&](std::size_t row) {
                return std::llround(samples * below(phase, density.Edge(row)));
            };
            for (auto n = upTo(r + 1) - upTo(r); n > 0; --n)
                density.Count(c, density.Edge(r) + density.BinHeight() / 2);
        }
    }
    return density;
}

TEST(EyeMask, TheMarginOfAGaussianEyeIsThatOfItsClosedForm)
{
    constexpr double kLevel = 0.25, kSigma = 0.04, kHalf = 0.15, kSamples = 2e5;
    const VoltageHistogram density = EyeOf(kSamples, [](double, double v) {
        return (2 - Q((v + kLevel) / kSigma) - Q((v - kLevel) / kSigma)) / 2;
    });
    // Of the samples of a phase, within so much of the threshold; and the mask covers 0.6 UI.
    const auto ratio = [&](double scale) {
        const double v = kHalf * scale;
        return 0.6 * scale * (Q((kLevel - v) / kSigma) - Q((kLevel + v) / kSigma));
    };
    for (const double scale : {0.6, 0.8, 1.0, 1.2, 1.5}) {
        for (const bool normalised : {false, true}) {
            SCOPED_TRACE(testing::Message() << scale << (normalised ? " normalised" : ""));
            const auto y = [&](double v) { return normalised ? 0.5 + v / (2 * kLevel) : v; };
            const EyeMask mask{
                "box",
                {{0.2, y(kHalf)}, {0.8, y(kHalf)}, {0.8, y(-kHalf)}, {0.2, y(-kHalf)}},
                -EyeMask::kUnlimited,
                EyeMask::kUnlimited,
                ratio(scale),
                normalised};
            const MaskFindings found = TestMask(mask, density, 0);
            EXPECT_EQ(found.samples, static_cast<std::uint64_t>(256 * kSamples));
            // Half a row of the density, or half of a column.
            EXPECT_NEAR(found.MarginPercent(), 100 * (scale - 1), 1);
            EXPECT_NEAR(found.HitRatio() / ratio(1), 1, 0.05);
            if (scale != 1) {
                EXPECT_EQ(found.Passed(), scale > 1);
            }
        }
    }
}

TEST(EyeMask, ItIsLaidWhereTheEyeCrossesAndItsLimitsCountApart)
{
    // All samples lie at ±0.3 V, but within 0.05 UI of the crossing, where they are anywhere.
    constexpr double kLevel = 0.3;
    for (const double crossing : {0.0, 0.13, -0.3}) {
        SCOPED_TRACE(crossing);
        const VoltageHistogram density = EyeOf(1000, [&](double phase, double v) {
            const double off = phase - crossing - std::round(phase - crossing);
            if (std::abs(off) < 0.05) return std::clamp(0.5 + v / (2 * kLevel), 0.0, 1.0);
            return v <= -kLevel ? 0.0 : v <= kLevel ? 0.5 : 1.0;
        });
        EyeMask mask{"diamond", {{0.3, 0}, {0.5, 0.1}, {0.7, 0}, {0.5, -0.1}}};
        MaskFindings found = TestMask(mask, density, crossing);
        EXPECT_TRUE(found.Passed());
        EXPECT_NEAR(found.scale, (0.5 - 0.05) / 0.2, 0.02);
        EXPECT_NEAR(found.centre.x, 0.5 + crossing, 1e-12);

        mask.low = -0.29;
        found = TestMask(mask, density, crossing);
        EXPECT_FALSE(found.Passed());
        EXPECT_EQ(found.inside, 0u);
        EXPECT_NEAR(static_cast<double>(found.beyond), 256 * 1000 * 0.45, 1000);
        EXPECT_NEAR(found.scale, (0.5 - 0.05) / 0.2, 0.02) << "that of the corners alone";
    }
    const MaskFindings nothing = TestMask(FindMask("10gbase-s"), VoltageHistogram(256, 512), 0);
    EXPECT_FALSE(nothing.Passed()) << "what was not tested has not passed";
}

TEST(EyeMask, ScalesOfPlacesFollowAnyOutlineThatTheCentreSees)
{
    const std::vector<EyePlace> star = {{0.1, 0}, {0.45, 0.1}, {0.5, 1}, {0.9, 0}, {0.5, -0.2}};
    struct Case
    {
        EyePlace place;
        double scale;
    };
    for (const auto& [place, scale] :
         {Case{{0.1, 0}, 1}, Case{{0.3, 0}, 0.5}, Case{{0.5, 2}, 2}, Case{{0.5, -0.1}, 0.5},
          Case{{0.7, 0.5}, 1}, Case{{0.475, 0.05}, 0.5}, Case{{0.3, 0.4}, 0.4 / 0.1},
          Case{{0.5, 0}, 0}}) {
        EXPECT_NEAR(ScaleTo(place, star, {0.5, 0}), scale, 1e-12) << place.x << " " << place.y;
    }
}

TEST(EyeMask, EachBuiltInOneSurroundsItsCentre)
{
    for (const EyeMask& mask : BuiltInMasks()) {
        SCOPED_TRACE(mask.name);
        EXPECT_NO_THROW(mask.Check());
        EXPECT_LT(mask.low, mask.high);
        for (const EyePlace corner : mask.corners) {
            EXPECT_GT(corner.x, 0);
            EXPECT_LT(corner.x, 1);
            EXPECT_TRUE(corner.y > mask.low && corner.y < mask.high);
        }
    }
}

TEST(EyeMask, AFileIsReadOrNamedWithItsLineAndARemedy)
{
    const TemporaryFolder folder;
    const std::string points = "points = [[0.35, 0], [0.5, 150e-3], [0.65, 0], [0.5, -0.15]]\n";
    Save("good.toml",
         "# ours\n" + points + "hits = 1e-4\nlimits = [-1, 0.425]\nnormalised = false\n");
    const EyeMask mask = FindMask("good.toml");
    EXPECT_EQ(mask.name, "good");
    EXPECT_EQ(mask.hitRatio, 1e-4);
    EXPECT_EQ(mask.low, -1);
    EXPECT_EQ(mask.high, 0.425);
    ASSERT_EQ(mask.corners.size(), 4u);
    EXPECT_EQ(mask.corners[1].y, 0.15);
    struct Case
    {
        std::string text;
        const char* says;
    };
    for (const Case& c : {
             Case{"hits = 0\n", "mask.toml: names no points"},
             Case{points + "hits = 2\n", "mask.toml:2: hits: expected a ratio"},
             Case{points + "hits = \"few\"\n", "mask.toml:2: hits: expected a ratio"},
             Case{points + "limit = [1, 2]\n", "mask.toml:2: limit is not known here"},
             Case{points + "limits = [2, 1]\n", "mask.toml:2: limits: expected the lower"},
             Case{points + "limits = 0.4\n", "mask.toml:2: limits: expected two voltages"},
             Case{points + "normalised = 1\n", "mask.toml:2: normalised: expected true"},
             Case{points + "hits = \n", "mask.toml:2: "},
             Case{"\npoints = 3\n", "mask.toml:2: points: expected corners"},
             Case{"points = [[0.3, 0],\n [0.5]]\n", "mask.toml:2: points: expected corners"},
             Case{"points = [[0.3, nan], [0.5, 1]]\n", "mask.toml:1: points: expected corners"},
             Case{"points = [[35, 0], [50, 1]]\n", "mask.toml:1: points: 35 UI lies outside"},
             Case{"points = [[0.3, 0], [0.7, 0]]\n", "round the centre of the eye at 0.5 UI, 0 V"},
             Case{"points = [[0.3, 0], [0.5, 1], [0.45, 0.2]]\n", "round the centre"},
             Case{
                 "points = [[0.3, 0], [0.5, 1], [0.7, 0], [0.5, -1], [0.3, 0], [0.5, 1], [0.7, 0], "
                 "[0.5, -1]]\n",
                 "round the centre"},
             Case{points + "normalised = true\n", "round the centre of the eye at 0.5 UI, 0.5"},
         }) {
        Save("mask.toml", c.text);
        std::string said;
        try {
            FindMask("mask.toml");
        } catch (const Error& error) {
            said = error.what();
        }
        EXPECT_NE(said.find(c.says), std::string::npos) << c.text << said;
    }
    for (const char* name : {"sfi-host-xr", "mask.tml"}) {
        try {
            FindMask(name);
            ADD_FAILURE() << name;
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find("is neither a file nor"), std::string::npos);
        }
    }
}

}  // namespace
}  // namespace amisim
