#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "host/channel/LossyLine.hpp"
#include "host/signal/BitMapping.hpp"
#include "host/signal/Convolver.hpp"
#include "host/signal/Prbs.hpp"
#include "host/signal/Random.hpp"
#include "host/signal/SymbolPattern.hpp"
#include "host/signal/Transmitter.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

TEST(Prbs, HasItsFullPeriodWithOneMoreOneThanZeros)
{
    for (const int order : {7, 9, 11, 13, 15, 20, 23}) {
        SCOPED_TRACE(order);
        const auto period = (std::ptrdiff_t{1} << order) - 1;
        Prbs prbs(order, 5);
        std::vector<char> bits(static_cast<std::size_t>(period + order));
        std::ranges::generate(bits, [&] { return prbs.Next(); });
        // A register's state is its last `order` bits: the first must not return before that.
        const auto again =
            std::search(bits.begin() + 1, bits.end(), bits.begin(), bits.begin() + order);
        EXPECT_EQ(again - bits.begin(), period);
        EXPECT_EQ(std::count(bits.begin(), bits.begin() + period, 1), (period + 1) / 2);
    }
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
        EXPECT_NEAR(GainDb(weights, 0), 0, 0.01);
    }
}

/// Plays back given samples.
struct Samples : SignalSource
{
    explicit Samples(std::span<const double> values) : left(values) {}
    std::size_t Read(std::span<double> out) override
    {
        const auto part = left.first(std::min(out.size(), left.size()));
        left = left.subspan(part.size());
        std::ranges::copy(part, out.begin());
        return part.size();
    }
    std::span<const double> left;
};

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
            std::vector<double> part(piece);
            std::size_t n = 0;
            for (std::size_t got = piece; got == piece;) {
                got = convolver.Read(part);
                for (std::size_t i = 0; i < got; ++i, ++n)
                    ASSERT_NEAR(part[i], expected.at(n), 1e-11);
            }
            ASSERT_EQ(n, expected.size());
        }
    }
}

std::vector<double> Transmit(const Transmitter::Settings& settings, std::vector<Symbol> pattern,
                             std::size_t bits)
{
    Transmitter source(settings, std::make_unique<SymbolPattern>(std::move(pattern)), nullptr,
                       Random(7));
    std::vector<double> wave(64 * bits);
    source.Read(std::span(wave).first(1001));  // in two pieces
    source.Read(std::span(wave).subspan(1001));
    return wave;
}

TEST(Transmitter, DeemphasisSetsTheLevelOfEachSymbol)
{
    const std::vector<Symbol> bits = {1, 0, 1, 1, 1, 1, 0, 0, 0, 1, 0, 0, 0, 0};
    const std::vector<Symbol> four = {3, 0, 3, 3, 2, 1, 3, 1, 0, 2, 3, 0, 0, 0, 0};
    struct Case
    {
        std::vector<double> pre, post;
        std::vector<double> levels = {-1, 1};
    };
    for (const Case& c : {Case{{}, {}},
                          {{}, {0.25}},
                          {{0.1}, {}},
                          {{0.1, -0.05}, {0.2, 0.05}},
                          {{0.1, -0.05}, {0.2, 0.05}, {-1, -0.3, 0.4, 1}}}) {
        const auto& pattern = c.levels.size() == 2 ? bits : four;
        Transmitter::Settings settings;
        settings.modulation.levels = c.levels;
        settings.deemphasis = {c.pre, c.post};
        const auto wave = Transmit(settings, pattern, 10 * pattern.size());
        const auto symbol = [&](std::size_t k) { return c.levels[pattern[k % pattern.size()]]; };
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
        EXPECT_NEAR(peak, 1, 1e-15);  // the patterns hold the worst case of each
    }
}

