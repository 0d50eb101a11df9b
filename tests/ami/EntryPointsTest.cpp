#include <gtest/gtest.h>

#include <cfenv>
#include <clocale>
#include <cmath>
#include <string>
#include <vector>

#include <xmmintrin.h>

#include "ami/EntryPoints.hpp"
#include "tests/TemporaryFolder.hpp"

namespace {

constexpr double UnitInterval = 9.696969696969696e-11;

std::string Parameters(const std::string& overrides = "")
{
    return "(Retimer_RX_RT " + overrides +
           "(RX_Config 2)(Factor 1)(VCO_Sensitivity 8e8)(EQ_Level 3)(CTLEAdapt 1)(EOMNbits 20))";
}

/// An instance between AMI_Init and AMI_Close, in a working folder of its own.
class Instance
{
public:
    explicit Instance(std::string parameters = Parameters(), double samplesPerBit = 16,
                      double bitTime = UnitInterval)
    {
        char* message = nullptr;
        Result = AMI_Init(nullptr, 0, 0, bitTime / samplesPerBit, bitTime, parameters.data(),
                          nullptr, &m_memory, &message);
        if (message) Message = message;
    }
    ~Instance() { EXPECT_EQ(AMI_Close(m_memory), 1); }

    /// One block; the result, with the clock list up to its terminator in Clocks.
    long GetWave(std::vector<double>& wave)
    {
        std::vector<double> clocks(wave.size() + 2, 12345.0);
        const long result = AMI_GetWave(wave.data(), static_cast<long>(wave.size()), clocks.data(),
                                        nullptr, m_memory);
        Clocks.clear();
        for (double t : clocks) {
            if (t == -1.0) break;
            Clocks.push_back(t);
        }
        EXPECT_EQ(clocks[Clocks.size()], -1.0);
        Untouched = clocks.size() - Clocks.size() - 1;
        return result;
    }

