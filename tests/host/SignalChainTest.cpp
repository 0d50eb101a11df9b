#include "host/signal/SignalChain.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <functional>
#include <map>
#include <numbers>
#include <numeric>

#include "host/channel/LossyLine.hpp"
#include "host/channel/ResponseFile.hpp"
#include "tests/host/Support.hpp"

namespace amisim {
namespace {

/// A two-port of this gain and delay (s) at all frequencies up to 80 GHz.
void SaveTouchstone(const std::string& name, double gain, double delay)
{
    std::string text = "# Hz S RI R 50\n";
    for (double f = 20e6; f < 80e9; f += 20e6) {
        const auto s21 = gain * std::polar(1.0, -2 * std::numbers::pi * std::fmod(f * delay, 1.0));
        text += fmt::format("{0} 0 0 {1} {2} {1} {2} 0 0\n", f, s21.real(), s21.imag());
    }
    Save(name, text);
}

void SaveCsv(const std::string& name, double start, double step, const std::vector<double>& values)
{
    std::string text;
    for (std::size_t n = 0; n < values.size(); ++n)
        text += fmt::format("{},{}\n", start + static_cast<double>(n) * step, values[n]);
    Save(name, text);
}

std::vector<double> Output(const SignalOptions& options, std::size_t samples = 64 * 1000)
{
    const SignalChain chain(options, 0);
    std::vector<double> wave(samples);
    chain.Output().Read(wave);
    return wave;
}

double LargestDifference(const std::vector<double>& a, const std::vector<double>& b)
{
    double largest = 0;
    for (std::size_t n = 0; n < a.size(); ++n) largest = std::max(largest, std::abs(a[n] - b[n]));
    return largest;
}

TEST(SignalChain, EveryKindOfChannelGivesTheSameWaveform)
{
    TemporaryFolder folder;
    SignalOptions line;
    line.lossDb = 0;
    const double interval = line.SampleInterval();
    const auto lossless = Output(line);
    EXPECT_EQ(*std::ranges::max_element(lossless), 0.4);  // half of peak to peak

    SignalOptions delayed;
    delayed.touchstone = {"delay.s2p"};
    SaveTouchstone("delay.s2p", 1, 1000 * interval);
    EXPECT_LT(LargestDifference(Output(delayed), lossless), 1e-6);

    line.lossDb = 8;
    const auto lossy = Output(line);
    auto response = LossyLine{8, 0.5, line.bitRate / 2}.Impulse(interval);
    std::vector<double> step(response.size());
    std::partial_sum(response.begin(), response.end(), step.begin());
    for (double& value : response) value /= interval;
    SaveCsv("impulse.csv", 3e-9, interval, response);
    SaveCsv("step.csv", 0, interval, step);
    SignalOptions impulse, stepped;
    impulse.impulse = "impulse.csv";
    stepped.step = "step.csv";
    // The first few taps are next to nothing and count as delay.
    const std::size_t front = ReadResponse("step.csv", ResponseKind::kStep, interval).delay;
    const auto later = [&](std::vector<double> wave) {
        wave.insert(wave.begin(), front, 0.0);
        wave.resize(lossy.size());
        return wave;
    };
    EXPECT_LT(LargestDifference(later(Output(impulse)), lossy), 1e-6);
    EXPECT_LT(LargestDifference(later(Output(stepped)), lossy), 1e-6);
    EXPECT_EQ(ReadResponse("impulse.csv", ResponseKind::kImpulse, interval).delay,
              front + static_cast<std::size_t>(std::lround(3e-9 / interval)));
    const double sent = SignalChain(line, 0).Impulses()[0][40];
    EXPECT_NEAR(SignalChain(impulse, 0).Impulses()[0][40 - front], sent, 1e-9 * sent);
}

TEST(SignalChain, TheImpulseResponseIsWhatOneEdgeDoesAtTheModelsInput)
{
    TemporaryFolder folder;
    Save("low.txt", "0");
    Save("edge.txt", std::string(100, '0') + std::string(200, '1'));
    struct Case
    {
        double loss, amplitude, rise;
        Deemphasis cursors;
        double gain;  // of a constant level
    };
    for (const Case& c : {
             Case{0, 0.8, 0.15, {}, 1},
             {0, 1.0, 0, {{}, {0.25}}, 0.5},
             {12, 0.6, 0.3, {{0.1}, {0.2, -0.05}}, 0.65 - 0.1 - 0.2 + 0.05},
         }) {
        SCOPED_TRACE(c.loss);
        SignalOptions options;
        options.lossDb = c.loss;
        options.amplitude = c.amplitude;
        options.riseTime = c.rise;
        options.deemphasis = c.cursors;
        options.ppm = 0;
        const SignalChain chain(options, 0);
        const std::vector<double>& impulse = chain.Impulses()[0];
        ASSERT_GE(impulse.size(), 512U * 64);
        options.pattern = "edge.txt";
        const auto edge = Output(options, 64 * 290);
        options.pattern = "low.txt";
        const auto low = Output(options, 64 * 290);
        // Half of the ramp comes before the bit's own beginning, whole bits come by the
        // pre-cursors.
        const auto ramp = static_cast<std::size_t>(std::ceil(c.rise * 64 / 0.40966553 / 2));
        const std::size_t begin = (100 - c.cursors.pre.size()) * 64 - ramp;
        double step = 0;
        for (std::size_t n = 0; begin + n < edge.size(); ++n) {
            step += impulse[n] * options.SampleInterval();
            ASSERT_NEAR(step, edge[begin + n] - low[begin + n], 1e-12) << n;
        }
        const double area = std::accumulate(impulse.begin(), impulse.end(), 0.0);
        EXPECT_NEAR(area * options.SampleInterval(), c.amplitude * c.gain, 1e-9);
    }
}

TEST(SignalChain, AggressorsAddTheirOwnPatternAtTheirOwnRate)
{
    TemporaryFolder folder;
    SaveTouchstone("a.s2p", 0.1, 2e-9);
    SaveTouchstone("b.s2p", -0.05, 3e-9);
    SignalOptions options;
    options.lossDb = 0;
    options.deemphasis.post = {0.25};
    const auto alone = Output(options);
    options.fext = {"a.s2p"};
    options.next = {"b.s2p"};
    options.aggressorAmplitude = 1.0;
    options.aggressorPpm = -300;
    auto added = Output(options);
    for (std::size_t n = 0; n < added.size(); ++n) added[n] -= alone[n];

    const SignalChain chain(options, 0);
    ASSERT_EQ(chain.Impulses().size(), 3U);
    EXPECT_EQ(chain.Notes().size(), 2U);
    for (const std::size_t k : {0U, 1U, 2U}) {
        const auto& impulse = chain.Impulses()[k];
        const double area = std::accumulate(impulse.begin(), impulse.end(), 0.0);
        EXPECT_NEAR(area * options.SampleInterval(), (std::array{0.4, 0.05, -0.05}[k]), 1e-6);
        EXPECT_EQ(impulse.size(), chain.Impulses()[0].size());
    }
    // The far one has the signal's de-emphasis, half the level where a bit is repeated; the near
    // one has none. In the middle of the bits:
    std::map<int, int> levels;
    for (const double v : added) ++levels[static_cast<int>(std::lround(v * 1e4))];
    for (const int far : {-500, -250, 250, 500}) {
        for (const int near : {-250, 250}) EXPECT_GT(levels[far + near], 500) << far << near;
    }
    options.seed = 2;
    EXPECT_GT(LargestDifference(Output(options), alone), 0.2);
}

TEST(SignalChain, AggressorsOfOneElementGoThroughTheOthers)
{
    TemporaryFolder folder;
    for (const auto& [name, gain] : {std::pair{"a.s2p", 0.5}, {"b.s2p", 0.8}, {"x.s2p", 0.1}})
        SaveTouchstone(name, gain, 2e-9);
    SignalOptions options;
    options.touchstone = {"a.s2p", "b.s2p"};
    options.fext = {"x.s2p", "x.s2p@1", "x.s2p@2"};
    options.next = {"x.s2p@1"};
    const SignalChain chain(options, 0);
    ASSERT_EQ(chain.Impulses().size(), 5U);
    for (const std::size_t k : {0U, 1U, 2U, 3U, 4U}) {
        const auto& impulse = chain.Impulses()[k];
        const double area = std::accumulate(impulse.begin(), impulse.end(), 0.0);
        const double gain = std::array{0.5 * 0.8, 0.1, 0.1 * 0.8, 0.5 * 0.1, 0.8 * 0.1 * 0.8}[k];
        EXPECT_NEAR(area * options.SampleInterval(), 0.8 * gain, 1e-5) << k;
    }
    EXPECT_EQ(options.Files().back(), "x.s2p");
    options.touchstone.pop_back();
    const std::string said = MessageOf([&] { SignalChain(options, 0); });
    EXPECT_NE(said.find("x.s2p@2: expected @1 to @1"), std::string::npos) << said;
}

TEST(SignalChain, NoiseOfABandwidthIsTheSameAtAnySampleRate)
{
    for (const int samplesPerBit : {32, 64, 128}) {
        SignalOptions options;
        options.samplesPerBit = samplesPerBit;
        options.amplitude = 0;
        options.noise = 0.01;
        options.noiseBandwidth = options.bitRate;
        const auto wave = Output(options, 1 << 20);
        // The correlation of what is white up to B, sin(2 pi B t) / (2 pi B t), in quarters of a
        // bit.
        const auto correlation = [&](std::size_t lag) {
            double sum = 0;
            for (std::size_t n = 4096; n + lag < wave.size(); ++n) sum += wave[n] * wave[n + lag];
            return sum / static_cast<double>(wave.size() - 4096) / 1e-4;
        };
        const auto quarter = static_cast<std::size_t>(samplesPerBit) / 4;
        // The filter's slope takes a little, chance the rest.
        const double tolerance = 0.03 + 3 / std::sqrt(2.0 * (1 << 20) / samplesPerBit);
        EXPECT_NEAR(correlation(0), 1, tolerance);
        EXPECT_NEAR(correlation(quarter), 2 / std::numbers::pi, tolerance);
        EXPECT_NEAR(correlation(2 * quarter), 0, tolerance);
        EXPECT_NEAR(correlation(6 * quarter), 0, tolerance);
    }
}

TEST(SignalChain, AStimulusThroughTheImpulseResponsesIsTheSignal)
{
    TemporaryFolder folder;
    SaveTouchstone("pair.s2p", 0.2, 2e-9);
    SignalOptions options;
    options.lossDb = 0;  // and no memory, so that the first ramp's lost half has no effect for long
    options.fext = {"pair.s2p"};
    options.noise = 0.01;
    // With both a boundary's jitter would move all symbols there, against all echoes of a symbol.
    for (const bool jitter : {false, true}) {
        options.randomJitter = jitter ? 0.02 : 0;
        options.deemphasis = jitter ? Deemphasis{} : Deemphasis{{0.1}, {0.2}};
        const std::size_t later = (jitter ? 0 : 64) + 12;  // the pre-cursor's bit, half of a ramp
        SignalChain chain(options, 0);
        std::vector<double> direct(64 * 1000), through(direct.size());
        chain.Output().Read(direct);
        auto& stimulus = chain.Stimulus(0, false);
        chain.Through(stimulus, chain.Impulses(), {{1.0}, 0}).Read(through);
        // The noise is not later: the same samples at other times.
        const auto quiet = [&](SignalOptions same) {
            same.noise = 0;
            return Output(same, direct.size());
        }(options);
        double apart = 0, noise = 0;
        for (std::size_t n = 256; n + later < direct.size(); ++n) {
            const double shifted = direct[n + later] - quiet[n + later];
            apart = std::max(apart, std::abs(through[n + later] - shifted - quiet[n]));
            noise = std::max(noise, std::abs(shifted));
        }
        EXPECT_LT(apart, 1.2e-3) << "a straight line from sample to sample, on a ramp of 23";
        EXPECT_GT(noise, 0.03);
    }
}

TEST(SignalChain, RefusesAChannelThatCannotBeTrustedUnlessItIsAccepted)
{
    TemporaryFolder folder;
    SaveTouchstone("gain.s2p", 1.2, 2e-9);
    SignalOptions options;
    options.touchstone = {"gain.s2p"};
    EXPECT_EQ(MessageOf([&] { Output(options); }),
              "gain.s2p: cannot be trusted at 10.31 Gbit/s: 44 % more power comes out than goes in "
              "(not passive), at most 5 % expected; --accept-channel takes it all the same");
    options.acceptChannel = true;
    const SignalChain chain(options, 0);
    EXPECT_NE(chain.Notes()[0].find("; accepted though 44 % more"), std::string::npos);
    EXPECT_NEAR(chain.Grade()->passivity, 0.44, 1e-9);
}

TEST(ResponseFile, KeepsTheAreaOnAnyGrid)
{
    TemporaryFolder folder;
    // A single pole: h = exp(-t) / 1, s = 1 - exp(-t), in units of 1 s.
    for (const double fileStep : {0.001, 0.02, 0.1, 0.13}) {
        std::vector<double> impulse, step;
        for (double t = 0; t < 30; t += fileStep) {
            impulse.push_back(std::exp(-t - 0.5 * fileStep));
            step.push_back(1 - std::exp(-t));
        }
        SaveCsv("h.csv", 0.5 * fileStep, fileStep, impulse);
        SaveCsv("s.csv", 0, fileStep, step);
        for (const auto& [name, kind] :
             {std::pair{"h.csv", ResponseKind::kImpulse}, {"s.csv", ResponseKind::kStep}}) {
            SCOPED_TRACE(testing::Message() << name << fileStep);
            const ChannelResponse channel = ReadResponse(name, kind, 0.1);
            EXPECT_NEAR(channel.dcGain, 1, fileStep * fileStep / 20);
            // Exact from a step response on the grid; else within what a straight line is off.
            double sum = 0;
            for (std::size_t n = 0; n < 100; ++n) {
                sum += channel.taps[n];
                const double t = 0.1 * (static_cast<double>(n + channel.delay) +
                                        (kind == ResponseKind::kStep ? 0 : 1));
                ASSERT_NEAR(sum, 1 - std::exp(-t), 0.13 * fileStep * fileStep + 1e-9) << n;
            }
        }
    }
}

TEST(ResponseFile, TellsABaselineFromAStepAndWhatHasNotSettled)
{
    TemporaryFolder folder;
    struct Case
    {
        const char* name;
        double level;                        // before 10 s
        std::function<double(double)> step;  // s after the edge
        double firstTap, gain;               // of the channel
        const char* note;
    };
    const auto pole = [](double t) { return -std::expm1(-t); };
    for (const Case& c : {
             Case{"a baseline", 0.2, pole, 0.0, 1, "a baseline of 0.2 "},
             {"symmetrical levels", -0.5, pole, 0.0, 1, "a baseline of -0.5 "},
             {"no baseline", 0, pole, 0.0, 1, "step response of"},
             {"an immediate step with an echo", 0.7, [](double t) { return t < 5 ? 0.0 : 0.2; },
              0.7, 0.9, "step response of"},
             {"half at once, then slowly", 0.4, [](double t) { return 0.6 * -std::expm1(-t - 10); },
              0.4, 1, "step response of"},
             {"cut off while it rises", 0, [](double t) { return -std::expm1(-t / 20); }, 0.0,
              -std::expm1(-29.9 / 20), "has not settled: the last tenth of its time adds 6.2 %"},
         }) {
        std::vector<double> values;
        for (double t = -10; t < 30; t += 0.1) {
            const bool atOnce = c.firstTap == 0.4;
            values.push_back(c.level + (t < 0 && !atOnce ? 0 : c.step(t)));
        }
        if (c.firstTap == 0.4) values[0] = 0.4;
        SaveCsv("s.csv", 0, 0.1, values);
        const ChannelResponse channel = ReadResponse("s.csv", ResponseKind::kStep, 0.1);
        EXPECT_NEAR(channel.taps[0], c.firstTap, 0.11) << c.name;
        EXPECT_NEAR(channel.dcGain, c.gain, 1e-3) << c.name;
        EXPECT_EQ(channel.delay > 0, c.firstTap == 0.0) << c.name;
        EXPECT_TRUE(channel.notes.back().starts_with(c.note)) << c.name << channel.notes.back();
    }
}

TEST(ResponseFile, NamesWhatIsWrong)
{
    TemporaryFolder folder;
    for (const auto& [text, expected] :
         {std::pair("1\n2\n", "h.csv: expected two columns, time in s and value"),
          {"t,h\n0,1\n", "h.csv: expected two points or more"},
          {"0,1\n1,1\n0.5,1\n", "h.csv:3: the times must rise, but 0.5 follows 1"},
          {"0,1\n1,x\n", "h.csv:2: expected a time and a voltage, found \"1,x\""},
          {"0,0\n1,0\n", "h.csv: the channel lets nothing through"},
          {"0,1\n1e9,1\n",
           "h.csv: lasts 2e+09 s, 2000000000 samples of 1 s; expected a million at most: are its "
           "times in seconds?"},
          {"0,1e-9\n1,0\n",
           "h.csv: has an area of 1e-09; expected about 1 with an impulse response in 1/s"}}) {
        Save("h.csv", text);
        EXPECT_EQ(MessageOf([] { ReadResponse("h.csv", ResponseKind::kImpulse, 1.0); }), expected);
    }
}

}  // namespace
}  // namespace amisim