TEST(Transmitter, JitterMovesTheEdgesAsAskedFor)
{
    constexpr double kUi = 64, kFrequency = 1 / 3000.0;  // cycles a sample
    constexpr std::size_t kBits = 20000;
    struct Case
    {
        const char* name;
        EdgeJitter::Settings jitter;  // samples
        double rms, tolerance;        // of the deviation from early, late, sine
    };
    for (const Case& c :
         {Case{"none", {}, 0, 1e-3},
          {"random", {0.02 * kUi, 0, 0, 0}, 0.02 * kUi, 0.02 * 0.02 * kUi},
          {"sine", {0, 0.3 * kUi, kFrequency, 0}, 0, 2e-3},
          {"long sine", {0, 8 * kUi, kFrequency / 1000, 0}, 0, 2e-3},
          {"duty cycle", {0, 0, 0, 0.1 * kUi}, 0, 1e-3},
          {"declared, random", {.declared = {.randomRms = 1.28}}, 1.28, 0.02 * 1.28},
          {"declared, even", {.declared = {.uniform = 3}}, 3 / std::sqrt(3.0), 0.02 * 3},
          {"declared, the rest",
           {.declared = {.sineAmplitude = 5, .sineFrequency = kFrequency, .alternating = 3}},
           0,
           1e-3},
          {"all at their limits",
           {0.1 * kUi, 0.5 * kUi / 6.2832, 0.015, 0.5 * kUi},
           0.1 * kUi,
           0.03 * 0.1 * kUi}}) {
        SCOPED_TRACE(c.name);
        Transmitter::Settings settings;
        settings.unitInterval = kUi / (1 + 150e-6);
        settings.jitter = c.jitter;
        settings.start = 100 + 8 * kUi;
        settings.rampTime = c.rms == 0 ? 20 : 3;  // short where edges come close
        const auto wave = Transmit(settings, ClockPattern(1), kBits);
        const auto [low, high] = std::ranges::minmax(wave);
        EXPECT_LE(std::max(high, -low), 0.4 + 1e-12);
        double squares = 0, edges = 0;
        for (std::size_t n = 0; n + 1 < wave.size(); ++n) {
            if ((wave[n] > 0) == (wave[n + 1] > 0)) continue;
            const double ideal = settings.start + edges * settings.unitInterval;
            if (edges++ == 0) continue;  // from idle
            const int direction = std::fmod(edges, 2) == 0 ? -1 : 1;
            ASSERT_EQ(wave[n + 1] > 0, direction > 0);
            const double known =
                c.jitter.sineAmplitude *
                    std::sin(2 * std::numbers::pi * c.jitter.sineFrequency * ideal) -
                0.25 * direction * c.jitter.dutyCycle +
                c.jitter.declared.sineAmplitude *
                    std::sin(2 * std::numbers::pi * c.jitter.declared.sineFrequency * ideal) +
                direction * c.jitter.declared.alternating;
            const double time = static_cast<double>(n) + wave[n] / (wave[n] - wave[n + 1]);
            const double rest = time - ideal - known;
            ASSERT_NEAR(rest, 0, c.rms == 0 ? c.tolerance : 6 * c.rms) << edges;
            squares += rest * rest;
        }
        ASSERT_NEAR(edges, kBits - 10.0, 8);
        EXPECT_NEAR(std::sqrt(squares / edges), c.rms, c.tolerance);
    }
}

