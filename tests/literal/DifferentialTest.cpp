// The library against its literal twin: everything a simulator can see, bit for bit.
//
// RETIMER_DIFFERENTIAL_CASES=n runs n random cases instead of a few, RETIMER_DIFFERENTIAL_SEED=s
// begins with seed s. The first case that differs is the last: its seed is in the message.

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <map>
#include <random>
#include <utility>

#include "tests/literal/LiteralReceiver.hpp"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

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
    const double special[] = {notANumber, infinity, -infinity, -0.0, 1e308, 5e-324};

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

/// What a file has grown by since `seen`, which moves on to its end.
std::string growth(const char* path, std::streamoff& seen)
{
    std::ifstream file(path, std::ios::binary);
    file.seekg(seen);
    std::string text(std::istreambuf_iterator<char>(file), {});
    seen += static_cast<std::streamoff>(text.size());
    return text;
}

testing::AssertionResult sameBits(const std::vector<double>& actual,
                                  const std::vector<double>& expected)
{
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const auto a = std::bit_cast<unsigned long>(actual[i]);
        const auto e = std::bit_cast<unsigned long>(expected[i]);
        if (a != e && !(std::isnan(actual[i]) && std::isnan(expected[i]))) {
            char text[120];
            std::snprintf(text, sizeof text, "at %zu: %a (%016lx), not %a (%016lx)", i, actual[i],
                          a, expected[i], e);
            return testing::AssertionFailure() << text;
        }
    }
    return testing::AssertionSuccess();
}