    long Result = -1;
    std::string Message;
    std::vector<double> Clocks;
    size_t Untouched = 0;

private:
    void* m_memory = nullptr;
};

class EntryPoints : public testing::Test
{
    TemporaryFolder m_folder;
};

std::vector<double> Data(size_t bits, size_t samplesPerBit)
{
    std::vector<double> wave(bits * samplesPerBit);
    unsigned state = 0x5a5a;
    double y = 0, level = 0.4;
    for (size_t i = 0; i < wave.size(); ++i) {
        if (i % samplesPerBit == 0) {
            state = (state >> 1) | (((state ^ (state >> 1)) & 1U) << 14);
            level = state & 1 ? 0.4 : -0.4;
        }
        wave[i] = y += 0.3 * (level - y);
    }
    return wave;
}

TEST_F(EntryPoints, NameEveryParameterThatIsMissing)
{
    const std::string before =
        "The IBIS-AMI model, Retimer_RX_RT, is unable to initialize the parameter ";
    const std::string after =
        " from the AMI_Init arguments.  The model will use the default setting. ";
    std::string all;
    for (const char* name :
         {"RX_Config", "Factor", "VCO_Sensitivity", "EQ_Level", "CTLEAdapt", "EOMNbits"})
        all += before + name + after;

    const struct
    {
        std::string Parameters, Message;
    } rows[] = {
        {Parameters(), ""},
        {"(Retimer_RX_RT)", all},
        {"(Retimer_RX_RT (RX_Config 1)", all},
        {"(retimer_rx_rt (RX_Config 1))", all},
        {Parameters("(EQ_Level abc)"), before + "EQ_Level" + after},
        {Parameters("(EQ_Level 2.9)"), ""},
    };
    for (const auto& row : rows) {
        const Instance instance(row.Parameters);
        EXPECT_EQ(instance.Result, 1) << row.Parameters;
        EXPECT_EQ(instance.Message, row.Message) << row.Parameters;
    }
}

// A clock list holds floor(samples / samples per bit) times at most, which tells how many samples
// the model takes a bit to have.
TEST_F(EntryPoints, RoundSamplesPerBitHalfUp)
{
    const struct
    {
        double Ratio;
        size_t SamplesPerBit;
    } rows[] = {{15.5, 16}, {15.49, 15}, {16, 16}, {16.5, 17}};
    for (const auto& row : rows) {
        Instance instance(Parameters("(Factor 4)"), row.Ratio);
        std::vector<double> wave = Data(1, row.SamplesPerBit * 6);
        EXPECT_EQ(instance.GetWave(wave), 1);
        EXPECT_EQ(instance.Clocks.size(), 6u) << row.Ratio;
        wave.resize(row.SamplesPerBit * 6 - 1);
        EXPECT_EQ(instance.GetWave(wave), 1);
        EXPECT_EQ(instance.Clocks.size(), 5u) << row.Ratio;
    }
}

TEST_F(EntryPoints, DropTheEarliestClocksAndKeepTheTerminator)
{
    Instance fast(Parameters("(Factor 3)"));
    Instance whole(Parameters("(Factor 3)"));
    std::vector<double> wave = Data(64, 16);
    std::vector<double> all;
    for (size_t i = 0; i < wave.size(); i += 16) {
        std::vector<double> block(wave.begin() + static_cast<long>(i),
                                  wave.begin() + static_cast<long>(i) + 16);
        whole.GetWave(block);
        ASSERT_EQ(whole.Clocks.size(), 1u);  // of three
        all.push_back(whole.Clocks[0]);
    }
    fast.GetWave(wave);
    ASSERT_EQ(fast.Clocks.size(), 64u);
    EXPECT_EQ(fast.Clocks.back(), all.back());
    EXPECT_GT(fast.Clocks.front(), all[40]);
}

TEST_F(EntryPoints, AnswerAnEmptyBlockWithTheTerminatorAlone)
{
    Instance instance;
    std::vector<double> none;
    EXPECT_EQ(instance.GetWave(none), 1);
    EXPECT_EQ(instance.Clocks.size(), 0u);
    EXPECT_EQ(instance.Untouched, 1u);
    double clock[2] = {7, 7};
    void* memory = nullptr;
    std::string parameters = Parameters();
    char* message = nullptr;
    AMI_Init(nullptr, 0, 0, UnitInterval / 16, UnitInterval, parameters.data(), nullptr, &memory,
             &message);
    EXPECT_EQ(AMI_GetWave(nullptr, -3, clock, nullptr, memory), 1);
    EXPECT_EQ(clock[0], -1.0);
    EXPECT_EQ(clock[1], 7.0);
    AMI_Close(memory);
}

TEST_F(EntryPoints, FailAsAWholeAndCanBeClosed)
{
    const struct
    {
        double SamplesPerBit, BitTime;
        const char* Message;
    } rows[] = {
        {16, 0.0, "Error occurred in Retimer_RX_RT::Setup(). "},
        {16, -1e-10, "Error occurred in Retimer_RX_RT::Setup(). "},
        {16, std::nan(""), "Error occurred in Retimer_RX_RT::Setup(). "},
        {0.1, UnitInterval, "Error occurred in Retimer_RX_RT::Setup(). "},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        const Instance instance(Parameters(), row.SamplesPerBit, row.BitTime);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(instance.Result, 0);
        EXPECT_EQ(instance.Message, row.Message) << row.SamplesPerBit << ' ' << row.BitTime;
    }
}

TEST_F(EntryPoints, StopAtTheSampleThatFails)
{
    Instance instance(Parameters("(RX_Config 3)"));
    std::vector<double> wave = Data(4, 16);
    const std::vector<double> sent = wave;
    for (int iBlock = 0; iBlock < 2; ++iBlock) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(instance.GetWave(wave), 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  "Control input signal value is equal to 3.  There are 3 inputs connected.  "
                  "The valid control input range is [0,2].\n");
        EXPECT_EQ(wave, sent);
    }
}

// Whatever the host has done to the thread: same results, and its settings come back.
TEST_F(EntryPoints, KeepTheHostsEnvironmentOutAndIntact)
{
    std::vector<double> sent = Data(300, 16);
    for (double& v : sent) v *= 1e-309;
    const auto run = [&sent] {
        Instance instance(Parameters("(VCO_Sensitivity 8.5e8)"));
        std::vector<double> wave = sent;
        instance.GetWave(wave);
        return wave;
    };
    const std::vector<double> expected = run();
    ASSERT_NE(expected.back(), 0.0);

    const bool bComma = std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr;
    const unsigned before = _mm_getcsr();
    _mm_setcsr((before | 0x8040U) & ~0x0280U);  // flush to zero, denormals are zero, traps on
    std::fesetround(FE_UPWARD);
    const unsigned host = _mm_getcsr();
    const std::vector<double> wave = run();
    EXPECT_EQ(_mm_getcsr(), host);
    _mm_setcsr(before);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(wave, expected);
    if (bComma) {
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    }
    std::setlocale(LC_NUMERIC, "C");
}

}  // namespace
