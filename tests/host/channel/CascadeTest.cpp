#include "touchstone/Cascade.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>

#include "base/Error.hpp"
#include "host/channel/ChannelResponse.hpp"
#include "host/channel/ElementCoupling.hpp"
#include "tests/TemporaryFolder.hpp"
#include "touchstone/Interpolation.hpp"
#include "touchstone/Termination.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;

std::vector<double> Grid(double step, double last, double first = 0.0)
{
    std::vector<double> grid;
    for (int k = 0; first + k * step <= last; ++k) grid.push_back(first + k * step);
    return grid;
}

/// A line that is matched between its own references: loss in dB at 1 GHz, which rises with the
/// frequency's root, and delay in s.
SParameters Line(double ohms, double delay, double loss, const std::vector<double>& grid)
{
    SParameters s{2, grid, {ohms, ohms}, {}};
    for (const double f : grid) {
        const double nepers = loss * std::sqrt(f / 1e9) * std::numbers::ln10 / 20.0;
        const Complex through = std::polar(std::exp(-nepers), -2.0 * std::numbers::pi * f * delay);
        s.values.insert(s.values.end(), {0.0, through, through, 0.0});
    }
    return s;
}

double LargestDifference(const std::vector<Complex>& a, const std::vector<Complex>& b)
{
    EXPECT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (std::size_t k = 0; k < std::min(a.size(), b.size()); ++k)
        largest = std::max(largest, std::abs(a[k] - b[k]));
    return largest;
}

TEST(Cascade, TwoMatchedLinesAreOneOfTwiceTheLoss)
{
    const auto grid = Grid(10e6, 20e9);
    const SParameters half = Line(50, 1e-9, 5, grid);
    EXPECT_LT(LargestDifference(Cascade({half, half}).values, Line(50, 2e-9, 10, grid).values),
              1e-9);
    // The same on unlike grids: what both cover, at the points of the finer one, and both ends.
    const SParameters coarse = Line(50, 1e-9, 5, Grid(31e6, 15.003e9, 3e6));
    const SParameters both = Cascade({coarse, half});
    EXPECT_EQ(both.frequency.front(), 3e6);
    EXPECT_EQ(both.frequency[1], 10e6);
    EXPECT_EQ(both.frequency.back(), coarse.frequency.back());
    for (std::size_t k = 0; k < both.frequency.size(); ++k) {
        if (both.frequency[k] < 200e6) continue;  // the root has no slope at 0 Hz
        const SParameters there = Line(50, 2e-9, 10, {both.frequency[k]});
        EXPECT_LT(std::abs(both.At(k, 2, 1) - there.At(0, 2, 1)), 2e-5) << both.frequency[k];
    }
    EXPECT_THROW(Cascade({half, Line(50, 1e-9, 5, Grid(10e6, 30e9, 20e9))}), Error);
}

TEST(Cascade, ASectionOfAnotherImpedanceSendsItsEchoBackAndForth)
{
    // Between lines of 50 ohm: (1 - r^2) D / (1 - r^2 D^2), the first echo r^2 at twice the delay.
    const auto grid = Grid(10e6, 10e9);
    const double delay = 0.3e-9, r = (60.0 - 50.0) / (60.0 + 50.0);
    const SParameters lead = Line(50, 1e-9, 0, grid);
    const SParameters whole = Cascade({lead, Line(60, delay, 0, grid), lead});
    for (std::size_t k = 0; k < grid.size(); ++k) {
        const auto turn = [&](double t) {
            return std::polar(1.0, -2.0 * std::numbers::pi * grid[k] * t);
        };
        const Complex d = turn(delay);
        EXPECT_LT(
            std::abs(whole.At(k, 2, 1) - turn(2e-9) * (1 - r * r) * d / (1.0 - r * r * d * d)),
            1e-9);
        EXPECT_LT(
            std::abs(whole.At(k, 1, 1) - turn(2e-9) * r * (1.0 - d * d) / (1.0 - r * r * d * d)),
            1e-9);
    }
    // A line with open ends resonates.
    const SParameters open{2, grid, {50, 50}, std::vector<Complex>(4 * grid.size(), {1, 0})};
    EXPECT_THROW(Cascade({open, open}), Error);
}

