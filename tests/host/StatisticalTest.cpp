// Statistical eyes against closed forms and against counted signals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>

#include "host/analysis/Tail.hpp"
#include "host/signal/Convolver.hpp"
#include "host/signal/Prbs.hpp"
#include "host/statistical/StatisticalEye.hpp"
#include "host/statistical/VoltageDensity.hpp"

namespace amisim {
namespace {

constexpr int kSamples = 64;  // a unit interval

/// A response that jumps at the beginning of each unit interval, V: the cursors of a pulse.
StepResponse Jumps(const std::vector<double>& jumps)
{
    std::vector<double> edge(kSamples * jumps.size(), 0.0);
    for (std::size_t i = 0; i < jumps.size(); ++i) {
        edge[kSamples * i] = jumps[i];
    }
    return {edge, kSamples};
}

/// 0.8 UI to settle and an echo of a tenth after three: so much intersymbol interference that no
/// voltage stands out.
std::vector<double> Impulse()
{
    std::vector<double> impulse(20 * kSamples);
    for (std::size_t i = 0; i < impulse.size(); ++i) {
        impulse[i] = std::exp(-static_cast<double>(i) / (0.8 * kSamples));
    }
    const double sum = std::accumulate(impulse.begin(), impulse.end(), 0.0);
    for (double& weight : impulse) weight /= sum;
    for (std::size_t i = impulse.size() - 1; i >= 3 * kSamples; --i) {
        impulse[i] += 0.1 * impulse[i - 3 * kSamples];
    }
    return impulse;
}

Transmitter::Settings Sender()
{
    Transmitter::Settings settings;
    settings.amplitude = 0.5;
    settings.unitInterval = kSamples;
    settings.rampTime = 0.2 * kSamples;
    return settings;
}

/// V for one unit of the levels: of a transmitter's edge through an impulse response.
StepResponse ResponseOf(const Transmitter::Settings& settings, const std::vector<double>& impulse)
{
    Transmitter::Settings plain = settings;
    plain.deemphasis = {};
    const std::vector<double> edge = Transmitter::EdgeResponse(plain);
    std::vector<double> both(edge.size() + impulse.size(), 0.0);
    const double swing = settings.modulation.levels.back() - settings.modulation.levels.front();
    for (std::size_t i = 0; i < edge.size(); ++i) {
        for (std::size_t k = 0; k < impulse.size(); ++k)
            both[i + k] += edge[i] * impulse[k] / swing;
    }
    return {both, kSamples};
}

TEST(StatisticalEye, HasTheClosedFormsOfNoiseAndJitter)
{
    // A square signal of 0.5 V: what is left between two Gaussians, of which each is half.
    StatisticalLink noisy;
    noisy.response = Jumps({0.5});
    noisy.noise = 0.02;
    // Behind an edge of half of the boundaries.
    StatisticalLink shaken;
    shaken.response = Jumps({0.5});
    shaken.jitter.randomRms = 0.02;
    const std::vector<double> bers{1e-3, 1e-6, 1e-9, 1e-12};
    const StatisticalEye tall = ComputeStatisticalEye(noisy, bers);
    const StatisticalEye wide = ComputeStatisticalEye(shaken, bers);
    for (std::size_t i = 0; i < bers.size(); ++i) {
        const double sigmas = InverseQ(2 * bers[i]);
        EXPECT_NEAR(tall.eyes[0].openings[i].height, 2 * (0.5 - 0.02 * sigmas), 2e-4) << bers[i];
        EXPECT_NEAR(wide.eyes[0].openings[i].width, 1 - 2 * 0.02 * sigmas, 0.004) << bers[i];
    }
    EXPECT_NEAR(tall.worstHeights[0], 1.0, 1e-12);
}

TEST(StatisticalEye, OfHalvingCursorsIsUniform)
{
    // 1/2 + 1/4 + 1/8 ...: every voltage between 0 and twice the main cursor is as likely.
    std::vector<double> cursors{1.0};
    for (int k = 1; k <= 16; ++k) cursors.push_back(std::ldexp(1.0, -k));
    StatisticalLink link;
    link.response = Jumps(cursors);
    const StatisticalEye eye = ComputeStatisticalEye(link, {});
    const Bathtub& voltage = eye.eyes[0].voltage;
    for (std::size_t i = 0; i < voltage.x.size(); ++i) {
        const double v = std::abs(voltage.x[i]);
        if (v > 2) continue;
        // Below from ones and above from zeros, each half of the symbols.
        EXPECT_NEAR(voltage.counted[i], v / 4, 2e-3) << voltage.x[i];
    }
    EXPECT_NEAR(eye.worstHeights[0], 2 * std::ldexp(1.0, -16), 1e-9);
}

TEST(StatisticalEye, ASineAtHalfTheSymbolRateIsEvenAndOdd)
{
    StatisticalLink sine, evenOdd;
    sine.response = evenOdd.response = ResponseOf(Sender(), Impulse());
    sine.noise = evenOdd.noise = 0.005;
    evenOdd.jitter.evenOdd = 0.1;
    sine.jitter.sines = {{0.1, 0.5}};
    const double wide = ComputeStatisticalEye(sine, {1e-12}).eyes[0].openings[0].width;
    EXPECT_NEAR(wide, ComputeStatisticalEye(evenOdd, {1e-12}).eyes[0].openings[0].width, 0.01);
    // Where the response is short against its period, the edges move together: by all of it at
    // worst.
    StatisticalLink slow = sine, still = sine;
    slow.jitter.sines[0].frequency = 1e-5;
    still.jitter.sines.clear();
    const double moved = ComputeStatisticalEye(slow, {1e-9}).eyes[0].openings[0].width;
    const double rest = ComputeStatisticalEye(still, {1e-9}).eyes[0].openings[0].width;
    EXPECT_GT(moved, rest - 0.2);
    EXPECT_LT(moved, rest - 0.185);
}

TEST(StatisticalEye, TwoSinesAreSeenAtAllPairsOfTheirPhases)
{
    StatisticalLink both, apart;
    both.response = apart.response = ResponseOf(Sender(), Impulse());
    both.noise = apart.noise = 0.005;
    apart.jitter.sines = {{0.1, 1e-5}};
    apart.jitter.evenOdd = 0.05;
    both.jitter.sines = {{0.1, 1e-5}, {0.05, 0.5}};
    const double wide = ComputeStatisticalEye(both, {1e-9}).eyes[0].openings[0].width;
    EXPECT_NEAR(wide, ComputeStatisticalEye(apart, {1e-9}).eyes[0].openings[0].width, 0.01);
}

TEST(StatisticalEye, AClockThatFollowsASineDoesNotSeeIt)
{
    StatisticalLink still, followed;
    still.response = followed.response = ResponseOf(Sender(), Impulse());
    still.noise = followed.noise = 0.005;
    followed.jitter.sines = {{0.1, 1e-5, 0.1, 0}};
    const double wide = ComputeStatisticalEye(followed, {1e-12}).eyes[0].openings[0].width;
    EXPECT_NEAR(wide, ComputeStatisticalEye(still, {1e-12}).eyes[0].openings[0].width, 1e-3);
}

TEST(StatisticalEye, HasTheClosedFormsOfASampler)
{
    StatisticalLink noisy, shaken;
    noisy.response = shaken.response = Jumps({0.5});
    noisy.uniformNoise = 0.1;
    noisy.sensitivity = 0.03;
    shaken.noise = 0.02;
    shaken.jitter.randomRms = 0.02;
    shaken.sampling.AddGaussian(0.03);
    shaken.sampling.AddMean(0.0625);
    const std::vector<double> bers{1e-3, 1e-6};
    const EyeFindings low = ComputeStatisticalEye(noisy, bers).eyes[0];
    const EyeFindings narrow = ComputeStatisticalEye(shaken, bers).eyes[0];
    for (std::size_t i = 0; i < bers.size(); ++i) {
        const double ber = bers[i];
        EXPECT_NEAR(low.openings[i].height, 2 * (0.5 - 0.1 * (1 - 4 * ber) - 0.03), 2e-3) << ber;
        // Behind edges of half of the boundaries.
        const double width = 1 - 2 * std::hypot(0.02, 0.03) * InverseQ(2 * ber);
        EXPECT_NEAR(narrow.openings[i].width, width, 0.005) << ber;
    }
    EXPECT_NEAR(narrow.left - narrow.right, 2 * 0.0625, 0.005) << "seen late";
}

TEST(SamplingTime, HasTheMomentsOfWhatIsAdded)
{
    struct Case
    {
        const char* name;
        SamplerSettings::Jitter jitter;
        double mean, variance;
    };
    for (const Case& c : {Case{"mean", {.mean = 0.125}, 0.125, 0},
                          {"random", {.random = 0.04}, 0, 0.0016},
                          {"uniform", {.uniform = 0.1}, 0, 0.01 / 3},
                          {"sine", {.sine = 0.1}, 0, 0.005},
                          {"alternating", {.alternating = 0.125}, 0, 0.015625},
                          {"beyond", {.mean = -3}, -0.5, 0}}) {
        SamplingTime when;
        when.AddJitter(c.jitter);
        double sum = 0, mean = 0, squares = 0;
        for (std::size_t i = 0; i < when.Parts().size(); ++i) {
            const double late = (when.First() + static_cast<double>(i)) / SamplingTime::kSteps;
            sum += when.Parts()[i];
            mean += when.Parts()[i] * late;
            squares += when.Parts()[i] * late * late;
        }
        EXPECT_NEAR(sum, 1, 1e-12) << c.name;
        EXPECT_NEAR(mean, c.mean, 1e-9) << c.name;
        EXPECT_NEAR(squares - mean * mean, c.variance, 1e-5) << c.name;
    }
    // As late as the transitions are early: half of them lie at a phase of 0.9.
    EyeFindings eye;
    eye.transitionDensity = 0.5;
    eye.time.x = {0, 0.25, 0.5, 0.75, 1};
    eye.time.counted = {0.1, kUnknown, kUnknown, 0.1, 0.35};
    EXPECT_NEAR(TransitionPhase(eye).value(), -0.1, 1e-12);
    eye.time.counted = {0.35, 0.1, kUnknown, kUnknown, 0.1};
    EXPECT_NEAR(TransitionPhase(eye).value(), 0.1, 1e-12);
    SamplingTime counted;
    counted.AddHistogram({-0.0625, 0.125, {3, 1}});
    EXPECT_EQ(counted.First(), -16);
    EXPECT_EQ(counted.Parts().front(), 0.75);
    EXPECT_EQ(counted.Parts().back(), 0.25);
}

TEST(JitterParts, AreToldApartByTheirCauses)
{
    const StepResponse slow = ResponseOf(Sender(), Impulse());
    StatisticalLink none, shaken, noisy;
    none.response = noisy.response = slow;
    shaken.response = Jumps({0.5});
    shaken.jitter.randomRms = 0.01;
    shaken.jitter.dutyCycle = 0.1;
    noisy.noise = 0.001;
    // Intersymbol interference is not random, whatever it looks like.
    const JitterParts only = ComputeStatisticalEye(none, {}).jitter;
    EXPECT_EQ(only.random, 0);
    EXPECT_EQ(only.deterministic, only.total);
    EXPECT_GT(only.dataDependent, 0.1);
    EXPECT_NEAR(only.total, only.dataDependent, 0.04);
    // Two equal places of the edges 0.05 UI apart, and a Gaussian around each.
    const JitterParts parts = ComputeStatisticalEye(shaken, {}).jitter;
    EXPECT_EQ(parts.random, 0.01);
    EXPECT_NEAR(parts.dutyCycle, 0.05, 1e-12);
    EXPECT_NEAR(parts.deterministic, 0.05, 0.01);
    EXPECT_NEAR(parts.dataDependent, 0, 1.0 / 32);
    // Of noise what the slope makes of it: TJ grows by that, as long as it is all in the middle.
    const JitterParts made = ComputeStatisticalEye(noisy, {}).jitter;
    EXPECT_GT(made.random, 0);
    EXPECT_NEAR(made.deterministic, only.total, 0.05);
}

TEST(StatisticalEye, DeemphasisWithoutJitterIsAnotherResponse)
{
    const Transmitter::Settings plain = Sender();
    StatisticalLink states, filtered;
    states.deemphasis = {{0.05}, {0.2, 0.05}};
    states.response = ResponseOf(plain, Impulse());
    states.noise = filtered.noise = 0.01;
    const std::vector<double> cursors = states.deemphasis.Cursors();
    std::vector<double> impulse(Impulse().size() + 3 * kSamples, 0.0);
    for (std::size_t i = 0; i < cursors.size(); ++i) {
        for (std::size_t k = 0; k < Impulse().size(); ++k) {
            impulse[i * kSamples + k] += cursors[i] * Impulse()[k];
        }
    }
    filtered.response = ResponseOf(plain, impulse);
    const StatisticalEye a = ComputeStatisticalEye(states, {1e-12});
    const StatisticalEye b = ComputeStatisticalEye(filtered, {1e-12});
    EXPECT_NEAR(a.eyes[0].openings[0].height, b.eyes[0].openings[0].height, 1e-5);
    EXPECT_NEAR(a.eyes[0].openings[0].width, b.eyes[0].openings[0].width, 1e-4);
    EXPECT_NEAR(a.worstHeights[0], b.worstHeights[0], 1e-6);
}

class RandomSymbols : public SymbolSource
{
public:
    RandomSymbols(std::size_t levels, std::uint64_t seed) : levels_(levels), random_(seed) {}
    Symbol Next() override { return static_cast<Symbol>(random_.Bits() % levels_); }

private:
    std::size_t levels_;
    Random random_;
};

/// What a transmitter sends through an impulse response, seen a time after each symbol's boundary.
struct Counted
{
    Counted(const Transmitter::Settings& settings, std::size_t symbols)
        : sent(symbols), wave(symbols * kSamples)
    {
        Transmitter transmitter(
            settings, std::make_unique<RandomSymbols>(settings.modulation.levels.size(), 7), &sent,
            Random(8));
        const std::vector<double> impulse = Impulse();
        Convolver channel(transmitter, impulse);
        channel.Read(wave);
    }

