#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <numbers>

#include "host/analysis/AdaptLog.hpp"
#include "host/analysis/BitComparer.hpp"
#include "host/analysis/ClockFrame.hpp"
#include "host/analysis/EyeAnalysis.hpp"
#include "host/analysis/EyeEvaluation.hpp"
#include "host/analysis/VoltageHistogram.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Random.hpp"

namespace amisim {
namespace {

TEST(VoltageHistogram, GrowsWithoutLosingCountsOrPlaces)
{
    VoltageHistogram grown(1, 64), fitted(1, 64);
    fitted.Fit(3.9);
    Random random(1);
    for (int i = 0; i < 1000; ++i) {
        const double v = (i < 500 ? 0.1 : 1.0) * std::tanh(random.Normal()) * 3.9;
        grown.Fit(std::abs(v));
        grown.Count(0, v);
        fitted.Count(0, v);
    }
    grown.Fit(3.9);
    ASSERT_EQ(grown.Range(), 4.0);
    for (std::size_t row = 0; row < 64; ++row)
        EXPECT_EQ(grown.At(0, row), fitted.At(0, row)) << row;
}

TEST(VoltageHistogram, OpeningLeavesOutTheProbabilityAskedFor)
{
    VoltageHistogram levels(1, 8192);
    levels.Fit(1);
    Random random(2);
    constexpr double kSigma = 0.03;
    for (int i = 0; i < 400000; ++i)
        levels.Count(0, (i % 2 ? 0.4 : -0.4) + kSigma * random.Normal());
    // One part in a thousand of a normal distribution lies beyond 3.0902 sigma.
    const Opening opening = InnerOpening(levels, 0, 1e-3);
    EXPECT_NEAR(opening.high, 0.4 - 3.0902 * kSigma, 0.05 * kSigma);
    EXPECT_NEAR(opening.low, -0.4 + 3.0902 * kSigma, 0.05 * kSigma);
}

TEST(ClockFrame, FillsDroppedClocksAndLeavesInterruptionsOpen)
{
    ClockFrame frame(1.0, 10.0);
    frame.Add(std::vector<double>{5, 15, 35, 45});  // one dropped
    frame.Add(std::vector<double>{45, 40, 75});     // two not later; two dropped
    frame.Add(std::vector<double>{275, 285});       // interrupted
    const double times[] = {5, 15, 25, 35, 45, 55, 65, 75, 275, 285};
    ASSERT_EQ(frame.Edges().size(), std::size(times));
    for (std::size_t i = 0; i < std::size(times); ++i) {
        EXPECT_DOUBLE_EQ(frame.Edges()[i].time, times[i]);
        EXPECT_EQ(frame.Edges()[i].afterGap, i == 0 || times[i] == 275);
    }
    EXPECT_EQ(frame.Filled(), 3);
    EXPECT_EQ(frame.Backward(), 2);
    EXPECT_EQ(frame.Edges().back().number, 28);
}

struct Received
{
    BitHistory sent{1 << 16};
    std::vector<bool> bits;

