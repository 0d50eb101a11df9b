#include "runtime/CircularBuffer.hpp"

#include <algorithm>

#include "runtime/CircularBufferBus.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;

TEST(CircularBuffer, IndexesAdvancesAndZeroesAroundTheRing)
{
    for (size_t iStart = 0; iStart < 4; ++iStart) {
        double tokens[4] = {10, 11, 12, 13};
        DoubleCircularBuffer buffer;
        buffer.SetBuffer(tokens, 4, 3, iStart);
        for (size_t i = 0; i < 8 - iStart; ++i) {
            EXPECT_EQ(buffer.IndexAt(i), (iStart + i) % 4) << iStart << ' ' << i;
            EXPECT_EQ(&buffer[i], &tokens[(iStart + i) % 4]) << iStart << ' ' << i;
        }
        buffer.Advance();
        EXPECT_EQ(&buffer[0], &tokens[(iStart + 3) % 4]);
        EXPECT_TRUE(buffer.Zero(0, 2, nullptr));
        for (size_t i = 0; i < 4; ++i) EXPECT_EQ(buffer[i] == 0.0, i < 2);
    }
}

TEST(CircularBuffer, KeepsRateDepthAndStorageApart)
{
    IntCircularBuffer buffer;
    EXPECT_TRUE(buffer.GetRate() == 1 && buffer.GetHistoryDepth() == 1 && buffer.GetSize() == 0);
    buffer.SetHistoryDepth(2);
    buffer.SetRate(3);
    EXPECT_TRUE(buffer.GetRate() == 3 && buffer.GetHistoryDepth() == 3);
    buffer.SetBuffer(buffer.AllocateMemory(4), 4, 2, 3);
    buffer.DeallocateMemory(buffer.AllocateMemory(2));
    EXPECT_TRUE(buffer.GetRate() == 2 && buffer.GetHistoryDepth() == 3 && buffer.GetSize() == 4);
    buffer.DeallocateMemory(nullptr);
    EXPECT_TRUE(buffer.GetBufferMemory() == nullptr && buffer.GetSize() == 0);
    buffer.SetBuffer(nullptr, 0, 5, 0);  // detached: the rate may exceed the size
    EXPECT_EQ(buffer.GetRate(), 5U);
}

TEST(CircularBuffer, CopiesAcrossTheEndOfEitherRing)
{
    Awkward random{2};
    for (int iRound = 0; iRound < 3000; ++iRound) {
        int from[6] = {0, 1, 2, 3, 4, 5}, to[6] = {10, 11, 12, 13, 14, 15}, expected[6];
        const size_t n = 1 + random.Below(6), m = 1 + random.Below(6);  // sizes
        const size_t s = random.Below(n), d = random.Below(m);          // start locations
        const size_t p = random.Below(n), q = random.Below(m);          // logical indices
        const size_t iItems = random.Below(std::min(n, m) + 1);
        IntCircularBuffer source, destination;
        source.SetBuffer(from, n, 1, s);
        destination.SetBuffer(to, m, 1, d);
        std::copy(to, to + 6, expected);
        for (size_t i = 0; i < iItems; ++i) expected[(d + q + i) % m] = from[(s + p + i) % n];
        source.Copy(p, &destination, q, iItems);
        ASSERT_TRUE(std::equal(to, to + 6, expected));
        expected[d] = from[s];
        source.CopyToken(destination);
        ASSERT_TRUE(std::equal(to, to + 6, expected));
    }
}

TEST(CircularBufferBus, KeepsItsBuffersWhileItsWidthStays)
{
    int token = 9;
    IntCircularBufferBus bus;
    EXPECT_TRUE(bus.Initialize(0) && bus.Initialize(3));
    Attach(bus[2], token);
    EXPECT_TRUE(bus.Initialize(3) && bus[2][0] == 9 && bus.Get(2) == &bus[2]);
    EXPECT_TRUE(bus.Initialize(4) && bus[2].GetBufferMemory() == nullptr);
}

TEST(CircularBufferDeathTest, MisuseEndsTheProcessWithTheCondition)
{
    int t[4] = {};
    double other[4] = {};
    IntCircularBuffer four, two, empty;
    DoubleCircularBuffer doubles;
    IntCircularBufferBus bus;
    four.SetBuffer(t, 4, 1, 3);
    two.SetBuffer(t, 2, 1, 0);
    doubles.SetBuffer(other, 4, 1, 0);
    bus.Initialize(2);
#define EXPECT_FAILED(misuse, condition) \
    EXPECT_DEATH(misuse, Assertion("CircularBuffer", condition))
    EXPECT_FAILED(four.IndexAt(8), "iIndex < 2*m_iSize");
    EXPECT_FAILED(empty.IndexAt(0), "iIndex < 2*m_iSize");
    EXPECT_FAILED(four[8] = 1, "iIndex < 2*m_iSize");
    EXPECT_FAILED(four.IndexAt(5), "iIndex < m_iSize");
    EXPECT_FAILED(four.Zero(2, 4, nullptr), "iIndex < m_iSize");
    EXPECT_FAILED(bus[2][0] = 1, "iIndex < m_iSize");
    EXPECT_FAILED(bus.Get(2), "iIndex < m_iSize");
    for (const size_t i : {0U, 9U}) EXPECT_FAILED(empty[i] = 1, "m_pBuffer");
    EXPECT_FAILED(empty.Advance(), "m_pBuffer");
    EXPECT_FAILED((four.SetRate(3), four.SetHistoryDepth(2)), "iHistoryDepth >= m_iRate");
    const char* const pStorage =
        "(iStartLocation == 0 && iNumberItems ==0 && pBuffer == 0) || ( iStartLocation < "
        "iNumberItems && iAdvanceRate <= iNumberItems)";
    EXPECT_FAILED(two.SetBuffer(t, 4, 5, 0), pStorage);
    EXPECT_FAILED(two.SetBuffer(t, 4, 1, 4), pStorage);
    EXPECT_FAILED(two.SetBuffer(t, 0, 0, 0), pStorage);
    EXPECT_FAILED(two.SetBuffer(nullptr, 0, 0, 1), pStorage);
    EXPECT_FAILED(four.Copy(t, t + 1, 0), "pSource && pDestination && iNumberItems > 0");
    EXPECT_FAILED(four.Copy(t, nullptr, 1), "pSource && pDestination && iNumberItems > 0");
    EXPECT_FAILED(four.Copy(0, nullptr, 0, 9), "dynamic_cast<CircularBuffer<T>*>(pDestination)");
    EXPECT_FAILED(four.Copy(0, &doubles, 0, 9), "dynamic_cast<CircularBuffer<T>*>(pDestination)");
    const char* const pCounts =
        "iNumberItems <= m_iSize && iNumberItems <= pDestination->GetSize()";
    EXPECT_FAILED(four.Copy(0, &two, 0, 3), pCounts);
    EXPECT_FAILED(two.Copy(0, &four, 0, 3), pCounts);
    EXPECT_FAILED(four.CopyToken(empty), pCounts);
    EXPECT_FAILED(four.Zero(4, 1, nullptr), "iStart < m_iSize && iNumberItems <= m_iSize");
    EXPECT_FAILED(four.Zero(0, 5, nullptr), "iStart < m_iSize && iNumberItems <= m_iSize");
    EXPECT_FAILED(four.AllocateMemory(0), "iNumberItems > 0");
    EXPECT_FAILED(four.DeallocateMemory(t), "pBuffer != m_pBuffer");
    EXPECT_FAILED(empty.DeallocateMemory(nullptr), "pBuffer != m_pBuffer");
}

}  // namespace
