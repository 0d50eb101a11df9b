// The library against its literal twin: everything a simulator can see, bit for bit.
//
// RETIMER_DIFFERENTIAL_CASES=n runs n random cases instead of a few, RETIMER_DIFFERENTIAL_SEED=s
// begins with seed s. The first case that differs is the last: its seed is in the message.

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <utility>

#include "tests/TemporaryFolder.hpp"
#include "tests/literal/LiteralReceiver.hpp"
#include "tests/runtime/Support.hpp"
#include "tests/survival/Model.hpp"

namespace {

enum class Signal { pattern, silence, constant, impulses, denormal, poisoned, huge, mixed };

struct Case
{
    std::map<std::string, std::string> parameters = {};  // as they stand in the parameter string
    double bits = 60;
    Signal signal = Signal::pattern;
    double bitTime = 9.696969696969696e-11;
    double samplesPerBit = 64;         // bit time over sample interval
    std::vector<long> blocks = {640};  // sizes, used in turn
    unsigned seed = 1;
};

/// A whole waveform in volts: made of the generator's own numbers, without a library's
/// distributions, so that a seed means the same case everywhere.
std::vector<double> makeWave(const Case& c)
{
    std::mt19937_64 random(c.seed);
    const auto uniform = [&] { return static_cast<double>(random() >> 11) * 0x1p-53; };
    const double samplesPerBit = std::clamp(std::abs(c.samplesPerBit), 16.0, 128.0);
    const double amplitude = 0.05 + 0.6 * uniform(), noise = uniform() < 0.5 ? 0.0 : 0.01;
    // Some run too far off for the clock to follow: their eyes are half closed, or more.
    const double offset = (uniform() < 0.5 ? 6e-4 : 0.1) * (uniform() - 0.5);
    const double special[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, -0.0, 1e308, 5e-324};

    std::vector<double> wave(static_cast<std::size_t>(c.bits * samplesPerBit));
    double phase = 0.0, level = amplitude, smoothing = 0.0, filtered = 0.0;
    Signal now = c.signal;
    for (std::size_t n = 0; n < wave.size(); ++n) {
        if (n % 50000 == 0) {  // another channel, and what comes through it
            smoothing = std::min(0.9, (0.3 + 5.0 * uniform()) / samplesPerBit);
            now = c.signal == Signal::mixed ? static_cast<Signal>(random() % 7) : c.signal;
        }
        phase += (1.0 + offset) / samplesPerBit;
        if (phase >= 1.0) {
            phase -= 1.0;
            level = random() % 2 == 0 ? amplitude : -amplitude;
        }
        filtered += smoothing * (level - filtered);
        const double pattern = filtered + noise * (uniform() - 0.5);
        const bool isRare = random() % 2000 == 0;
        wave[n] = now == Signal::silence    ? 0.0
                  : now == Signal::constant ? -amplitude
                  : now == Signal::impulses ? (isRare ? pattern * 100 : -0.0)
                  : now == Signal::denormal ? pattern * 1e-310
                  : now == Signal::huge     ? pattern * 1e307
                  : now == Signal::poisoned ? (isRare ? special[random() % 6] : pattern)
                                            : pattern;
    }
    return wave;
}

void expectSame(const std::vector<double>& actual, const std::vector<double>& expected)
{
    for (std::size_t i = 0; i < expected.size(); ++i)
        ASSERT_TRUE(Same(actual[i], expected[i]))
            << "value " << i << ": " << actual[i] << " for " << expected[i];
}

/// Runs one case in the library and in its twin up to the first difference.
void compare(const Case& c)
{
    static const Library library;
    if (testing::Test::HasFailure()) return;

    const TemporaryFolder folder;  // for the logs
    std::string text = "(Retimer_RX_RT";
    for (const auto& [name, value] : c.parameters) text += " (" + name + " " + value + ")";
    text += ")";
    SCOPED_TRACE(testing::Message() << text << ", bit time " << c.bitTime << ", samples per bit "
                                    << c.samplesPerBit << ", seed " << c.seed);
    const double sampleInterval = c.bitTime / c.samplesPerBit;
    LiteralReceiver twin(sampleInterval, c.bitTime, c.parameters);

    char untouched[] = "";
    char *message = untouched, *parametersOut = untouched;
    void* memory = nullptr;
    testing::internal::CaptureStderr();
    const long result = library.Init(nullptr, 0, 0, sampleInterval, c.bitTime, text.data(),
                                     &parametersOut, &memory, &message);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::exchange(twin.standardError, {}));
    ASSERT_NE(memory, nullptr);
    EXPECT_EQ(result, twin.initResult);
    EXPECT_EQ(message, twin.initMessage);
    EXPECT_EQ(message == untouched, twin.initMessage.empty());
    EXPECT_EQ(parametersOut, untouched);

