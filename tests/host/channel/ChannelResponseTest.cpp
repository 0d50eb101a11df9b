#include "host/channel/ChannelResponse.hpp"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <functional>
#include <numbers>
#include <numeric>
#include <optional>

#include "base/Error.hpp"
#include "tests/TemporaryFolder.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;

constexpr double kSample = 1.5e-12;  // s
const Complex kJ(0.0, 1.0);

double Omega(double f)
{
    return 2.0 * std::numbers::pi * f;
}

Complex Delay(double f, double samples)
{
    return std::exp(-kJ * Omega(f) * samples * kSample);
}

Complex LowPass(double f, double corner)
{
    return 1.0 / (1.0 + kJ * f / corner);
}

FrequencyResponse Tabulated(const std::function<Complex(double)>& response, double step = 10e6,
                            double last = 40e9, std::optional<double> first = {})
{
    FrequencyResponse table;
    for (double f = first.value_or(step); f < last + 0.5 * step; f += step) {
        table.frequency.push_back(f);
        table.value.push_back(response(f));
    }
    return table;
}

TEST(ChannelResponse, AnIdealDelayIsADelayedImpulse)
{
    for (const double samples : {0.0, 100.0, 100.3, 8000.5}) {
        const ChannelResponse channel = MakeChannelResponse(
            Tabulated([&](double f) { return -0.5 * Delay(f, samples); }, 20e6), kSample);
        EXPECT_EQ(channel.delay, static_cast<std::size_t>(std::lround(samples)));
        ASSERT_EQ(channel.taps.size(), 1U) << samples;
        EXPECT_NEAR(channel.taps[0], -0.5, 1e-9);
        EXPECT_NEAR(channel.shift / kSample, static_cast<double>(channel.delay) - samples, 1e-6);
        EXPECT_LT(channel.removedFraction, 1e-20);
    }
}

TEST(ChannelResponse, AnRcHasItsExactStepResponse)
{
    // 1 - exp(-t / RC), at the middle of the sample intervals over which the taps sum.
    for (const double corner : {0.5e9, 2e9}) {
        for (const double first : {0.0, 10e6, 50e6}) {
            const auto rc = [&](double f) { return LowPass(f, corner) * Delay(f, 200.0); };
            const ChannelResponse channel =
                MakeChannelResponse(Tabulated(rc, 10e6, 40e9, first), kSample);
            SCOPED_TRACE(fmt::format("{} Hz from {} Hz", corner, first));
            double step = 0.0,
                   t = (static_cast<double>(channel.delay) - 199.5) * kSample - channel.shift;
            for (const double tap : channel.taps) {
                step += tap;
                ASSERT_NEAR(step, t > 0.0 ? -std::expm1(-Omega(corner) * t) : 0.0, 1e-3) << t;
                t += kSample;
            }
            EXPECT_NEAR(step, channel.dcGain, 1e-3);
        }
    }
}

TEST(ChannelResponse, GivesTheDataBackWithinTheirBand)
{
    struct Row
    {
        const char* name;
        std::function<Complex(double)> response;
        double tolerance;
    };
    const Row rows[] = {
        {"two poles and an echo",
         [](double f) {
             return LowPass(f, 3e9) * LowPass(f, 7e9) * Delay(f, 700.0) *
                    (1.0 + 0.3 * Delay(f, 500.0));
         },
         5e-3},
        {"skin effect, which is causal with this phase",
         [](double f) { return std::exp(-(1.0 + kJ) * std::sqrt(f / 8e9)) * Delay(f, 3000.0); },
         3e-3},
        {"crosstalk",
         [](double f) {
             return kJ * f / 20e9 * LowPass(f, 5e9) * LowPass(f, 9e9) * Delay(f, 300.0);
         },
         1e-3},
    };
    for (const Row& row : rows) {
        const FrequencyResponse data = Tabulated(row.response, 10e6, 20e9);
        const ChannelResponse channel = MakeChannelResponse(data, kSample);
        EXPECT_LT(channel.removedFraction, 1e-4) << row.name;
        for (std::size_t k = 20; k < data.frequency.size(); k += 20) {
            Complex sum = 0.0;
            for (std::size_t n = 0; n < channel.taps.size(); ++n) {
                sum += channel.taps[n] *
                       Delay(data.frequency[k],
                             static_cast<double>(channel.delay + n) - channel.shift / kSample);
            }
            ASSERT_LT(std::abs(sum - data.value[k]), row.tolerance) << row.name;
        }
    }
}