TEST(Cascade, AnAggressorOfOneElementTakesTheWayOfItsSignal)
{
    // Two matched lines, and what couples from a lane like them in one of the two.
    const auto grid = Grid(10e6, 10e9);
    const SParameters first = Line(50, 1e-9, 5, grid), second = Line(50, 0.3e-9, 3, grid);
    const SParameters coupled = Line(50, 0.2e-9, 20, grid);
    ChannelNetwork channel;
    for (const SParameters& s : {first, second}) channel.elements.push_back({s, {}, {}});
    // A pair of single lines couples as each leg of a pair does.
    ChannelNetwork single, pair;
    single.s = coupled;
    pair.s = Ordered(WithLegs(coupled, 2), {1, 3, 2, 4});
    pair.order = pair.ports = kPorts12_34;
    for (const Terminations& ends : {Terminations{}, {75, 30}}) {
        const double gs = ends.source ? 0.2 : 0, gl = ends.load ? -0.25 : 0;
        struct Row
        {
            ElementAggressor aggressor;
            std::function<Complex(Complex a, Complex b)> way;  // besides the coupling
        };
        // A far one's lane ends in the load, a near one's begins where the signal's ends. Waves
        // that come back along it couple at the other end, which is not told.
        for (const Row& row : {
                 Row{{1, false, "far in the first"}, [](Complex, Complex b) { return b; }},
                 {{2, false, "far in the second"}, [](Complex a, Complex) { return a; }},
                 {{1, true, "near in the first"}, [](Complex, Complex b) { return b * b; }},
                 {{2, true, "near in the second"}, [](Complex, Complex) { return 1.0; }},
             }) {
            for (const ChannelNetwork* file : {&single, &pair}) {
                const ChannelNetwork beside = BesideLane(channel, row.aggressor, *file);
                const auto found = CouplingsOf(beside, ends)[0].response.value;
                std::vector<Complex> expected;
                for (std::size_t k = 0; k < grid.size(); ++k) {
                    const Complex a = first.At(k, 2, 1), b = second.At(k, 2, 1);
                    const Complex there = 1.0 - gs * gl * a * a * b * b;
                    expected.push_back((1 - gs) * (1 + gl) * row.way(a, b) * coupled.At(k, 2, 1) /
                                       (there * there));
                }
                EXPECT_LT(LargestDifference(found, expected), 1e-9) << row.aggressor.name;
            }
        }
    }
    single.s.ports = 8;
    EXPECT_THROW(BesideLane(channel, {1, false, "x.s8p@1"}, single), Error);
    EXPECT_THROW(BesideLane(channel, {3, false, "x.s4p@3"}, pair), Error);
    EXPECT_THROW(BesideLane({}, {1, false, "x.s4p@1"}, pair), Error);
}

TEST(Termination, EndsReflectLikeTheirResistances)
{
    const auto grid = Grid(10e6, 10e9);
    const double delay = 1e-9;
    const auto expected = [&](double source, double load) {
        const double gs = (source - 50) / (source + 50), gl = (load - 50) / (load + 50);
        std::vector<Complex> values;
        for (const double f : grid) {
            const Complex d = std::polar(1.0, -2.0 * std::numbers::pi * f * delay);
            values.push_back((1 - gs) * (1 + gl) * d / (1.0 - gs * gl * d * d));
        }
        return values;
    };
    const SParameters single = Line(50, delay, 0, grid);
    const SParameters pair = Ordered(WithLegs(single, 2), {1, 3, 2, 4});
    for (const auto& [source, load] : {std::pair{75.0, 75.0}, {25.0, 1e9}, {0.0, 20.0}}) {
        const Terminations ends{source, load};
        const auto there = expected(source, load);
        EXPECT_LT(LargestDifference(Through(single, {}, ends).value, there), 1e-9) << source;
        EXPECT_LT(LargestDifference(Through(pair, kPorts12_34, ends).value, there), 1e-9) << source;
    }
    // A capacitance beside either end of a matched line: 2 / (2 + i w Z0 C).
    std::vector<Complex> low;
    for (const double f : grid) {
        const Complex turn = std::polar(1.0, -2.0 * std::numbers::pi * f * delay);
        low.push_back(2.0 * turn / Complex(2, 2.0 * std::numbers::pi * f * 50 * 0.4e-12));
    }
    for (const Terminations& ends : {Terminations{{}, {}, 0.4e-12, 0}, {{}, 50, 0, 0.4e-12}}) {
        EXPECT_LT(LargestDifference(Through(single, {}, ends).value, low), 1e-9);
        EXPECT_LT(LargestDifference(Through(pair, kPorts12_34, ends).value, low), 1e-9);
    }
    // Only one end is told, the other matched; the reference is another one than the resistance.
    EXPECT_LT(LargestDifference(Through(Renormalise(single, 85), {}, {50, 50}).value,
                                Through(single, {}).value),
              1e-9);
    EXPECT_EQ(Through(single, {}, {50, {}}).value, Through(single, {}, {{}, 50}).value);
}