    explicit Received(int count)
    {
        Prbs prbs(31, 4);
        for (int i = 0; i < count; ++i) {
            sent.Push(prbs.Next());
            bits.push_back(sent[i]);
        }
    }
};

TEST(BitComparer, CountsErrorsWhateverDelayAndPolarity)
{
    for (const int delay : {-3, 0, 1, 700}) {
        for (const bool inverted : {false, true}) {
            Received received(20000);
            BitComparer comparer(received.sent);
            for (int i = 0; i < 10000; ++i) {
                const bool wrong = i == 3 || i == 5000 || i == 9999;
                comparer.Add(
                    received.bits[static_cast<std::size_t>(i + 800)] != (inverted != wrong),
                    i + 800 + delay);
            }
            comparer.Finish();
            EXPECT_EQ(comparer.Errors(), 3);
            EXPECT_EQ(comparer.Compared(), 10000);
            EXPECT_EQ(comparer.Delay(), delay);
            EXPECT_EQ(comparer.Inverted(), inverted);
            EXPECT_EQ(comparer.Realignments(), 0);
        }
    }
}

TEST(BitComparer, FindsThePatternAgainAfterASlip)
{
    Received received(20000);
    BitComparer comparer(received.sent);
    for (int i = 0; i < 10000; ++i) {
        const int slipped = i < 5000 ? i : i + 1;
        comparer.Add(received.bits[static_cast<std::size_t>(slipped)], i);
    }
    comparer.Finish();
    EXPECT_EQ(comparer.Realignments(), 1);
    EXPECT_GT(comparer.Errors(), 50);
    EXPECT_LT(comparer.Errors(), 512);
}

TEST(BitComparer, DoesNotClaimAPlaceInNoise)
{
    Received received(20000);
    BitComparer comparer(received.sent);
    Random random(9);
    for (int i = 0; i < 20000; ++i) comparer.Add((random.Bits() & 1) != 0, i);
    comparer.Finish();
    EXPECT_EQ(comparer.Compared(), 0);
    EXPECT_EQ(comparer.Unaligned(), 20000);
}

/// A 1-0-1-0 pattern whose n-th crossing of 0 V lies at 64 n + jitter(n) samples, with clock edges
/// at 64 n.
template <typename Jitter>
EyeAnalysis Analyse(int bits, std::size_t block, double offset, Jitter jitter)
{
    EyeAnalysis::Settings settings;
    settings.ignoreSamples = 64 * 10;
    EyeAnalysis eye(settings);
    std::vector<double> wave;
    std::vector<ClockFrame::Edge> edges;
    for (int n = 0; n < bits; ++n) {
        edges.push_back({64.0 * n + offset, n == 0});
        const double from = 64.0 * n + jitter(n), to = 64.0 * (n + 1) + jitter(n + 1);
        for (double t = static_cast<double>(wave.size()); t < to; t += 1) {
            const double value = std::min({(t - from) / 8, (to - t) / 8, 1.0});
            wave.push_back(0.5 * (n % 2 ? value : -value));
        }
    }
    std::size_t given = 0;
    for (std::size_t at = 0; at < wave.size(); at += block) {
        const std::size_t end = std::min(wave.size(), at + block);
        std::size_t upTo = given;
        while (upTo < edges.size() && edges[upTo].time < static_cast<double>(end)) ++upTo;
        eye.Add(std::span(wave).subspan(at, end - at),
                std::span(edges).subspan(given, upTo - given));
        given = upTo;
    }
    eye.Finish();
    return eye;
}

TEST(EyeAnalysis, MeasuresAKnownEyeInWhateverBlocks)
{
    // Crossings 5 samples early or late by turns: 10 of 64 samples of the unit interval are lost.
    const auto jitter = [](int n) { return n % 3 == 0 ? 5.0 : n % 3 == 1 ? -5.0 : 0.0; };
    for (const std::size_t block : {64u, 640u, 100000u}) {
        for (const double offset : {0.0, 0.25}) {
            const EyeAnalysis eye = Analyse(3000, block, offset, jitter);
            const EyeFindings found = EvaluateEye(eye, 0, {});
            EXPECT_NEAR(found.left + found.right, 1 - 10.0 / 64, 1.0 / 1000);
            EXPECT_NEAR(InnerOpening(eye.AtSampling().levels, 0, 1e-3).Height(), 1.0, 1e-3);
            EXPECT_GE(eye.UnitIntervals(), 2985);
            EXPECT_LE(eye.UnitIntervals(), 2990);
            EXPECT_FALSE(eye.CrossesAtSampling());
        }
    }
    const EyeAnalysis wrong = Analyse(3000, 640, 32, jitter);
    EXPECT_TRUE(wrong.CrossesAtSampling());
    EXPECT_FALSE(wrong.IsSliced());
}

TEST(EyeAnalysis, EverySampleIsCountedOnceInTheDensity)
{
    const EyeAnalysis eye = Analyse(1000, 640, 0, [](int) { return 0.0; });
    for (std::size_t c = 0; c < EyeAnalysis::kColumns; ++c) {
        std::uint64_t sum = 0;
        for (std::size_t r = 0; r < EyeAnalysis::kDensityRows; ++r) sum += eye.Density().At(c, r);
        ASSERT_EQ(sum, static_cast<std::uint64_t>(eye.UnitIntervals())) << c;
    }
}

TEST(AdaptLog, CountsRequestsThroughEveryPhase)
{
    const std::filesystem::path path = std::filesystem::path(testing::TempDir()) / "Adapt.txt";
    const std::string lock =
        "Begin CTLE adapt till CDR lock \nEQ_level \t C1 \t C2 \t C3 \t C4 \t C5 \t HEO value "
        "\t VEO value \t Range \n";
    const std::string optimum = "End CTLE adapt till CDR lock \nBegin CTLE adapt till optimum \n";
    const auto line = [](int level, int heo) {
        return std::to_string(level) + "\t\t0 \t0 \t0 \t0 \t0 \t" + std::to_string(heo) +
               " \t 20 \t 1\n";
    };
    struct Case
    {
        std::string text;
        int level, requests;
        bool finished;
    };
    for (const Case& c : {
             Case{lock + line(0, 2) + line(2, 9) + optimum + line(2, 12), 2, 4, false},
             Case{lock + line(0, 9) + optimum + line(0, 9) + line(1, 8) +
                      "End CTLE adapt till optimum \n" + line(0, 9),
                  0, 4, true},
             Case{lock + line(0, 9) + optimum + line(0, 9) + "End CTLE adapt till optimum \n" +
                      line(0, 3) + line(1, 7) + "End CTLE adapt till CDR lock \n" + line(1, 8),
                  1, 5, true},
         }) {
        std::ofstream(path) << c.text;
        const auto log = ReadAdaptLog(path);
        ASSERT_TRUE(log);
        EXPECT_EQ(log->Level(), c.level) << c.text;
        EXPECT_EQ(log->requests, c.requests) << c.text;
        EXPECT_EQ(log->finished, c.finished) << c.text;
    }
    std::ofstream(path).close();
    EXPECT_FALSE(ReadAdaptLog(path));
    std::filesystem::remove(path);
}

}  // namespace
}  // namespace amisim