TEST(ChannelResponse, KeepsTheGainAt0HzWhereTheTailIsCutOff)
{
    const auto skin = [](double f) { return std::exp(-(1.0 + kJ) * std::sqrt(f / 8e9)); };
    struct Row
    {
        const char* name;
        std::function<Complex(double)> response;
        double gain;  // of what is kept, at 0 Hz
        const char* note;
    };
    for (const Row& row :
         {Row{"a slow tail", skin, 1.0, " of gain at 0 Hz restored"},
          {"an early end", [](double f) { return LowPass(f, 2e9); }, 1.0, "was removed"},
          {"a capacitor, whose tail is longer than all that is kept",
           [&](double f) { return skin(f) * (1.0 - LowPass(f, 1e6)); }, 0.91,
           "what is kept has a gain of 0.9"}}) {
        const ChannelResponse channel = MakeChannelResponse(Tabulated(row.response), kSample);
        const double sum = std::accumulate(channel.taps.begin(), channel.taps.end(), 0.0);
        EXPECT_NEAR(sum, row.gain, row.gain == 1.0 ? 1e-3 : 0.01) << row.name;
        EXPECT_NE(channel.notes.back().find(row.note), std::string::npos) << channel.notes.back();
    }
}

TEST(ChannelGrade, NamesWhatAChannelCannotBeTrustedFor)
{
    struct Row
    {
        const char* name;
        double first, last;  // GHz
        double gain, back;   // S21, and S12 over it
        double removed;
        const char* fault;  // or none
    };
    for (const Row& row : {
             Row{"a cable", 0.05, 15, 0.9, 1.0, 0.001, ""},
             {"S12 not measured", 0.05, 15, 0.9, 0.0, 0.001, ""},
             {"a waveguide", 60, 90, 0.9, 1.0, 0.0, "0.5"},
             {"half of the band", 0.05, 3, 0.9, 1.0, 0.0, "53.5 % of the signal's power lies"},
             {"an amplifier", 0.05, 15, 2.0, 1.0, 0.0, "300 % more power comes out"},
             {"an isolator", 0.05, 15, 0.9, 0.1, 0.0, "80.2 % of the energy differs"},
             {"a wrong sign of phase", 0.05, 15, 0.9, 1.0, 0.5, "50 % of the response's energy"},
         }) {
        SParameters s{2, {}, {50, 50}, {}};
        for (double f = row.first; f <= row.last; f += 0.05) {
            s.frequency.push_back(f * 1e9);
            for (const double term : {0.0, row.gain * row.back, row.gain, 0.0})
                s.values.push_back(term);
        }
        const auto faults = Grade(s, GreatestGains(s), row.removed, 10e9).Faults();
        ASSERT_EQ(faults.size(), row.fault[0] == 0 ? 0 : 1) << row.name;
        if (faults.empty()) continue;
        EXPECT_TRUE(faults[0].starts_with(row.fault)) << faults[0];
    }
}