    /// Of a symbol, V, rising.
    std::vector<double> Voltages(Symbol symbol, double time) const
    {
        std::vector<double> volts;
        const auto count = static_cast<std::int64_t>(wave.size() / kSamples);
        for (std::int64_t k = 20; k < count - 20; ++k) {
            const double at = (static_cast<double>(k) + time) * kSamples;
            const auto before = static_cast<std::size_t>(at);
            if (sent[k] == symbol) {
                volts.push_back(
                    std::lerp(wave[before], wave[before + 1], at - static_cast<double>(before)));
            }
        }
        std::ranges::sort(volts);
        return volts;
    }

    SymbolHistory sent;
    std::vector<double> wave;
};

/// Distance of Kolmogorov and Smirnov, times the root of the count.
double Distance(const std::vector<double>& volts, const VoltageDensity& density)
{
    double greatest = 0;
    const auto count = static_cast<double>(volts.size());
    for (std::size_t i = 0; i < volts.size(); ++i) {
        const double computed = density.Below(volts[i]);
        greatest = std::max({greatest, std::abs(computed - static_cast<double>(i) / count),
                             std::abs(computed - static_cast<double>(i + 1) / count)});
    }
    return greatest * std::sqrt(count);
}

struct Case
{
    const char* name;
    Modulation modulation;
    Deemphasis deemphasis;
    double randomRms, dutyCycle;  // UI
};

class CountedAndComputed : public testing::TestWithParam<Case>
{
};

TEST_P(CountedAndComputed, HaveOneDistribution)
{
    const Case& c = GetParam();
    Transmitter::Settings settings = Sender();
    settings.modulation = c.modulation;
    settings.deemphasis = c.deemphasis;
    settings.jitter.randomRms = c.randomRms * kSamples;
    settings.jitter.dutyCycle = c.dutyCycle * kSamples;
    BoundaryJitter jitter;
    jitter.randomRms = c.randomRms;
    jitter.dutyCycle = c.dutyCycle;
    const EdgeSum sum(SymbolTrellis(c.modulation, c.deemphasis), ResponseOf(settings, Impulse()),
                      jitter);
    const Counted counted(settings, 40'000);
    const VoltageGrid grid{0.7, 16384};
    // An edge's response begins half a ramp before its boundary, on a sample.
    const double begin = std::ceil(settings.rampTime / 2) / kSamples;
    for (const double phase : {0.1, 0.3, 0.6, 0.9}) {
        const auto symbols = sum.At(phase + begin, grid.FrequencyStep(), grid.Frequencies());
        for (std::size_t symbol = 0; symbol < symbols.size(); ++symbol) {
            const auto volts = counted.Voltages(static_cast<Symbol>(symbol), phase);
            ASSERT_GT(volts.size(), 5000u);
            // One in a hundred is further away, were the distribution the same.
            EXPECT_LT(Distance(volts, VoltageDensity(grid, symbols[symbol])), 1.63)
                << phase << " symbol " << symbol;
        }
    }
}

/// Symbols of long ago are summed apart from the edges; how long, the highest frequency decides.
TEST_P(CountedAndComputed, HaveOneCharacteristicWhereverThePastBegins)
{
    const Case& c = GetParam();
    BoundaryJitter jitter;
    jitter.randomRms = c.randomRms;
    jitter.dutyCycle = c.dutyCycle;
    jitter.evenOdd = 0.02;
    jitter.sines = {{.amplitude = 0.1, .frequency = 0.05}};
    std::vector<double> slow = Impulse();
    for (std::size_t i = 0; i < slow.size(); ++i) {
        slow[i] += 0.2 * std::exp(-static_cast<double>(i) / (5 * kSamples)) / (5 * kSamples);
    }
    const EdgeSum sum(SymbolTrellis(c.modulation, c.deemphasis), ResponseOf(Sender(), slow),
                      jitter);
    const double step = VoltageGrid{0.7, 64}.FrequencyStep();
    constexpr std::size_t kFew = 33, kMany = 513;
    constexpr double kNear = 5e-4;  // what moves the boundaries of the past is a Gaussian
    for (const double time : {0.4, 0.9}) {
        const auto few = sum.At(time, step, kFew), many = sum.At(time, step, kMany);
        for (std::size_t symbol = 0; symbol < few.size(); ++symbol) {
            for (std::size_t n = 0; n < kFew; ++n) {
                EXPECT_NEAR(few[symbol].real[n], many[symbol].real[n], kNear) << n;
                EXPECT_NEAR(few[symbol].imaginary[n], many[symbol].imaginary[n], kNear) << n;
            }
        }
    }
}

const Modulation kPam4{{-1, -1.0 / 3, 1.0 / 3, 1}, {-0.3, 0, 0.3}};

INSTANTIATE_TEST_SUITE_P(StatisticalEye, CountedAndComputed,
                         testing::Values(Case{"RandomJitter", {}, {}, 0.03, 0},
                                         Case{"DutyCycle", {}, {}, 0.01, 0.2},
                                         Case{"Deemphasis", {}, {{0.1}, {0.2}}, 0.05, 0.1},
                                         Case{"Pam4", kPam4, {}, 0.02, 0}),
                         [](const auto& tried) { return std::string(tried.param.name); });

}  // namespace
}  // namespace amisim