    struct Log
    {
        const char* name;
        std::string& expected;
        std::streamoff seen = 0;
    };
    Log logs[] = {{"Adapt.txt", twin.adaptLog}, {"EOM.txt", twin.eomLog}};
    // There is no firing a network that could not be set up.
    const std::vector<double> input = twin.initResult == 1 ? makeWave(c) : std::vector<double>();
    auto next = input.begin();
    for (std::size_t block = 0; next != input.end() && !testing::Test::HasFailure(); ++block) {
        const long size = c.blocks[block % c.blocks.size()];
        const auto count =
            static_cast<long>(std::min<std::ptrdiff_t>(std::max(size, 0L), input.end() - next));
        const auto end = next + count;
        SCOPED_TRACE(testing::Message() << "block " << block << " of " << size << ", from sample "
                                        << next - input.begin());
        std::vector<double> wave(next, end), expected(next, end), expectedTimes;
        std::vector<double> times(wave.size() + 2, -7.0);  // nothing is written past the list
        testing::internal::CaptureStderr();
        const long waveResult =
            library.GetWave(wave.data(), size < 0 ? size : count, times.data(), nullptr, memory);
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_EQ(waveResult, twin.getWave(expected, expectedTimes));
        EXPECT_EQ(errors, std::exchange(twin.standardError, {}));
        expectedTimes.resize(times.size(), -7.0);
        expectSame(wave, expected);
        expectSame(times, expectedTimes);
        for (Log& log : logs) {
            std::ifstream file(log.name, std::ios::binary);
            EXPECT_EQ(file.is_open(), twin.hasFired);
            file.seekg(log.seen);
            const std::string written(std::istreambuf_iterator<char>(file), {});
            log.seen += static_cast<std::streamoff>(written.size());
            EXPECT_EQ(written, std::exchange(log.expected, {}));
        }
        next = end;
    }
    EXPECT_EQ(library.Close(memory), 1);
}

const std::map<std::string, std::vector<std::string>> parameterTexts = {
    {"RX_Config", {"0", "1", "2", "2.9", "-1", "3", "2147483647", "-1e300", "nan", "two"}},
    {"Factor", {"1", "2", "4", "0", "-1", "0.9", "1e300"}},
    {"VCO_Sensitivity", {"8e8", "1e7", "0", "-8e8", "1e12", "1e300", "inf", "nan", "0x10", "fast"}},
    {"EQ_Level", {"0", "5", "-1", "31", "32", "33", "-0.5", "17.9"}},
    {"CTLEAdapt", {"0", "1", "2", "-1", "True"}},
    {"EOMNbits", {"0", "-5", "1", "20", "200", "1000", "1e10"}}};

TEST(Differential, AgreesAtEveryLevel)
{
    compare({.bits = 1500});
    for (int level = 0; level < 32; ++level)
        compare({{{"RX_Config", "2"}, {"CTLEAdapt", "0"}, {"EQ_Level", std::to_string(level)}}});
}

TEST(Differential, AgreesForAwkwardTimes)
{
    for (const double bitTime : {9.7e-11, 1e-10, 3.3e-11, -9.7e-11, 1e-3, 1e300, 0.0, -0.0, 1e-20,
                                 1e-310, HUGE_VAL, -HUGE_VAL, std::nan("")}) {
        for (const double samplesPerBit : {64.0, 63.5, 63.49, -64.0, 1.0, 0.3, 1e12}) {
            compare({.parameters = {{"RX_Config", "2"}, {"EOMNbits", "5"}},
                     .bitTime = bitTime,
                     .samplesPerBit = samplesPerBit});
        }
    }
}

/// The usual number of cases is enough for every signal and every value of every parameter.
TEST(Differential, AgreesInRandomCases)
{
    const auto setting = [](const char* name, unsigned usual) {
        const char* text = std::getenv(name);
        return text == nullptr ? usual : static_cast<unsigned>(std::atol(text));
    };
    const unsigned first = setting("RETIMER_DIFFERENTIAL_SEED", 1);
    const unsigned end = first + setting("RETIMER_DIFFERENTIAL_CASES", Emulated ? 8 : 60);
    for (unsigned seed = first; seed < end; ++seed) {
        std::mt19937_64 random(seed + 1000);
        const auto pick = [&](const auto& choices) { return choices[random() % choices.size()]; };
        // Few samples per bit leave time for many bits, and so for many steps of the adaptation.
        const bool isCoarse = random() % 2 == 0;
        Case c{
            .parameters = {{"RX_Config", "2"},
                           {"EOMNbits", std::to_string(2 + random() % 25)},
                           {"VCO_Sensitivity", "1e" + std::to_string(6 + random() % 5)}},
            .bits = isCoarse ? 7000.0 : pick(std::vector{100.0, 800.0, 3000.0}),
            .signal = static_cast<Signal>(seed / 8 % 2 * (seed % 8)),
            .bitTime = 9.7e-11 * (0.5 + static_cast<double>(random() % 1000) * 1e-3),
            .samplesPerBit = 16.6 + static_cast<double>(random() % (isCoarse ? 150 : 1118)) * 0.1,
            .blocks = {1 + static_cast<long>(random() % 9000)},
            .seed = seed};
        for (auto more = random() % 6; more > 0; --more)
            c.blocks.push_back(pick(std::vector{0, 1, 2, 3, 7, 63, 64, 65, 1000, 5000, -1}));
        unsigned turn = 0;
        for (const auto& [name, texts] : parameterTexts)
            if (turn++ == seed % 6 || random() % 10 == 0)
                c.parameters[name] = texts[seed / 6 % texts.size()];
        compare(c);
    }
}

}  // namespace
