#include "touchstone/Touchstone.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "base/Error.hpp"
#include "tests/ibis/Support.hpp"
#include "touchstone/MixedMode.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;

const std::string kHead2 =
    "[Version] 2.0\n# MHz S RI R 50\n[Number of Ports] 2\n[Two-Port Data Order] 12_21\n";

void ExpectNear(Complex actual, Complex expected)
{
    EXPECT_NEAR(std::abs(actual - expected), 0.0, 1e-12) << actual << " for " << expected;
}

TEST(Touchstone, ReadsEveryNotation)
{
    struct Row
    {
        const char* name;
        std::string text;
        double frequency;
        Complex s11, s21, s12;
    };
    const Complex j(0.0, 1.0);
    const Complex turned = std::polar(0.5, std::numbers::pi / 6.0);
    const Row rows[] = {
        {"a.s2p", "! remark\n# Hz S RI R 50\n1e9 0.1 0 0 0.2 0.3 0 0 0 ! remark\n", 1e9, 0.1,
         0.2 * j, 0.3},
        {"a.s2p", "#db KHZ\n+1 -20 0 0 90 0 180 0 0\n# MHz RI\n", 1e3, 0.1, j, -1.0},
        {"a.s2p", "# s mhz r 75 ma\n1 0.1 0 .5 30 0 0 0 0\n2 0 0 0 0 0 0 0 0\n1.5 1 2 3 4\n7 8\n",
         1e6, 0.1, turned, 0.0},
        {"a.ts",
         kHead2 + "[Number of Frequencies] 1\n[Reference]\n50\n75\n[Network Data]\n"
                  "1 0.1 0 0.3 0 0 0.2 0 0\n[Noise Data]\n1 2 3 4 5\n[End]\nrubbish\n",
         1e6, 0.1, 0.2 * j, 0.3},
        {"a.ts",
         kHead2 + "[Matrix Format] Lower\n[Begin Information]\n# [any] text\n[End Information]\n"
                  "[Network Data]\n1 0.1 0\n0 0.2 0 0\n[End]\n",
         1e6, 0.1, 0.2 * j, 0.2 * j},
        // Each mode on its own: SDD = 0.4, SCC = 0.2, so that S11 is their mean and S21 half their
        // difference.
        {"a.ts",
         kHead2 + "[Mixed-Mode Order] D1,2 C1,2\n[Network Data]\n1 .4 0 0 0 0 0 .2 0\n[End]\n", 1e6,
         0.3, -0.1, -0.1},
        {"a.S2P", "#\r\n1 0.1 0 0.2 90 0.3 0 0 0\r\n", 1e9, 0.1, 0.2 * j, 0.3},
        {"a.s2p", "\xef\xbb\xbf#\r1 0.1 0 0.2 90 0.3 0 0 0\r", 1e9, 0.1, 0.2 * j, 0.3},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const SParameters s = ParseTouchstone(row.text, row.name);
        ASSERT_EQ(s.ports, 2);
        EXPECT_DOUBLE_EQ(s.frequency[0], row.frequency);
        ExpectNear(s.At(0, 1, 1), row.s11);
        ExpectNear(s.At(0, 2, 1), row.s21);
        ExpectNear(s.At(0, 1, 2), row.s12);
    }
    EXPECT_EQ(ParseTouchstone(rows[2].text, "a.s2p").frequency.size(), 2U);
    EXPECT_EQ(ParseTouchstone(rows[2].text, "a.s2p").reference, (std::vector{75.0, 75.0}));
    EXPECT_EQ(ParseTouchstone(rows[3].text, "a.ts").reference, (std::vector{50.0, 75.0}));
}