/// A four-port without loss and alike in both directions, with coupling between all of its ports:
/// Q D Q with the mirror Q = 1 - 2 v v^T and |D| = 1.
SParameters Lossless(double seed, const std::vector<double>& grid)
{
    const double v[] = {0.5, std::sqrt(0.5) * std::sin(seed), 0.5, std::sqrt(0.5) * std::cos(seed)};
    const auto q = [&](int i, int j) { return (i == j ? 1.0 : 0.0) - 2.0 * v[i] * v[j]; };
    SParameters s{4, grid, std::vector(4, 50.0), {}};
    for (const double f : grid) {
        for (int i = 0; i < 4; ++i) {
            for (int j = 0; j < 4; ++j) {
                Complex sum = 0.0;
                for (int m = 0; m < 4; ++m)
                    sum += q(i, m) * std::polar(1.0, -f * 1e-9 * (m + seed)) * q(m, j);
                s.values.push_back(sum);
            }
        }
    }
    return s;
}

TEST(Cascade, StaysReciprocalAndWithoutLoss)
{
    const auto grid = Grid(50e6, 5e9);
    const SParameters whole =
        Cascade({Lossless(1, grid), Renormalise(Lossless(2, grid), 42), Lossless(3, grid)});
    for (const double gain : GreatestGains(whole)) EXPECT_NEAR(gain, 1.0, 1e-9);
    double energy = 0.0;
    for (const auto& value : whole.values) energy += std::norm(value);
    EXPECT_NEAR(energy / static_cast<double>(grid.size()), 4.0, 1e-9);
    for (std::size_t k = 0; k < grid.size(); ++k) {
        for (int i = 1; i <= 4; ++i) {
            for (int j = 1; j < i; ++j)
                EXPECT_LT(std::abs(whole.At(k, i, j) - whole.At(k, j, i)), 1e-9);
        }
    }
}

void Write(const char* path, const SParameters& s)
{
    std::ofstream file(path);
    file.precision(17);
    file << "# Hz S RI R " << s.reference[0] << "\n";
    for (std::size_t k = 0; k < s.frequency.size(); ++k) {
        file << s.frequency[k];
        for (int i = 1; i <= s.ports; ++i) {
            for (int j = 1; j <= s.ports; ++j)  // a two-port's columns come first
                file << ' ' << s.At(k, s.ports == 2 ? j : i, s.ports == 2 ? i : j).real() << ' '
                     << s.At(k, s.ports == 2 ? j : i, s.ports == 2 ? i : j).imag();
        }
        file << '\n';
    }
}

TEST(ChannelNetwork, JoinsFilesOfAnyPortOrder)
{
    const TemporaryFolder folder;
    const auto grid = Grid(10e6, 20e9);
    const SParameters leg = Line(50, 1e-9, 2, grid), pair = WithLegs(leg, 2);
    Write("leg.s2p", leg);
    Write("13,24.s4p", pair);
    Write("12,34.s4p", Ordered(pair, {1, 3, 2, 4}));
    Write("six.s6p", WithLegs(leg, 3));
    const auto expected = Line(50, 3e-9, 6, grid).Term(2, 1).value;
    const ChannelNetwork whole = ReadNetwork({"13,24.s4p", "leg.s2p", "12,34.s4p"}, {10e9});
    EXPECT_LT(LargestDifference(Through(whole.s, whole.ports, {}).value, expected), 1e-9);
    EXPECT_FALSE(whole.order);  // that aggressors' files could share
    ASSERT_EQ(whole.notes.size(), 4U);
    EXPECT_EQ(whole.notes[0], "13,24.s4p: ports 1->3 and 2->4 by their through terms");
    EXPECT_EQ(ReadNetwork({"leg.s2p", "12,34.s4p"}, {10e9}).order, kPorts12_34);
    EXPECT_EQ(ReadNetwork({"12,34.s4p"}, {10e9}).s.values, Ordered(pair, {1, 3, 2, 4}).values);
    EXPECT_THROW(ReadNetwork({"leg.s2p", "six.s6p"}, {10e9}), Error);

    // A stub of a channel between bad ends: its first echo, 2 ns behind, is the product of both
    // reflections.
    Write("lossless.s2p", Line(50, 1e-9, 0, grid));
    const double sample = 1e-9 / 40;
    const auto taps = ReadChannel({"lossless.s2p"}, {1e9, "", "auto", {75, 75}}, sample).taps;
    EXPECT_NEAR(taps[0], 0.8 * 1.2, 1e-6);
    EXPECT_NEAR(taps[80] / taps[0], 0.04, 1e-6);

    // What begins at 50 MHz is led down to what the resistances leave at 0 Hz.
    Write("high.s2p", Line(50, 1e-9, 0, Grid(10e6, 20e9, 50e6)));
    const auto steady = ReadChannel({"high.s2p"}, {1e9, "", "auto", {45, 60}}, sample);
    EXPECT_NEAR(steady.dcGain, 2 * 60.0 / (45 + 60), 1e-4);
}

}  // namespace
}  // namespace amisim