TEST(ChannelResponse, ExtrapolatesToDcAsTheDataFall)
{
    const auto dcGain = [](const std::function<Complex(double)>& response) {
        return MakeChannelResponse(Tabulated(response, 10e6, 20e9, 50e6), kSample).dcGain;
    };
    EXPECT_NEAR(dcGain([](double f) { return 0.5 * LowPass(f, 5e9); }), 0.5, 1e-4);
    EXPECT_NEAR(dcGain([](double f) { return 0.9 * std::exp(-(1.0 + kJ) * std::sqrt(f / 8e9)); }),
                0.9, 1e-4);
    EXPECT_EQ(dcGain([](double f) { return (1.0 - LowPass(f, 1e9)) * LowPass(f, 5e9); }), 0.0);
}

TEST(ChannelResponse, RemovesAndReportsWhatPrecedesTheMainDelay)
{
    const auto withPrecursor = [](double size, double early) {  // up to half the sampling rate
        const auto both = [&](double f) {
            return Delay(f, 300.0) + size * Delay(f, 300.0 - early);
        };
        return MakeChannelResponse(Tabulated(both, 50e6, 0.5 / kSample), kSample);
    };
    const ChannelResponse small = withPrecursor(0.005, 100.0);
    EXPECT_EQ(small.delay, 300U);
    EXPECT_NEAR(small.removedFraction, 0.005 * 0.005, 1e-6);
    const ChannelResponse path = withPrecursor(0.05, 100.0);  // too strong for an artefact
    EXPECT_EQ(path.delay, 200U);
    EXPECT_NEAR(path.taps[0], 0.05, 1e-3);
    const ChannelResponse impossible = withPrecursor(0.05, 400.0);  // before it was sent
    EXPECT_EQ(impossible.delay, 300U);
    EXPECT_GT(impossible.removedFraction, 0.9 * 0.05 * 0.05);
}

TEST(ChannelResponse, SaysWhatAUserShouldKnow)
{
    const TemporaryFolder folder;
    std::ofstream file("line.s4p");
    file << "# GHz S RI R 50\n";
    for (int k = 1; k <= 200; ++k) {  // 1->3 and 2->4, with a gain of 1.1
        const Complex s = 1.1 * LowPass(k * 0.1e9, 2e9) * Delay(k * 0.1e9, 1000.0);
        const std::string through = fmt::format("{} {}", s.real(), s.imag());
        file << fmt::format(
            "{0} 0 0 0 0 {1} 0 0\n0 0 0 0 0 0 {1}\n{1} 0 0 0 0 0 0\n0 0 {1} 0 0 0 0\n", k * 0.1,
            through);
    }
    file.close();
    const ChannelResponse channel = ReadChannel({"line.s4p"}, {10e9}, kSample);
    const std::vector<std::string> expected{
        "ports 1->3 and 2->4 by their through terms",
        "extrapolated from 100 MHz down to 0 Hz, where the gain is 1.1000",
        "extrapolated beyond 20 GHz with -19.8 dB per decade",
        "% of the energy came before the main delay of 1.5 ns and was removed",
        "not passive: a gain of 1.0986 at 0.1 GHz",
        "graded: 93 % of the signal's power in the band, 2.19 % gained, 0 % not reciprocal, "};
    ASSERT_EQ(channel.notes.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_NE(channel.notes[i].find(expected[i]), std::string::npos) << channel.notes[i];
    }
    const auto taps = ReadChannel({"line.s4p"}, {10e9, "31,42"}, kSample).taps;
    EXPECT_NEAR(std::accumulate(taps.begin(), taps.end(), 0.0), 1.1, 1e-2);
    EXPECT_THROW(ReadChannel({"line.s4p"}, {10e9, "12,34"}, kSample),
                 Error);  // nothing goes through there

    const auto echoes = [](double f) { return 1.0 + 0.3 * Delay(f, 12000.0); };
    EXPECT_NE(
        MakeChannelResponse(Tabulated(echoes, 25e6), kSample).notes.back().find("not died out"),
        std::string::npos);
    EXPECT_THROW(MakeChannelResponse({{1e9, 2e9, 3e9, 4e9}, {0, 0, 0, 0}}, kSample), Error);
}

}  // namespace
}  // namespace amisim