TEST(Touchstone, SaysWhatItPassedOver)
{
    const std::string data = "[Network Data]\n1 0 0 0 0 0 0 0 0\n";
    struct Row
    {
        const char* name;
        std::string text;
        std::vector<std::string> notes;
    };
    for (const Row& row : {Row{"a.s2p",
                               "#\n1 0.1 0 0 0 0 0 0 0\n2 0 0 0 0 0 0 0 0\n2 9 0 0 0 0 0 0 0\n",
                               {"a frequency is given twice, of which the first counts (line 4)"}},
                           {"a.ts", kHead2 + data, {"has no [End]: it may be truncated"}},
                           {"a.ts",
                            kHead2 + "[Number of Frequencies] 1\n" + data,
                            {"has no [End], but all its frequencies"}},
                           {"a.ts", kHead2 + data + "[End]\n", {}}}) {
        const SParameters s = ParseTouchstone(row.text, row.name);
        EXPECT_EQ(s.notes, row.notes) << row.text;
        EXPECT_LT(std::abs(s.At(s.frequency.size() - 1, 1, 1)), 1);
    }
}

TEST(Touchstone, ReadsFourPortsHoweverTheirLinesAreWrapped)
{
    const SParameters s = ParseTouchstone(
        "# GHz S RI\n1 11 1 12 1 13 1 14 1\n15 1 16 1 17 1 18 1\n19 1 20 1 21 1 22 1\n"
        "23 1 24 1 25 1 26 1\n2 11 2 12 2 13 2 14 2 15 2 16 2 17 2 18 2 19 2 20 2 21 2 22 2 "
        "23 2 24 2 25 2 26 2\n",
        "four.s4p");
    ASSERT_EQ(s.frequency.size(), 2U);
    EXPECT_EQ(s.At(1, 1, 2), Complex(12, 2));
    EXPECT_EQ(s.At(1, 4, 1), Complex(23, 2));
    EXPECT_EQ(s.Term(4, 3).value[0], Complex(25, 1));
}

