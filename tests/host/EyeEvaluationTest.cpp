#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>

#include "host/analysis/Analyses.hpp"
#include "host/analysis/EyeEvaluation.hpp"
#include "host/analysis/SlicerSearch.hpp"
#include "host/analysis/Tail.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Random.hpp"

namespace amisim {
namespace {

constexpr int kSamples = 16;  // a bit
constexpr double kBitTime = 100e-12, kInterval = kBitTime / kSamples, kAmplitude = 0.4;

/// A pattern of ±0.4 V with straight edges, and what the analyses make of it when a model hands it
/// on `delay` later with clock edges where its bits begin.
struct Bench
{
    int bits = 20000;
    double edge = 4;                                              // samples
    std::function<double(int)> jitter = [](int) { return 0.0; };  // of each edge, samples
    double noise = 0;                                             // V rms
    double ppm = 0;                                               // of the sent rate
    int delay = 0;                                                // samples
    double late = 0;                                              // of the clock edges, samples
    bool clocks = true;
    int weakUntil = 0;  // bit, from which on the output has its full height
    SamplerSettings sampler;
    std::vector<double> bers = {1e-3, 1e-6, 1e-12};

    Analyses::Findings Run() const
    {
        const double unit = kSamples / (1 + ppm * 1e-6);
        SymbolHistory sent(1 << 21);
        Prbs prbs(31, 2);
        Random random(5);
        // One value for a bit, so that voltages between samples have it, too.
        std::vector<double> crossings, levels, input, output;
        for (int n = 0; n <= bits + 10; ++n) {
            sent.Push(prbs.Next());
            crossings.push_back(unit * n + jitter(n));
            levels.push_back(noise * random.Normal() - kAmplitude);
        }
        for (double t = 0; t < bits * kSamples; ++t) {
            const auto n = static_cast<std::size_t>(t / unit + 0.5);  // the nearest edge begins it
            const double part = std::clamp((t - crossings[n]) / edge + 0.5, 0.0, 1.0);
            const double one = sent[static_cast<int>(n)] * part +
                               (n > 0 && sent[static_cast<int>(n) - 1]) * (1 - part);
            input.push_back(2 * kAmplitude * one + levels[static_cast<std::size_t>(t / unit)]);
        }
        output.resize(static_cast<std::size_t>(delay));
        output.insert(output.end(), input.begin(), input.end() - delay);
        for (int t = 0; t < weakUntil * kSamples; ++t) output[static_cast<std::size_t>(t)] *= 0.8;

        Analyses::Settings settings;
        settings.samplesPerBit = kSamples;
        settings.sampleInterval = kInterval;
        settings.ignoreBits = 100;
        settings.sentUnitInterval = unit;
        settings.sent = &sent;
        settings.bers = bers;
        settings.folder = testing::TempDir();
        Analyses analyses(settings);
        analyses.Use(sampler);
        int edges = 0;
        constexpr std::size_t kBlock = 64 * kSamples;
        for (std::size_t at = 0; at < input.size(); at += kBlock) {
            const std::size_t size = std::min(kBlock, input.size() - at);
            const auto next = [&] { return unit * edges + delay + late; };
            std::vector<double> times;
            for (; clocks && next() < static_cast<double>(at + size); ++edges)
                times.push_back(next() * kInterval);
            analyses.Add(std::span(input).subspan(at, size), std::span(output).subspan(at, size),
                         times);
        }
        return analyses.Find();
    }
};

TEST(EyeEvaluation, GaussianNoiseAloneGivesTheErrorRatiosOfErfc)
{
    for (const double distance : {2.326, 2.9, 4.0}) {  // sigmas from a level to 0 V
        SCOPED_TRACE(distance);
        Bench bench;
        bench.bits = 400000;
        bench.noise = kAmplitude / distance;
        const auto found = bench.Run();
        const double trials = static_cast<double>(found.eye->unitIntervals);
        const double expected = Q(distance) * trials;
        EXPECT_NEAR(static_cast<double>(found.comparison->errors), expected,
                    4 * std::sqrt(expected));
        const Bathtub& tub = found.eye->voltage;
        for (std::size_t i = 0; i < tub.x.size(); ++i) {
            const double from0 = (tub.x[i] + kAmplitude) / bench.noise;
            const double from1 = (kAmplitude - tub.x[i]) / bench.noise;
            const double ratio = (Q(from0) + Q(from1)) / 2;
            if (std::abs(tub.x[i]) < 0.9 * kAmplitude && ratio * trials > 100) {
                ASSERT_NEAR(tub.counted[i] / ratio, 1, 5 / std::sqrt(ratio * trials)) << tub.x[i];
                ASSERT_NEAR(tub.extrapolated[i] / ratio, 1, 0.2) << tub.x[i];
            }
        }
        ASSERT_TRUE(tub.low && tub.high);
        for (const TailFit& fit : {*tub.low, *tub.high}) {
            EXPECT_NEAR(fit.sigma / bench.noise, 1, 0.05);
            EXPECT_NEAR(std::abs(fit.mean) / kAmplitude, 1, 0.05);
        }
        // What is closed by its errors has no opening, however its picture looks.
        EXPECT_EQ(found.eye->openings[0].height == 0, Q(distance) >= 1e-3);
    }
}

TEST(Sampler, ItsNoiseAndSensitivityGiveTheErrorsOfTheirDistributions)
{
    struct Case
    {
        double gaussian, uniform, sensitivity, ratio;
        bool height;  // of 2 (amplitude - all that is bounded)
    };
    for (const Case& c : {
             Case{kAmplitude / 2.5, 0, 0, Q(2.5), false},
             {0, 0.5, 0, 0.1, false},
             {0.1, 0, 0.15, Q(2.5), false},
             {0, 0.1, 0, 0, true},
             {0, 0, 0.3, 0, true},
             {0, 0.1, 0.2, 0, true},
         }) {
        SCOPED_TRACE(testing::Message() << c.gaussian << " " << c.uniform << " " << c.sensitivity);
        Bench bench;
        bench.bits = 100000;
        bench.sampler.gaussianNoise = c.gaussian;
        bench.sampler.uniformNoise = c.uniform;
        bench.sampler.sensitivity = c.sensitivity;
        const auto found = bench.Run();
        const double expected = c.ratio * static_cast<double>(found.comparison->compared);
        EXPECT_NEAR(static_cast<double>(found.comparison->errors), expected,
                    4 * std::sqrt(expected));
        const double open = 2 * (kAmplitude - c.uniform - c.sensitivity);
        if (c.height) {
            EXPECT_NEAR(found.eye->vertical.Height(), open, 2e-3);
        }
        EXPECT_EQ(found.eye->openings[0].height > 0, c.height);
        EXPECT_NEAR(found.inputEye->vertical.Height(), 2 * kAmplitude, 1e-3);
    }
}

TEST(Sampler, ItsJitterNarrowsTheEyeByItsDistribution)
{
    using Jitter = SamplerSettings::Jitter;
    struct Case
    {
        const char* what;
        Jitter clock, recovered;
        bool clocks;
        double left, right;
        double noise = 0;  // V rms
    };
    const double slope = 2 * kAmplitude * kSamples / Bench().edge;  // V in a unit interval
    const double rare = InverseQ(2e-3);  // of a transition in every second unit interval, one side
    for (const Case& c : {
             Case{"random", {.random = 0.02}, {}, true, 0.5 - 0.02 * rare, 0.5 - 0.02 * rare},
             {"uniform", {.uniform = 0.1}, {}, true, 0.4, 0.4},
             {"sine", {.sine = 0.1}, {}, true, 0.4, 0.4},
             {"alternating", {.alternating = 0.05}, {}, true, 0.45, 0.45},
             {"late", {.mean = 0.1}, {}, true, 0.6, 0.4},
             {"recovered, with clocks", {}, {.mean = 0.1}, true, 0.5, 0.5},
             {"recovered", {}, {.mean = 0.1}, false, 0.6, 0.4},
             {"both", {.uniform = 0.05}, {.alternating = 0.05}, false, 0.4, 0.4},
             {"noise on a slope",
              {},
              {},
              true,
              0.5 - 0.1 * rare / slope,
              0.5 - 0.1 * rare / slope,
              0.1},
         }) {
        SCOPED_TRACE(c.what);
        Bench bench;
        bench.bits = 50000;
        bench.clocks = c.clocks;
        bench.sampler.clock = c.clock;
        bench.sampler.recovered = c.recovered;
        bench.sampler.gaussianNoise = c.noise;
        const auto found = bench.Run();
        EXPECT_NEAR(found.eye->left, c.left, 3e-3);
        EXPECT_NEAR(found.eye->right, c.right, 3e-3);
        EXPECT_LT(found.comparison->errors, 10);
        EXPECT_NEAR(found.inputEye->Width(), 1, 3e-3);
    }
    // On a ramp time becomes voltage: of a unit interval's length each, they peak at its middle.
    Bench ramps;
    ramps.edge = kSamples;
    ramps.sampler.clock.uniform = 0.25;
    const double height = ramps.Run().eye->vertical.Height();
    EXPECT_GE(height, kAmplitude - 1e-3);
    EXPECT_LT(height, kAmplitude + 0.02);
}

TEST(EyeEvaluation, ExtrapolatesAKnownNoiseToRatiosThatWereNotCounted)
{
    Bench bench;
    bench.bits = 400000;
    bench.noise = 0.02;
    const auto found = bench.Run();
    const double counted = kAmplitude - bench.noise * InverseQ(2e-3);
    EXPECT_NEAR(found.eye->vertical.high, counted, 0.05 * bench.noise);
    EXPECT_NEAR(found.eye->vertical.low, -counted, 0.05 * bench.noise);
    EXPECT_EQ(found.eye->openings[0].ber, kEyeProbability);
    EXPECT_EQ(found.eye->openings[0].height, found.eye->vertical.Height());
    for (const OpeningAt& opening : found.eye->openings) {
        const double expected = 2 * (kAmplitude - bench.noise * InverseQ(2 * opening.ber));
        EXPECT_NEAR(opening.height, expected, 0.3 * bench.noise) << opening.ber;
        EXPECT_EQ(opening.heightExtrapolated, opening.ber < 1e-4);
    }
}

TEST(EyeEvaluation, KnownJitterComesBack)
{
    struct Case
    {
        double random, deterministic;  // UI rms; UI between two equally likely places
    };
    for (const Case& c : {Case{0.01, 0}, Case{0.01, 0.05}, Case{0.02, 0.1}, Case{0.005, 0.1}}) {
        SCOPED_TRACE(testing::Message() << c.random << " " << c.deterministic);
        Bench bench;
        bench.bits = 200000;
        Random random(3);
        bench.jitter = [&](int n) {
            const double place = n % 2 ? c.deterministic / 2 : -c.deterministic / 2;
            return kSamples * (place + c.random * random.Normal());
        };
        const auto found = bench.Run();
        EXPECT_NEAR(found.eye->transitionDensity, 0.5, 0.01);
        ASSERT_TRUE(found.eye->jitter);
        const Jitter& jitter = *found.eye->jitter;
        EXPECT_NEAR(jitter.random / c.random, 1, 0.05);
        EXPECT_NEAR(jitter.deterministic, c.deterministic,
                    c.deterministic > 0 ? 0.05 * c.deterministic : 0.4 * c.random);
        // Half of all unit intervals have a transition, half of these in either place.
        const double weight = c.deterministic > 0 ? 0.25 : 0.5;
        const double total = c.deterministic + 2 * c.random * InverseQ(1e-12 / weight);
        EXPECT_NEAR(jitter.total / total, 1, 0.05);
        EXPECT_NEAR(found.eye->openings[2].width, 1 - total, 0.05 * total);
        // The bathtub against the two places' closed form, where enough was counted.
        const Bathtub& tub = found.eye->time;
        for (std::size_t i = 0; i < tub.x.size(); ++i) {
            if (tub.x[i] >= 0.5 || !(tub.counted[i] > 1e-3)) continue;
            double ratio = 0;
            for (const double side : {-1, 1})
                ratio += Q((tub.x[i] - side * c.deterministic / 2) / c.random) / 4;
            EXPECT_NEAR(tub.counted[i] / ratio, 1, 0.2) << tub.x[i];
        }
    }
}

TEST(EyeEvaluation, RegularJitterIsLostOfTheWidthWhereverTheSamplesAre)
{
    // Crossings 5/64 of the unit interval early or late by turns.
    Bench bench;
    bench.jitter = [](int n) { return (n % 3 - 1) * kSamples * 5 / 64.0; };
    for (const double late : {0.0, 0.25}) {
        bench.late = late;
        const auto found = bench.Run();
        EXPECT_NEAR(found.eye->left + found.eye->right, 1 - 10.0 / 64, 1.0 / 1000);
        EXPECT_NEAR(found.eye->vertical.Height(), 2 * kAmplitude, 1e-3);
        EXPECT_NEAR(static_cast<double>(found.eye->unitIntervals), bench.bits - 100, 2);
        EXPECT_EQ(found.notes.size(), 1u);  // nothing to extrapolate from
    }
    bench.late = kSamples / 2;
    const auto wrong = bench.Run();
    EXPECT_FALSE(wrong.eye->sliced);
    EXPECT_NE(wrong.notes.at(0).find("crosses 0 V where data are sampled"), std::string::npos);
}

TEST(EyeEvaluation, WithoutNoiseOrJitterNothingIsExtrapolated)
{
    const auto found = Bench().Run();
    EXPECT_FALSE(found.eye->jitter);
    EXPECT_FALSE(found.eye->time.low || found.eye->voltage.high);
    for (const double ratio : found.eye->voltage.extrapolated) EXPECT_TRUE(std::isnan(ratio));
    ASSERT_EQ(found.eye->openings.size(), 3u);
    EXPECT_NEAR(found.eye->openings[0].height, 2 * kAmplitude, 1e-3);
    EXPECT_NEAR(found.eye->openings[0].width, 1, 1e-3);
    EXPECT_TRUE(std::isnan(found.eye->openings[2].height));
    EXPECT_TRUE(std::isnan(found.eye->openings[2].width));
    EXPECT_EQ(found.eye->contours.size(), 1u);
    ASSERT_EQ(found.notes.size(), 1u);
    EXPECT_NE(found.notes[0].find("no whole opening"), std::string::npos);
    const VoltageHistogram& density = found.eye->density;
    for (std::size_t c = 0; c < density.Columns(); ++c) {
        std::uint64_t sum = 0;
        for (std::size_t r = 0; r < density.Rows(); ++r) sum += density.At(c, r);
        ASSERT_EQ(sum, static_cast<std::uint64_t>(found.eye->unitIntervals)) << c;
    }
}

TEST(EyeEvaluation, ContoursFollowAKnownShape)
{
    // Edges as long as a bit make a rhombus: 2 A p at phase p, above a quarter of all bits.
    Bench bench;
    bench.bits = 200000;
    bench.edge = kSamples;
    bench.noise = 0.01;
    bench.bers = {1e-3, 1e-9};
    const auto found = bench.Run();
    ASSERT_EQ(found.eye->contours.size(), 2u);
    for (const Contour& contour : found.eye->contours) {
        EXPECT_EQ(contour.extrapolated, contour.ber < 1e-4);
        ASSERT_GT(contour.phase.size(), 50u);
        EXPECT_NEAR(contour.high.front(), contour.low.front(), 2 * bench.noise);
        EXPECT_NEAR(contour.high.back(), contour.low.back(), 2 * bench.noise);
        const double margin = bench.noise * InverseQ(contour.ber / 0.25);
        for (std::size_t i = 0; i < contour.phase.size(); ++i) {
            const double phase = std::min(contour.phase[i], 1 - contour.phase[i]);
            // At the corners other bits come near, too.
            if (phase < 0.15 || phase > 0.4) continue;
            const double expected = 2 * kAmplitude * phase - margin;
            EXPECT_NEAR(contour.high[i], expected, 0.6 * bench.noise) << contour.phase[i];
            EXPECT_NEAR(contour.low[i], -expected, 0.6 * bench.noise) << contour.phase[i];
        }
    }
}

TEST(EyeEvaluation, FourLevelsMakeThreeEyes)
{
    // Unevenly spaced, and the uppermost threshold so near to a level that errors are many.
    constexpr std::array kLevels{-0.4, -0.12, 0.16, 0.4};  // V
    constexpr double kNoise = 0.02;
    constexpr int kSymbols = 200000;
    EyeAnalysis::Settings settings;
    settings.samplesPerBit = kSamples;
    settings.sentUnitInterval = kSamples;
    settings.slicers = {{-0.26, 0.02, 0.2}, {0, 0, 0}};
    settings.mapping = BitMapping(4);
    SymbolHistory sent(1 << 18);
    settings.sent = &sent;
    EyeAnalysis eye(settings);
    Random random(8);
    double last = 0;
    for (int n = 0; n < kSymbols; ++n) {
        sent.Push(random.Bits() % 4);
        const double level = kLevels[sent[n]] + kNoise * random.Normal();
        std::vector<double> wave(kSamples, level);
        wave[0] = (last + level) / 2;
        last = level;
        eye.Add(wave, std::vector<ClockFrame::Edge>{{1.0 * n * kSamples}});
    }
    eye.Finish();
    const SymbolComparer& symbols = eye.AtSampling().symbols.value();
    const double trials = static_cast<double>(eye.UnitIntervals());
    const double errors = trials * Q((settings.slicers.thresholds[2] - kLevels[2]) / kNoise) / 4;
    EXPECT_NEAR(static_cast<double>(symbols.Errors()), errors, 4 * std::sqrt(errors));
    EXPECT_FALSE(symbols.Inverted());
    EXPECT_EQ(symbols.Delay(), 0);
    for (const std::size_t which : {0U, 1U, 2U}) {
        SCOPED_TRACE(which);
        const EyeFindings found = EvaluateEye(eye, 0, {}, which);
        // A quarter of all symbols on either side; wrong ones belong to what was sent.
        const double margin = kNoise * InverseQ(4 * kEyeProbability);
        EXPECT_NEAR(found.vertical.low, kLevels[which] + margin, 0.1 * kNoise);
        EXPECT_NEAR(found.vertical.high, kLevels[which + 1] - margin, 0.1 * kNoise);
        // Transitions of random symbols through a threshold with so many levels below it.
        const double below = static_cast<double>(which + 1) / 4;
        EXPECT_NEAR(found.transitionDensity, 2 * below * (1 - below), 0.02);
        // They last from a sample before the clock edge to one behind it.
        EXPECT_GT(found.left + found.right, 1 - 2.0 / kSamples);
    }
    EXPECT_LT(std::abs(eye.MeanCrossing().value() - 1.0), 0.02);
}

TEST(SlicersBetween, LieHalfwayBetweenTheLevelsWhateverTheirDistances)
{
    struct Case
    {
        std::vector<double> levels, expected;  // V
        double noise;
        std::vector<double> sent = {};  // other than all of them
    };
    for (const Case& c : {
             Case{{-0.4, -0.12, 0.16, 0.4}, {-0.26, 0.02, 0.28}, 0.03},
             {{-0.3, 0.01, 0.3}, {-0.145, 0.155}, 0.02},
             {{0.1, 0.2, 0.3, 0.4, 0.5}, {0.15, 0.25, 0.35, 0.45}, 0.01},
             {{-0.3, -0.1, 0.1, 0.3}, {-0.2, 0, 0.2}, 0, {-0.3, 0.1, 0.3}},
         }) {
        Random random(3);
        std::vector<double> voltages;
        const auto& sent = c.sent.empty() ? c.levels : c.sent;
        for (int i = 0; i < 1024; ++i)
            voltages.push_back(sent[random.Bits() % sent.size()] + c.noise * random.Normal());
        const Slicers found = SlicersBetween(voltages, static_cast<int>(c.levels.size()));
        ASSERT_EQ(found.thresholds.size(), c.expected.size());
        for (std::size_t i = 0; i < c.expected.size(); ++i)
            EXPECT_NEAR(found.thresholds[i], c.expected[i], 0.2 * c.noise + 1e-12);
    }
    // What has no levels is decided somewhere.
    EXPECT_EQ(SlicersBetween({0, 0, 0, 0, 0}, 4), EvenSlicers(4, 1));
    EXPECT_EQ(SlicersBetween({}, 2), Slicers());
}

TEST(Analyses, TheInputIsSeenInTheModelsClockMovedToItsCentre)
{
    Bench bench;
    bench.noise = 0.01;
    bench.delay = 5;
    const auto found = bench.Run();
    EXPECT_NEAR(found.inputEye->shift, -5.0 / kSamples, 0.01);
    EXPECT_NEAR(found.inputEye->left, found.inputEye->right, 0.01);
    EXPECT_NEAR(found.inputEye->openings[0].height, found.eye->openings[0].height, 0.01);
    EXPECT_NEAR(found.inputEye->openings[0].width, found.eye->openings[0].width, 0.01);
    EXPECT_EQ(found.comparison->errors, 0);
}

TEST(Analyses, TheEyeTellsFromWhereOnItStaysAsItIs)
{
    struct Case
    {
        int weakUntil;
        double noise, settled;
    };
    constexpr double kNever = 0;
    for (const auto& [weakUntil, noise, settled] :
         {Case{0, 0, kNever}, Case{0, 0.1, kNever}, Case{8000, 0, 8000}, Case{8000, 0.02, 8000},
          Case{14000, 0.02, 14000}, Case{19000, 0.02, NAN}}) {
        SCOPED_TRACE(testing::Message() << weakUntil << " " << noise);
        Bench bench;
        bench.weakUntil = weakUntil;
        bench.noise = noise;
        const auto found = bench.Run();
        ASSERT_EQ(found.verdict.lock, Lock::kLocked);
        if (std::isnan(settled))
            EXPECT_TRUE(std::isnan(found.eye->settledAtBit)) << found.eye->settledAtBit;
        else
            EXPECT_NEAR(found.eye->settledAtBit, settled, settled == kNever ? 0 : 257);
        EXPECT_EQ(found.inputEye->settledAtBit, 0) << "where nothing changes";
    }
    Bench slips;
    slips.ppm = 5000;  // and the clock follows it, but only for the half of all bits
    slips.bits = 300;
    EXPECT_TRUE(std::isnan(slips.Run().eye->settledAtBit)) << "too short";
}

TEST(EyeTrend, ChanceAloneIsNoChangeHoweverLongTheRun)
{
    int flagged = 0;
    // Noise; and two levels, of which the lower one comes so seldom that a quantile leaps.
    const auto distance = [](Random& random, bool levels) {
        if (levels) return random.Uniform() < 0.1 ? 0.15 : 0.25;
        return std::abs(0.2 + 0.1 * random.Normal());
    };
    for (int seed = 1; seed <= 100; ++seed) {
        Random random(static_cast<std::uint64_t>(seed));
        EyeTrend trend;
        const int windows = seed % 10 == 0 ? 10000 : 40;  // of the many, pairs become one
        for (int bit = 0; bit < windows * static_cast<int>(EyeTrend::kWindow); ++bit)
            trend.Add(bit, distance(random, seed % 2 == 0));
        flagged += trend.SettledAt() != 0;
    }
    EXPECT_EQ(flagged, 0);
    EyeTrend trend;  // long enough to be thinned out several times
    for (int bit = 0; bit < 3'000'000; ++bit) trend.Add(bit, bit < 1'000'000 ? 0.1 : 0.2);
    EXPECT_NEAR(trend.SettledAt(), 1e6, 2048);
}

TEST(Analyses, AModelWithoutClocksGetsAnIdealOne)
{
    for (const int delay : {0, 3, 9}) {
        Bench bench;
        bench.ppm = 300;
        bench.noise = 0.01;
        bench.delay = delay;
        bench.clocks = false;
        const auto found = bench.Run();
        EXPECT_TRUE(found.clock.ideal);
        EXPECT_EQ(found.clock.times, 0);
        ASSERT_TRUE(found.eye);
        EXPECT_GT(found.eye->left, 0.48);
        EXPECT_GT(found.eye->right, 0.48);
        EXPECT_EQ(found.comparison->errors, 0);
        EXPECT_GT(found.comparison->compared, 19000);
    }
}

}  // namespace
}  // namespace amisim
