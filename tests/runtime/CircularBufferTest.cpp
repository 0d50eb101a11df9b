#include "runtime/CircularBuffer.hpp"

#include <algorithm>

#include "runtime/CircularBufferBus.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;

TEST(CircularBuffer, WrapsAroundTheEndOfEitherRing)
{
    Awkward random{2};
    for (int iRound = 0; iRound < 3000; ++iRound) {
        int from[6] = {0, 1, 2, 3, 4, 5}, to[6] = {10, 11, 12, 13, 14, 15}, expected[6];
        const size_t n = 1 + random.Below(6), m = 1 + random.Below(6);  // sizes
        const size_t s = random.Below(n), d = random.Below(m);          // start locations
        const size_t p = random.Below(n), q = random.Below(m);          // logical indices
        const size_t iItems = random.Below(std::min(n, m) + 1), iRate = random.Below(m + 1);
        IntCircularBuffer source, destination;
        source.SetBuffer(from, n, 1, s);
        destination.SetBuffer(to, m, iRate, d);
        const size_t iIndex = random.Below(2 * n - s);  // as far as an index may wrap
        ASSERT_EQ(source.IndexAt(iIndex), (s + iIndex) % n);
        ASSERT_EQ(&source[iIndex], &from[(s + iIndex) % n]);
        std::copy(to, to + 6, expected);
        for (size_t i = 0; i < iItems; ++i) expected[(d + q + i) % m] = from[(s + p + i) % n];
        source.Copy(p, &destination, q, iItems);
        ASSERT_TRUE(std::equal(to, to + 6, expected));
        expected[d] = from[s];
        source.CopyToken(destination);
        ASSERT_TRUE(std::equal(to, to + 6, expected));
        destination.Advance();
        ASSERT_EQ(&destination[0], &to[(d + iRate) % m]);
        for (size_t i = 0; i < iItems; ++i) expected[(d + iRate + i) % m] = 0;
        ASSERT_TRUE(destination.Zero(0, iItems, nullptr));
        ASSERT_TRUE(std::equal(to, to + 6, expected));
    }
}

TEST(CircularBuffer, FreesItsOwnStorageAndForgetsIt)
{
    IntCircularBuffer buffer;
    buffer.SetBuffer(buffer.AllocateMemory(3), 3, 1, 2);
    buffer[0] = 1;
    buffer.DeallocateMemory(nullptr);
    EXPECT_EQ(buffer.GetSize(), 0U);
    EXPECT_EQ(buffer.GetBufferMemory(), nullptr);
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
    EXPECT_FAILED(four.IndexAt(5), "iIndex < m_iSize");
    EXPECT_FAILED(four.Zero(2, 4, nullptr), "iIndex < m_iSize");
    EXPECT_FAILED(bus[2][0] = 1, "iIndex < m_iSize");
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