TEST(SymbolPattern, IsReadFromTextAndSentOverAndOver)
{
    TemporaryFolder folder;
    const auto read = [](const std::string& text) {
        Save("bits.txt", text);
        std::string bits;
        const std::string message = MessageOf([&] {
            SymbolPattern pattern(ReadSymbolPattern("bits.txt"));
            for (int i = 0; i < 8; ++i) bits += pattern.Next() ? '1' : '0';
        });
        return message + bits;
    };
    EXPECT_EQ(read("# a 1 in a comment\n1 1,0\n\t0 1# end\r\n"), "11001110");
    EXPECT_EQ(read("\xef\xbb\xbf# saved by an editor\r1100\r1"), "11001110");
    EXPECT_EQ(read("0"), "00000000");  // an idle line, too, goes on
    EXPECT_EQ(read("01\n0 2"), "bits.txt:2: expected 0 or 1, found '2'");
    EXPECT_EQ(read("01\xfe"), "bits.txt:1: expected 0 or 1, found byte 0xfe");
    EXPECT_EQ(read("# 1\n"), "bits.txt: holds no bits; expected a text of 0 and 1");
    Save("bits.txt", "012 3f0");
    EXPECT_EQ(ReadSymbolPattern("bits.txt", 16), (std::vector<Symbol>{0, 1, 2, 3, 15, 0}));
    EXPECT_EQ(MessageOf([] { ReadSymbolPattern("bits.txt", 4); }),
              "bits.txt:1: expected 0 to 3, found 'f'");
    EXPECT_EQ(ClockPattern(1, 4), (std::vector<Symbol>{3, 0}));
    SymbolPattern clock(ClockPattern(2));
    for (const int bit : {1, 1, 0, 0, 1}) EXPECT_EQ(clock.Next(), bit);
    EXPECT_THROW(ReadSymbolPattern("none.txt"), Error);
}

TEST(BitMapping, AStepToTheNextLevelChangesOneBitWhereThereAreSoMany)
{
    for (const int levels : {2, 4, 8, 16}) {
        const BitMapping mapping(levels);
        EXPECT_EQ(1 << mapping.Bits(), levels);
        for (unsigned bits = 0; bits < static_cast<unsigned>(levels); ++bits) {
            const std::vector<Symbol> symbol = mapping.SymbolsOf(bits);
            const std::vector<Symbol> zeros = mapping.SymbolsOf(0);
            EXPECT_EQ(mapping.Difference(symbol, zeros), std::popcount(bits));
            const std::vector<Symbol> next{static_cast<Symbol>(symbol[0] + 1)};
            if (next[0] < levels) {
                EXPECT_EQ(mapping.Difference(symbol, next), 1) << levels;
            }
        }
    }
    for (const auto& [told, one, two] : {std::tuple{"0132", 1, 3}, {"0123", 1, 2}, {"3120", 1, 2}})
        EXPECT_EQ(BitMapping(4, told).SymbolsOf(1)[0] * 10 + BitMapping(4, told).SymbolsOf(2)[0],
                  one * 10 + two);
    const BitMapping ternary(3);
    std::string pairs;
    for (unsigned bits = 0; bits < 8; ++bits) {
        for (const Symbol symbol : ternary.SymbolsOf(bits)) pairs += std::to_string(symbol);
    }
    EXPECT_EQ(pairs, "0001021012202122");
    EXPECT_EQ(BitMapping(5).Bits(), 0);
}

TEST(MappedSymbols, HaveThePatternsPeriodAndEveryLevelAsOften)
{
    // Of pairs of bits from two periods: 2^(n-2) of each level, and one less of the lowest.
    MappedSymbols gray(std::make_unique<Prbs>(13, 5), BitMapping(4));
    Prbs bits(13, 5);
    std::vector<Symbol> period;
    std::array<int, 4> counts{};
    for (int i = 0; i < 8191; ++i) {
        const int first = bits.Next(), second = bits.Next();
        period.push_back(gray.Next());
        EXPECT_EQ(period.back(), first * 2 + (first ^ second)) << i;
        ++counts[period.back()];
    }
    EXPECT_EQ(counts, (std::array{2047, 2048, 2048, 2048}));
    for (const Symbol symbol : period) ASSERT_EQ(gray.Next(), symbol);

    MappedSymbols five(std::make_unique<Prbs>(15), BitMapping(5));
    std::array<int, 5> evenly{};
    for (int i = 0; i < 50000; ++i) ++evenly.at(five.Next());
    for (const int count : evenly) EXPECT_NEAR(count, 10000, 300);
}

}  // namespace
}  // namespace amisim