TEST(Touchstone, NamesLineAndRemedyOfWhatItCannotRead)
{
    const std::string four = "# GHz S RI\n1 1 0 1 0 1 0 1 0\n1 0 1 0 1 0 1 0\n";
    struct Row
    {
        const char* name;
        std::string text;
        const char* message;
    };
    const Row rows[] = {
        {"a.s2p", "", "a.s2p: holds no network data"},
        {"a.s2p", "1 2 3",
         "a.s2p:1: expected the option line '# GHz S MA R 50' before the data, found '1'"},
        {"a.s2p", "#\n1 2 3 4 5 6 7 8 x", "a.s2p:2: expected a number, found 'x'"},
        {"a.s2p", "#\n1 1e9 0 0 0 0 0 0 0",
         "a.s2p:2: expected scattering parameters, found one of magnitude 1e+09"},
        {"a.s2p", "#\n1 0 0 0 0 0 0 0 0\n0.5 0 0 0 0 0 0 0 0",
         "a.s2p:3: expected a frequency above the one before, found 0.5"},
        {"a.s4p", four + "1 0 1 0 1 0 1 0\n1 0 1 0 1 0",
         "a.s4p:5: expected 33 numbers for the frequency of line 2, found 31; the file is "
         "truncated"},
        {"a.s3p", four + "1 0 1 0 1 0 1 0\n",
         "a.s3p:4: expected 19 numbers for the frequency of line 2 with 3 ports, found 25"},
        {"a.s2p", four,
         "a.s2p:3: expected a frequency and pairs of values, found 8 numbers; are there really 2 "
         "ports?"},
        {"a.ts", kHead2 + "[Number of Frequencies] 2\n[Network Data]\n1 0 0 0 0 0 0 0 0\n",
         "a.ts:7: expected 2 frequencies as [Number of Frequencies] says, found 1; the file is "
         "truncated"},
        {"a.ts", kHead2 + "[Number of Frequencies] 2\n[Network Data]\n1 0 0 0 0 0 0 0 0\n[End]",
         "a.ts:8: expected 2 frequencies as [Number of Frequencies] says, found 1"},
        {"a.ts", "[Version] 2.0\n#\n[Number of Ports] 2\n[Network Data]\n1 0 0 0 0 0 0 0 0\n[End]",
         "a.ts:6: expected [Two-Port Data Order] for a two-port of version 2"},
        {"a.s2p", "#\n1 0 0 0 0 0 0 0 0\n[Version] 2.0\n",
         "a.s2p:3: expected [Version] once, before all else"},
        {"a.ts", kHead2 + "[Mixed-Mode Order] D1,2 C1,2\n[Number of Ports] 3\n",
         "a.ts:6: a second [Number of Ports]"},
        {"a.ts", kHead2 + "[Network Data]\n1 0 0 0 0 0 0 0 0\n[Matrix Format] Lower\n",
         "a.ts:7: expected no more than [Noise Data] and [End] after the data, found [matrix "
         "format]"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(MessageOf([&] { ParseTouchstone(row.text, row.name); }), row.message);
    }
}

/// A four-port of pure through terms: through between the ports that an order joins, a tenth of it
/// between all others.
SParameters FourPort(const DifferentialPorts& order, double through)
{
    SParameters s{4, {1e9}, std::vector(4, 50.0), std::vector<Complex>(16, 0.1 * through)};
    const auto set = [&](int to, int from) {
        s.values[static_cast<std::size_t>((to - 1) * 4 + from - 1)] = through;
    };
    for (const auto& [a, b] : {std::pair(order.inP, order.outP), {order.inN, order.outN}}) {
        set(a, b);
        set(b, a);
    }
    return s;
}

TEST(SParameters, PortOrderIsSeenInTheThroughTermsOrStated)
{
    for (const auto& [text, order] :
         {std::pair("12,34", kPorts12_34), {"13,24", kPorts13_24}, {"14,23", kPorts14_23}}) {
        EXPECT_EQ(ParsePortOrder(text), order);
        EXPECT_EQ(DetectPortOrder(FourPort(order, 0.9)), order);
        ExpectNear(Through(FourPort(order, 0.9), order).value[0], 0.9 - 0.09);
    }
    EXPECT_EQ(ParsePortOrder("21,43"), (DifferentialPorts{2, 4, 1, 3}));
    for (const char* bad : {"", "12,33", "12.34", "15,23", "12,345"}) {
        EXPECT_THROW(ParsePortOrder(bad), Error) << bad;
    }
    SParameters even = FourPort(kPorts12_34, 0.9);
    std::fill(even.values.begin(), even.values.end(), 0.3);
    EXPECT_THROW(DetectPortOrder(even), Error);
    EXPECT_THROW(Through(SParameters{3, {1e9}, {50, 50, 50}, std::vector<Complex>(9)}, kPorts12_34),
                 Error);
}

/// A pair of lines with these differential and common waves: transmission in pairs of delay (ns)
/// and magnitude, and reflection. As single-ended data of 12,34, or with the waves in the rows of
/// an order and a little conversion between them.
struct Wave
{
    double delay, through, back;
};
SParameters Pair(const Wave& d, const Wave& c, std::optional<ModeOrder> order)
{
    SParameters s{4, {}, std::vector(4, 50.0), {}};
    const ModeOrder rows = order.value_or(kModesDDCC);
    for (double f = 10e6; f < 20e9; f += 50e6) {
        s.frequency.push_back(f);
        s.values.resize(s.values.size() + 16, order ? 0.01 : 0.0);
        const auto set = [&](int to, int from, Complex value) {
            s.values[s.values.size() - 16 + static_cast<std::size_t>(4 * to + from - 5)] = value;
        };
        const auto through = [&](const Wave& w) {
            return std::polar(w.through, -2e-9 * std::numbers::pi * f * w.delay);
        };
        for (const auto& [in, out, w] : {std::tuple{rows.d1, rows.d2, d}, {rows.c1, rows.c2, c}}) {
            set(in, in, w.back);
            set(out, out, w.back);
            set(in, out, through(w));
            set(out, in, through(w));
        }
    }
    return order ? s : SingleEnded(s, rows);
}

TEST(MixedMode, IsSeenByWhatSingleEndedDataCannotBe)
{
    using enum ModeFinding::Certainty;
    struct Row
    {
        const char* name;
        Wave differential, common;
        std::optional<ModeFinding::Certainty> expected;
        bool isNamed = false;
    };
    for (const Row& row : {
             Row{"coupled", {5, 0.8, 0.05}, {6, 0.6, 0.2}, Sure},
             {"loosely coupled", {5, 0.8, 0.05}, {5.2, 0.8, 0.08}, Undecided},
             {"the same with remarks", {5, 0.8, 0.05}, {5.2, 0.8, 0.08}, Sure, true},
             {"short", {0.05, 0.8, 0.05}, {0.06, 0.78, 0.1}, Perhaps},
             {"not coupled", {5, 0.8, 0.05}, {5, 0.8, 0.05}, {}},
         }) {
        EXPECT_FALSE(FindModes(Pair(row.differential, row.common, {}))) << row.name;
        for (const ModeOrder& order : {kModesDDCC, kModesDCDC}) {
            SParameters s = Pair(row.differential, row.common, order);
            if (row.isNamed) s.modes = ModeHints::Named;
            const auto found = FindModes(s);
            ASSERT_EQ(found.has_value(), row.expected.has_value()) << row.name;
            if (!found) continue;
            EXPECT_EQ(found->order, order) << row.name;
            EXPECT_EQ(found->certainty, *row.expected) << row.name;
            ExpectNear(Through(SingleEnded(s, order), kPorts12_34).value[7],
                       s.At(7, order.d2, order.d1));
        }
    }
    EXPECT_EQ(ParseModeOrder("d1c1d2c2"), kModesDCDC);
    EXPECT_EQ(ToText(ParseModeOrder("C2,D1,C1,D2")), "C2,D1,C1,D2");
    for (const char* bad : {"", "D1,D2", "D1,D1,C1,C2", "yes", "D1D2C1C2C2"})
        EXPECT_THROW(ParseModeOrder(bad), Error) << bad;
    EXPECT_EQ(ParseTouchstone("! SDD11 SDD12\n! SCC11\n#\n1 0 0\n", "a.s1p").modes,
              ModeHints::Named);
}

TEST(SParameters, PortOrderOfACoupledPairIsSeenAt0Hz)
{
    // Differential and common wave are out of step from 0.5 GHz on: the signal crosses over.
    EXPECT_EQ(DetectPortOrder(Pair({5, 0.95, 0}, {6, 0.95, 0}, {})), kPorts12_34);
}

TEST(SParameters, MixedTermsFollowTheirDefinition)
{
    SParameters s = FourPort(kPorts12_34, 0.8);
    s.values[4] = {0.0, 0.4};  // S21 only: the pair is skewed
    const auto term = [&](Mode to, int toEnd, Mode from, int fromEnd) {
        return MixedTerm(s, kPorts12_34, to, toEnd, from, fromEnd).value[0];
    };
    using enum Mode;
    ExpectNear(term(Differential, 2, Differential, 1), Complex(0.4 - 0.08, 0.2));
    ExpectNear(term(Common, 2, Common, 1), Complex(0.4 + 0.08, 0.2));
    ExpectNear(term(Common, 2, Differential, 1), Complex(-0.4, 0.2));
    ExpectNear(term(Differential, 2, Common, 1), Complex(-0.4, 0.2));
}

TEST(SParameters, RenormalisesAndReadsGains)
{
    // A series resistor Z between ports of R: S11 = Z / (Z + 2R), S21 = 2R / (Z + 2R).
    const auto series = [](double z, double r) {
        const Complex s11 = z / (z + 2.0 * r);
        const Complex s21 = 2.0 * r / (z + 2.0 * r);
        return SParameters{2, {1e9}, {r, r}, {s11, s21, s21, s11}};
    };
    const SParameters there = Renormalise(series(30.0, 50.0), 75.0);
    for (std::size_t i = 0; i < 4; ++i) {
        ExpectNear(there.values[i], series(30.0, 75.0).values[i]);
    }
    EXPECT_EQ(there.reference, (std::vector{75.0, 75.0}));
    SParameters uneven = Renormalise(series(30.0, 50.0), 50.0);
    uneven.reference = {50.0, 20.0};
    EXPECT_NE(Through(uneven, {}).value[0], uneven.At(0, 2, 1));
    EXPECT_NEAR(GreatestGains(series(30.0, 50.0))[0], 1.0, 1e-12);  // both ports driven alike
    EXPECT_NEAR(GreatestGains(FourPort(kPorts12_34, 0.5))[0], 0.5 + 0.15, 1e-12);
}

}  // namespace
}  // namespace amisim
