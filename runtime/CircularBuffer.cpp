#include "runtime/CircularBuffer.hpp"

#include <algorithm>
#include <cstring>
#include <new>

namespace Vantor {

// The condition texts of the assertions are what a user sees: they are not to be reformatted.
// clang-format off

void CircularBufferBase::SetBuffer(void* pBuffer, size_t iNumberItems, size_t iAdvanceRate,
                                   size_t iStartLocation)
{
    assert((iStartLocation == 0 && iNumberItems ==0 && pBuffer == 0) || ( iStartLocation < iNumberItems && iAdvanceRate <= iNumberItems));
    m_pBuffer = pBuffer;
    m_iSize = iNumberItems;
    m_iRate = iAdvanceRate;
    m_iStartLocation = iStartLocation;
    Locate();
}

void CircularBufferBase::SetRate(size_t iRate)
{
    m_iRate = iRate;
    m_iHistoryDepth = std::max(m_iHistoryDepth, m_iRate);
}

void CircularBufferBase::SetHistoryDepth(size_t iHistoryDepth)
{
    assert(iHistoryDepth >= m_iRate);
    m_iHistoryDepth = iHistoryDepth;
}

size_t CircularBufferBase::IndexAt(size_t iIndex) const
{
    assert(iIndex < 2*m_iSize);
    if (iIndex == 0) return m_iStartLocation;
    iIndex += m_iStartLocation;
    if (iIndex < m_iSize) return iIndex;
    iIndex -= m_iSize;
    assert(iIndex < m_iSize);
    return iIndex;
}

void CircularBufferBase::Advance()
{
    assert(m_pBuffer);
    m_iStartLocation = IndexAt(m_iRate);
    Locate();
}

void CircularBufferBase::Locate()
{
    m_pCurrent = m_pBuffer ? static_cast<char*>(m_pBuffer) + m_iStartLocation * m_iElementSize : nullptr;
}

template <class T>
void CircularBuffer<T>::Copy(void* pSource, void* pDestination, size_t iNumberItems) const
{
    assert(pSource && pDestination && iNumberItems > 0);
    std::memmove(pDestination, pSource, iNumberItems * sizeof(T));
}

template <class T>
void CircularBuffer<T>::Copy(size_t iSourceIndex, CircularBufferBase* pDestination, size_t iDestinationIndex,
                             size_t iNumberItems) const
{
    assert(dynamic_cast<CircularBuffer<T>*>(pDestination));
    assert(iNumberItems <= m_iSize && iNumberItems <= pDestination->GetSize());
    const auto* pFrom = static_cast<const T*>(m_pBuffer);
    auto* pTo = static_cast<T*>(pDestination->GetBufferMemory());
    size_t iFrom = IndexAt(iSourceIndex);
    size_t iTo = pDestination->IndexAt(iDestinationIndex);
    while (iNumberItems > 0) {
        const size_t iChunk = std::min({iNumberItems, m_iSize - iFrom, pDestination->GetSize() - iTo});
        std::memmove(pTo + iTo, pFrom + iFrom, iChunk * sizeof(T));
        iFrom = iFrom + iChunk == m_iSize ? 0 : iFrom + iChunk;
        iTo = iTo + iChunk == pDestination->GetSize() ? 0 : iTo + iChunk;
        iNumberItems -= iChunk;
    }
}

template <class T>
bool CircularBuffer<T>::Zero(size_t iStart, size_t iNumberItems, void*)
{
    assert(iStart < m_iSize && iNumberItems <= m_iSize);
    for (size_t i = 0; i < iNumberItems; ++i) (*this)[iStart + i] = T{};
    return true;
}

template <class T>
void* CircularBuffer<T>::AllocateMemory(size_t iNumberItems)
{
    assert(iNumberItems > 0);
    return new (std::nothrow) T[iNumberItems];
}

template <class T>
void CircularBuffer<T>::DeallocateMemory(void* pBuffer)
{
    assert(pBuffer != m_pBuffer);
    if (pBuffer) {
        delete[] static_cast<T*>(pBuffer);
        return;
    }
    delete[] static_cast<T*>(m_pBuffer);
    m_pBuffer = nullptr;
    m_iStartLocation = 0;
    m_iSize = 0;
    Locate();
}

template class CircularBuffer<int>;
template class CircularBuffer<double>;

// clang-format on

}  // namespace Vantor
