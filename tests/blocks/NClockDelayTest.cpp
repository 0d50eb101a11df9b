#include "blocks/NClockDelay.hpp"
#include "tests/runtime/Support.hpp"

namespace {

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
            iStart = row.start[i] - '0';
            iClock = row.clock[i] - '0';
            ASSERT_TRUE(delay.Run());
            output += iOutput == 1 ? '1' : '0';
        }
        EXPECT_EQ(output, row.output) << row.start << ' ' << row.clock;
    }
}

}  // namespace
