#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <fstream>
#include <numbers>
#include <vector>

#include "host/Error.hpp"
#include "host/channel/Convolver.hpp"
#include "host/channel/LossyLine.hpp"
#include "host/signal/BitPattern.hpp"
#include "host/signal/NrzSource.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Random.hpp"
#include "tests/TemporaryFolder.hpp"

namespace amisim {
namespace {

TEST(Prbs, HasItsFullPeriodWithOneMoreOneThanZeros)
{
    for (const int order : {7, 9, 11, 13, 15, 20, 23}) {
        SCOPED_TRACE(order);
        const std::size_t period = (std::size_t{1} << order) - 1;
        Prbs prbs(order, 5);
        // A register's state is its last `order` bits; the first state must not return before the
        // period's end.
        std::uint32_t state = 0, first = 0;
        std::size_t ones = 0, returned = 0;
        for (std::size_t i = 0; i < period + static_cast<std::size_t>(order); ++i) {
            const bool bit = prbs.Next();
            if (i < period) ones += bit;
            state =
                (state << 1 | static_cast<std::uint32_t>(bit)) & static_cast<std::uint32_t>(period);
            if (i + 1 == static_cast<std::size_t>(order)) first = state;
            if (i + 1 > static_cast<std::size_t>(order) && state == first && returned == 0) {
                returned = i + 1 - static_cast<std::size_t>(order);
            }
        }
        EXPECT_EQ(ones, (period + 1) / 2);
        EXPECT_EQ(returned, period);
    }
}

TEST(Prbs, SeedsStartElsewhereAndRepeat)
{
    const auto bits = [](std::uint64_t seed) {
        Prbs prbs(31, seed);
        std::vector<bool> result;
        for (int i = 0; i < 200; ++i) result.push_back(prbs.Next());
        return result;
    };
    EXPECT_EQ(bits(1), bits(1));
    EXPECT_NE(bits(1), bits(2));
}

TEST(Random, NormalHasTheMomentsAndTailsOfANormal)
{
    Random random(3);
    constexpr int kCount = 2'000'000;
    double sum = 0, squares = 0, fourths = 0;
    int beyond3 = 0, beyond4 = 0;
    for (int i = 0; i < kCount; ++i) {
        const double v = random.Normal();
        sum += v;
        squares += v * v;
        fourths += v * v * v * v;
        beyond3 += std::abs(v) > 3;
        beyond4 += std::abs(v) > 4;
    }
    EXPECT_NEAR(sum / kCount, 0, 0.003);
    EXPECT_NEAR(squares / kCount, 1, 0.004);
    EXPECT_NEAR(fourths / kCount, 3, 0.03);
    EXPECT_NEAR(beyond3, kCount * std::erfc(3 / std::numbers::sqrt2), 300);
    EXPECT_NEAR(beyond4, kCount * std::erfc(4 / std::numbers::sqrt2), 50);
}

/// Gain in dB at frequency f (cycles a sample).
double GainDb(const std::vector<double>& weights, double f)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < weights.size(); ++n) {
        sum += weights[n] * std::polar(1.0, -2 * std::numbers::pi * f * static_cast<double>(n));
    }
    return 20 * std::log10(std::abs(sum));
}

// The weights begin at time 0: whatever came before, were the response not causal, would be missing
// here.
TEST(LossyLine, HasTheLossAskedForAtEveryFrequency)
{
    struct Case
    {
        double loss, skin;
        int samplesPerBit;
    };
    for (const Case& c : {Case{10, 0.5, 64},
                          {6, 0.5, 64},
                          {14, 0.5, 64},
                          {25, 0.2, 32},
                          {10, 1, 17},
                          {10, 0, 64}}) {
        SCOPED_TRACE(testing::Message()
                     << c.loss << " dB, skin " << c.skin << ", " << c.samplesPerBit);
        const LossyLine line{c.loss, c.skin, 5.15625e9};
        const double interval = 1 / (2 * line.halfBitRate * c.samplesPerBit);
        const auto weights = line.Impulse(interval);
        for (const double x : {0.1, 0.5, 1.0, 1.5}) {
            const double expected = -c.loss * (c.skin * std::sqrt(x) + (1 - c.skin) * x);
            EXPECT_NEAR(GainDb(weights, x * line.halfBitRate * interval), expected, 0.02) << x;
        }
        EXPECT_NEAR(GainDb(weights, 0), 0,
                    0.023 * c.loss * c.skin + 0.01);  // the tail's end is cut off
    }
}

TEST(LossyLine, WithoutLossHandsTheSignalOn)
{
    EXPECT_EQ((LossyLine{0, 0.5, 5e9}.Impulse(1e-12)), std::vector<double>{1.0});
}