class Differential : public testing::Test
{
protected:
    /// Loads the library, and leads the logs and standard error into a folder of their own.
    void SetUp() override
    {
        void* library = ::dlopen(RETIMER_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << ::dlerror();
        m_init = reinterpret_cast<Init*>(::dlsym(library, "AMI_Init"));
        m_getWave = reinterpret_cast<GetWave*>(::dlsym(library, "AMI_GetWave"));
        m_close = reinterpret_cast<Close*>(::dlsym(library, "AMI_Close"));
        ASSERT_TRUE(m_init && m_getWave && m_close);
        std::string folder = std::filesystem::temp_directory_path() / "literal-XXXXXX";
        m_folder = ::mkdtemp(folder.data());
        std::filesystem::current_path(m_folder);
        const int file = ::open("stderr.txt", O_WRONLY | O_CREAT | O_APPEND, 0600);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }

    void TearDown() override
    {
        ::dup2(m_standardError, STDERR_FILENO);
        std::filesystem::current_path(m_before);
        std::filesystem::remove_all(m_folder);
    }

    /// Runs one case in the library and in its twin up to the first difference.
    void compare(const Case& c)
    {
        if (HasFailure()) {
            return;
        }
        std::string text = "(Retimer_RX_RT";
        for (const auto& [name, value] : c.parameters) {
            text += " (" + name + " " + value + ")";
        }
        text += ")";
        SCOPED_TRACE(testing::Message()
                     << text << ", bit time " << c.bitTime << ", samples per bit "
                     << c.samplesPerBit << ", seed " << c.seed);
        const auto number = [&](const char* name) -> std::optional<double> {
            const auto found = c.parameters.find(name);
            char* end = nullptr;
            const double value =
                found == c.parameters.end() ? 0.0 : std::strtod(found->second.c_str(), &end);
            return end == nullptr || *end != '\0' ? std::nullopt : std::optional(value);
        };
        const double sampleInterval = c.bitTime / c.samplesPerBit;
        LiteralReceiver twin(sampleInterval, c.bitTime,
                             {number("RX_Config"), number("Factor"), number("VCO_Sensitivity"),
                              number("EQ_Level"), number("CTLEAdapt"), number("EOMNbits")});
        std::filesystem::remove("Adapt.txt");
        std::filesystem::remove("EOM.txt");
        std::streamoff adaptSeen = 0, eomSeen = 0;

        char untouched[] = "";
        char *message = untouched, *parametersOut = untouched;
        void* memory = nullptr;
        const long result = m_init(nullptr, 0, 0, sampleInterval, c.bitTime, text.data(),
                                   &parametersOut, &memory, &message);
        ASSERT_NE(memory, nullptr);
        EXPECT_EQ(result, twin.initResult());
        EXPECT_EQ(message, twin.initMessage());
        EXPECT_EQ(message == untouched, twin.initMessage().empty());
        EXPECT_EQ(parametersOut, untouched);
        EXPECT_EQ(growth("stderr.txt", m_errorSeen), std::exchange(twin.standardError, {}));

        // There is no firing a network that could not be set up.
        const std::vector<double> input =
            twin.initResult() == 1 ? makeWave(c) : std::vector<double>();
        auto next = input.begin();
        for (std::size_t block = 0; next != input.end() && !HasFailure(); ++block) {
            const long size = c.blocks[block % c.blocks.size()];
            const auto end = next + std::min<long>(std::max(size, 0L), input.end() - next);
            SCOPED_TRACE(testing::Message() << "block " << block << " of " << size
                                            << ", from sample " << next - input.begin());
            std::vector<double> wave(next, end), expected(next, end), expectedTimes;
            std::vector<double> times(wave.size() + 2, -7.0);  // nothing is written past the list
            const long waveResult =
                m_getWave(wave.data(), size < 0 ? size : end - next, times.data(), nullptr, memory);
            EXPECT_EQ(waveResult, twin.getWave(expected, expectedTimes));
            expectedTimes.resize(times.size(), -7.0);
            EXPECT_TRUE(sameBits(wave, expected)) << "waveform";
            EXPECT_TRUE(sameBits(times, expectedTimes)) << "clock times";
            EXPECT_EQ(growth("stderr.txt", m_errorSeen), std::exchange(twin.standardError, {}));
            EXPECT_EQ(growth("Adapt.txt", adaptSeen), std::exchange(twin.adaptLog, {}));
            EXPECT_EQ(growth("EOM.txt", eomSeen), std::exchange(twin.eomLog, {}));
            EXPECT_EQ(std::filesystem::exists("Adapt.txt"), twin.hasFired());
            EXPECT_EQ(std::filesystem::exists("EOM.txt"), twin.hasFired());
            next = end;
        }
        EXPECT_EQ(m_close(memory), 1);
    }

private:
    using Init = long(double*, long, long, double, double, char*, char**, void**, char**);
    using GetWave = long(double*, long, double*, char**, void*);
    using Close = long(void*);
    Init* m_init = nullptr;
    GetWave* m_getWave = nullptr;
    Close* m_close = nullptr;
    std::filesystem::path m_before = std::filesystem::current_path(), m_folder;
    int m_standardError = ::dup(STDERR_FILENO);
    std::streamoff m_errorSeen = 0;
};

const std::map<std::string, std::vector<std::string>> parameterTexts = {
    {"RX_Config", {"0", "1", "2", "2.9", "-1", "3", "2147483647", "-1e300", "nan", "two"}},
    {"Factor", {"1", "2", "4", "0", "-1", "0.9", "1e300"}},
    {"VCO_Sensitivity", {"8e8", "1e7", "0", "-8e8", "1e12", "1e300", "inf", "nan", "0x10", "fast"}},
    {"EQ_Level", {"0", "5", "-1", "31", "32", "33", "-0.5", "17.9"}},
    {"CTLEAdapt", {"0", "1", "2", "-1", "True"}},
    {"EOMNbits", {"0", "-5", "1", "20", "200", "1000", "1e10"}}};

TEST_F(Differential, AgreesForEveryValueOfEveryParameter)
{
    compare({.bits = 1500});
    for (const auto& [name, texts] : parameterTexts) {
        for (const std::string& text : texts) {
            Case c{.parameters = {{"RX_Config", "2"}, {"EOMNbits", "20"}, {"CTLEAdapt", "1"}},
                   .bits = name == "EOMNbits" ? 2000.0 : 700.0};
            c.parameters[name] = text;
            compare(c);
        }
    }
}

TEST_F(Differential, AgreesAtEveryLevelAndEveryNumberOfSamplesPerBit)
{
    for (int level = 0; level < 32; ++level) {
        compare({.parameters = {
                     {"RX_Config", "2"}, {"CTLEAdapt", "0"}, {"EQ_Level", std::to_string(level)}}});
    }
    for (int samples = 17; samples <= 128; ++samples) {
        compare({.parameters = {{"RX_Config", "2"}}, .bits = 30, .samplesPerBit = 1.0 * samples});
    }
}

TEST_F(Differential, AgreesForAwkwardTimes)
{
    for (const double bitTime : {9.7e-11, 1e-10, 3.3e-11, -9.7e-11, 1e-3, 1e300, 0.0, -0.0, 1e-20,
                                 1e-310, infinity, -infinity, notANumber}) {
        for (const double samplesPerBit : {64.0, 63.5, 63.49, -64.0, 1.0, 0.3, 1e12}) {
            compare({.parameters = {{"RX_Config", "2"}, {"EOMNbits", "5"}},
                     .bits = 60,
                     .bitTime = bitTime,
                     .samplesPerBit = samplesPerBit});
        }
    }
}

TEST_F(Differential, AgreesForEverySignalThroughAWholeAdaptation)
{
    for (int signal = 0; signal <= static_cast<int>(Signal::mixed); ++signal) {
        compare({.parameters = {{"RX_Config", "2"}, {"EOMNbits", "20"}},
                 .bits = 4000,
                 .signal = static_cast<Signal>(signal),
                 .blocks = {0, 1, 2, 3, 7, 63, 64, 65, 1000, 6400, -1}});
    }
}

TEST_F(Differential, AgreesInRandomCases)
{
    const char* cases = std::getenv("RETIMER_DIFFERENTIAL_CASES");
    const char* firstSeed = std::getenv("RETIMER_DIFFERENTIAL_SEED");
    const unsigned first = firstSeed ? static_cast<unsigned>(std::atol(firstSeed)) : 1;
    const unsigned count = cases ? static_cast<unsigned>(std::atol(cases)) : 40;
    for (unsigned seed = first; seed < first + count; ++seed) {
        std::mt19937_64 random(seed + 1000);
        const auto pick = [&](const auto& choices) { return choices[random() % choices.size()]; };
        // Few samples per bit leave time for many bits, and so for many steps of the adaptation.
        const bool isCoarse = random() % 2 == 0;
        Case c{
            .bits = isCoarse ? 7000.0 : pick(std::vector{100.0, 800.0, 3000.0}),
            .signal = static_cast<Signal>(random() % 8 * (random() % 2)),
            .bitTime = 9.7e-11 * (0.5 + static_cast<double>(random() % 1000) * 1e-3),
            .samplesPerBit = 16.6 + static_cast<double>(random() % (isCoarse ? 150 : 1118)) * 0.1,
            .blocks = {1 + static_cast<long>(random() % 9000)},
            .seed = seed};
        const std::vector<long> sizes = {0, 1, 2, 3, 7, 63, 64, 65, 1000, 5000, -1};
        for (auto more = random() % 6; more > 0; --more) {
            c.blocks.push_back(pick(sizes));
        }
        c.parameters = {{"RX_Config", "2"},
                        {"EOMNbits", std::to_string(2 + random() % 25)},
                        {"VCO_Sensitivity", "1e" + std::to_string(6 + random() % 5)}};
        for (const auto& [name, texts] : parameterTexts) {
            if (random() % 5 == 0) {
                c.parameters[name] = pick(texts);
            }
        }
        compare(c);
    }
}

}  // namespace
