#include "blocks/Delay.hpp"
#include "blocks/NClockDelay.hpp"
#include "blocks/clockdelay.hpp"
#include "blocks/slicer.hpp"
#include "tests/runtime/Support.hpp"

namespace {

/// One digit per firing.
int Digit(const std::string& text, size_t i)
{
    return text[i] - '0';
}

TEST(NClockDelay, RisesOnTheEdgeAfterNEdges)
{
    const struct
    {
        int N;
        std::string start, clock, output;
    } table[] = {
        {0, "0010000", "0100101", "0000111"},
        {0, "0010000", "0011010", "0011111"},  // an edge in the firing of the start counts
        {2, "01111111111", "00101010101", "00000011111"},
        {1, "010000010000", "001010101010", "000011100011"},  // a new start drops it
        {2, "010010000000", "001010101010", "000000001111"},  // and one while counting restarts
        {0, "0200000", "0101010", "0000000"},
        {0, "0100000", "0020010", "0000011"},
        {-1, "0100000", "0001000", "0001111"},
    };
    NClockDelay delay;
    int iStart = 0, iClock = 0, iOutput = 0;
    ASSERT_TRUE(delay.Setup());
    Attach(delay.Start, iStart, delay.Clock, iClock, delay.Output, iOutput);
    for (const auto& row : table) {
        delay.N = row.N;
        ASSERT_TRUE(delay.Initialize());
        std::string output;
        for (size_t i = 0; i < row.clock.size(); ++i) {
            iStart = Digit(row.start, i);
            iClock = Digit(row.clock, i);
            ASSERT_TRUE(delay.Run());
            output += iOutput == 1 ? '1' : '0';
        }
        EXPECT_EQ(output, row.output) << row.start << ' ' << row.clock;
    }
}

/// A clocked block's outputs while its input counts 1, 2, 3, ... (or less, from iBias on).
template <class Block>
std::vector<double> Outputs(Block& block, const std::string& clock, int iBias = 0)
{
    std::vector<double> outputs;
    for (size_t i = 0; i < clock.size(); ++i) {
        block.Input = static_cast<double>(i + 1) - iBias;
        block.Clock = Digit(clock, i);
        EXPECT_TRUE(block.Run());
        outputs.push_back(block.Output);
    }
    return outputs;
}

TEST(clockdelay, HoldsTheInputOfTheEdgeBeforeTheLast)
{
    clockdelay delay;
    EXPECT_TRUE(delay.Initialize());
    EXPECT_EQ(Outputs(delay, "0111001021"), (std::vector<double>{0, 0, 0, 0, 0, 0, 2, 2, 2, 2}));
    EXPECT_TRUE(delay.Initialize());  // keeps what the last edge captured
    EXPECT_EQ(Outputs(delay, "101"), (std::vector<double>{7, 7, 1}));
}

TEST(slicer, HoldsTheSignAtTheLastEdge)
{
    slicer block;
    EXPECT_TRUE(block.Initialize());
    EXPECT_EQ(Outputs(block, "0001011", 4), (std::vector<double>{-1, -1, -1, -1, -1, 1, 1}));
    EXPECT_TRUE(block.Initialize());  // the clock was high, so this is no edge
    EXPECT_EQ(Outputs(block, "10201"), (std::vector<double>{-1, -1, -1, -1, 1}));
    for (const double dInput : {0.0, -0.0, std::nan(""), -1e300}) {
        block.Input = dInput;
        for (block.Clock = 0; block.Clock < 2; ++block.Clock) EXPECT_TRUE(block.Run());
        EXPECT_EQ(block.Output, -1.0);
    }
}

TEST(Delay, ShiftsASineByAQuarterPeriod)
{
    Delay delay;
    double dInput = 0.0;
    Attach(delay.Input, dInput);
    for (int iRun = 0; iRun < 2; ++iRun) {
        ASSERT_TRUE(delay.Initialize());
        for (const auto& [dIn, dOut] :
             {std::pair{0.0, -1.0}, {1.0, 0.0}, {1.0, 0.0}, {0.0, 1.0}, {0.0, -1.0}}) {
            dInput = dIn;
            EXPECT_TRUE(delay.Run());
            EXPECT_EQ(delay.Output, dOut);
        }
    }
    for (double t = 0.05; t < 20.0; t += 0.1) {
        dInput = std::sin(t);
        EXPECT_TRUE(delay.Run());
        // Where a step passes the crest, the direction is that of the step.
        const double dWithin = std::fabs(dInput) < 0.998 ? 1e-12 : 0.1;
        EXPECT_NEAR(delay.Output, std::sin(t - 1.5707963267948966), dWithin) << t;
    }
    dInput = 1.5;
    EXPECT_TRUE(delay.Run());
    EXPECT_TRUE(std::isnan(delay.Output));
}

}  // namespace