/// Plays back given samples, in pieces as asked for.
class Samples : public SignalSource
{
public:
    explicit Samples(std::vector<double> values) : values_(std::move(values)) {}
    std::size_t Read(std::span<double> out) override
    {
        const std::size_t count = std::min(out.size(), values_.size() - at_);
        std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(at_), count, out.begin());
        at_ += count;
        return count;
    }

private:
    std::vector<double> values_;
    std::size_t at_ = 0;
};

std::vector<double> ReadAll(SignalSource& source, std::size_t piece)
{
    std::vector<double> all, part(piece);
    for (std::size_t got = piece; got == piece;) {
        got = source.Read(part);
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(got));
    }
    return all;
}

TEST(Convolver, EqualsTheSumWhateverThePieces)
{
    Random random(1);
    const auto noise = [&](std::size_t size) {
        std::vector<double> values(size);
        for (double& v : values) v = random.Normal();
        return values;
    };
    for (const std::size_t taps : {1u, 2u, 300u, 513u}) {
        const auto weights = noise(taps), input = noise(5000);
        std::vector<double> expected(input.size());
        for (std::size_t n = 0; n < input.size(); ++n) {
            for (std::size_t k = 0; k < taps && k <= n; ++k)
                expected[n] += weights[k] * input[n - k];
        }
        for (const std::size_t piece : {1u, 64u, 1000u, 4999u, 6000u}) {
            Samples samples(input);
            Convolver convolver(samples, weights);
            const auto output = ReadAll(convolver, piece);
            ASSERT_EQ(output.size(), expected.size());
            for (std::size_t n = 0; n < output.size(); ++n)
                ASSERT_NEAR(output[n], expected[n], 1e-11);
        }
    }
}

TEST(NrzSource, EdgesFallBetweenSamplesWhereTheBitRateSaysSo)
{
    BitHistory sent(1 << 14);
    NrzSource::Settings settings;
    settings.amplitude = 0.4;
    settings.unitInterval = 64 / (1 + 150e-6);
    settings.rampTime = 20;
    NrzSource source(settings, std::make_unique<Prbs>(15, 1), &sent, Random(1));
    std::vector<double> wave(64 * 10000);
    source.Read(std::span(wave).first(1001));  // in two pieces
    source.Read(std::span(wave).subspan(1001));
    std::size_t edges = 0;
    for (std::size_t n = 100; n + 1 < wave.size(); ++n) {
        ASSERT_LE(std::abs(wave[n]), 0.4 + 1e-12);
        if ((wave[n] > 0) == (wave[n + 1] > 0)) continue;
        // A half-cosine edge is a straight line near its middle, but for a cubic term of 1e-3
        // samples here.
        const double time = static_cast<double>(n) + wave[n] / (wave[n] - wave[n + 1]);
        const double bit = std::round(time / settings.unitInterval);
        ASSERT_NEAR(time, bit * settings.unitInterval, 2e-3);
        ASSERT_EQ(sent[static_cast<std::int64_t>(bit)], wave[n + 1] > 0);
        ++edges;
    }
    EXPECT_NEAR(static_cast<double>(edges), 5000, 150);
}

/// Times (samples) and directions at which a waveform crosses 0 V.
std::vector<std::pair<double, int>> Crossings(const std::vector<double>& wave)
{
    std::vector<std::pair<double, int>> crossings;
    for (std::size_t n = 0; n + 1 < wave.size(); ++n) {
        if ((wave[n] > 0) == (wave[n + 1] > 0)) continue;
        const double part = wave[n] / (wave[n] - wave[n + 1]);
        crossings.emplace_back(static_cast<double>(n) + part, wave[n + 1] > 0 ? 1 : -1);
    }
    return crossings;
}

std::vector<double> Transmit(const NrzSource::Settings& settings, std::vector<bool> pattern,
                             std::size_t bits)
{
    NrzSource source(settings, std::make_unique<BitPattern>(std::move(pattern)), nullptr,
                     Random(7));
    std::vector<double> wave(64 * bits);
    source.Read(wave);
    return wave;
}

TEST(NrzSource, DeemphasisSetsTheLevelOfEachBit)
{
    const std::vector<bool> pattern = {1, 0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0, 0};
    struct Case
    {
        std::vector<double> pre, post;
    };
    for (const Case& c : {Case{{}, {}}, {{}, {0.25}}, {{0.1}, {}}, {{0.1, -0.05}, {0.2, 0.05}}}) {
        NrzSource::Settings settings;
        settings.deemphasis = {c.pre, c.post};
        const auto wave = Transmit(settings, pattern, 10 * pattern.size());
        const auto symbol = [&](std::size_t k) { return pattern[k % pattern.size()] ? 1.0 : -1.0; };
        double peak = 0;
        for (std::size_t k = 2; k < 9 * pattern.size(); ++k) {
            double level = symbol(k);
            for (const double cursor : c.pre) level -= std::abs(cursor) * symbol(k);
            for (const double cursor : c.post) level -= std::abs(cursor) * symbol(k);
            for (std::size_t i = 0; i < c.pre.size(); ++i) level -= c.pre[i] * symbol(k + i + 1);
            for (std::size_t i = 0; i < c.post.size(); ++i) level -= c.post[i] * symbol(k - i - 1);
            ASSERT_NEAR(wave[64 * k + 32], 0.4 * level, 1e-15) << k;
            peak = std::max(peak, std::abs(level));
        }
        EXPECT_NEAR(peak, 1, 1e-15);  // this pattern holds the worst case of each
    }
}

TEST(NrzSource, JitterMovesTheEdgesAsAskedFor)
{
    constexpr double kUi = 64, kFrequency = 1 / 3000.0;  // cycles a sample
    constexpr std::size_t kBits = 20000;
    struct Case
    {
        const char* name;
        EdgeJitter::Settings jitter;  // samples
        double rms, tolerance;        // of the deviation from early, late, sine
    };
    for (const Case& c : {Case{"none", {}, 0, 1e-3},
                          {"random", {0.02 * kUi, 0, 0, 0}, 0.02 * kUi, 0.02 * 0.02 * kUi},
                          {"sine", {0, 0.3 * kUi, kFrequency, 0}, 0, 2e-3},
                          {"long sine", {0, 8 * kUi, kFrequency / 1000, 0}, 0, 2e-3},
                          {"duty cycle", {0, 0, 0, 0.1 * kUi}, 0, 1e-3},
                          {"all at their limits",
                           {0.1 * kUi, 0.5 * kUi / 6.2832, 0.015, 0.5 * kUi},
                           0.1 * kUi,
                           0.03 * 0.1 * kUi}}) {
        SCOPED_TRACE(c.name);
        NrzSource::Settings settings;
        settings.jitter = c.jitter;
        settings.start = 100 + 8 * kUi;
        settings.rampTime = c.rms == 0 ? 12 : 3;  // short where edges come close
        const auto crossings = Crossings(Transmit(settings, ClockPattern(1), kBits));
        ASSERT_NEAR(static_cast<double>(crossings.size()), kBits - 10.0, 8);
        double squares = 0;
        int direction = -1;
        for (std::size_t k = 1; k < crossings.size();
             ++k, direction = -direction) {  // 0: from idle
            const double ideal = settings.start + static_cast<double>(k) * kUi;
            ASSERT_EQ(crossings[k].second, direction);
            const double known = c.jitter.sineAmplitude * std::sin(2 * std::numbers::pi *
                                                                   c.jitter.sineFrequency * ideal) -
                                 0.25 * direction * c.jitter.dutyCycle;
            const double rest = crossings[k].first - ideal - known;
            ASSERT_NEAR(rest, 0, c.rms == 0 ? c.tolerance : 6 * c.rms) << k;
            squares += rest * rest;
        }
        EXPECT_NEAR(std::sqrt(squares / static_cast<double>(crossings.size())), c.rms, c.tolerance);
    }
}

TEST(BitPattern, IsReadFromTextAndSentOverAndOver)
{
    TemporaryFolder folder;
    const auto read = [](const std::string& text) {
        std::ofstream("bits.txt") << text;
        std::string bits;
        try {
            BitPattern pattern(ReadBitPattern("bits.txt"));
            for (int i = 0; i < 8; ++i) bits += pattern.Next() ? '1' : '0';
        } catch (const Error& error) {
            return std::string(error.what());
        }
        return bits;
    };
    EXPECT_EQ(read("# a 1 in a comment\n1 1,0\n\t0 1# end\r\n"), "11001110");
    EXPECT_EQ(read("0"), "00000000");  // an idle line, too, goes on
    EXPECT_EQ(read("01\n0 2"), "bits.txt:2: expected 0 or 1, found '2'");
    EXPECT_EQ(read("01\xfe"), "bits.txt:1: expected 0 or 1, found byte 0xfe");
    EXPECT_EQ(read("# 1\n"), "bits.txt: holds no bits; expected a text of 0 and 1");
    BitPattern clock(ClockPattern(2));
    for (const bool bit : {1, 1, 0, 0, 1}) EXPECT_EQ(clock.Next(), bit);
    EXPECT_THROW(ReadBitPattern("none.txt"), Error);
}

}  // namespace
}  // namespace amisim
