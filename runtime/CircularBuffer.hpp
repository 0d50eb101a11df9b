#pragma once

#include <cstddef>

#include "runtime/Assertion.hpp"

namespace Vantor {

/// A view onto a ring of tokens that somebody else owns: the network attaches one array to the
/// producer's and to the consumer's buffer, and a token written by the one is seen by the other.
/// Logical index 0 is the current token; older tokens are reached from the far end of the ring.
/// Misuse is a programming error and ends the process with the condition's text.
class CircularBufferBase
{
public:
    CircularBufferBase(const CircularBufferBase&) = delete;
    CircularBufferBase& operator=(const CircularBufferBase&) = delete;

    virtual ~CircularBufferBase() = default;

    /// Copies iNumberItems tokens between two raw arrays.
    virtual void Copy(void* pSource, void* pDestination, size_t iNumberItems) const = 0;

    /// Copies iNumberItems tokens, from logical index iSourceIndex here to logical index
    /// iDestinationIndex there, wrapping in both rings.
    virtual void Copy(size_t iSourceIndex, CircularBufferBase* pDestination,
                      size_t iDestinationIndex, size_t iNumberItems) const = 0;

    /// Zeroes iNumberItems tokens from logical index iStart on; the third argument is ignored.
    virtual bool Zero(size_t iStart, size_t iNumberItems, void*) = 0;

    /// Returns a new array of iNumberItems tokens (null when memory has run out), not attached.
    virtual void* AllocateMemory(size_t iNumberItems) = 0;

    /// Frees an array made by AllocateMemory; null frees the attached array and detaches it.
    virtual void DeallocateMemory(void* pBuffer) = 0;

    /// Attaches storage of iNumberItems tokens, or detaches when pointer, count and start are zero.
    void SetBuffer(void* pBuffer, size_t iNumberItems, size_t iAdvanceRate, size_t iStartLocation);

    /// Tokens per firing. Raises the history depth to at least the rate.
    void SetRate(size_t iRate);

    /// Tokens the reader needs to see at once: at least the rate.
    void SetHistoryDepth(size_t iHistoryDepth);

    size_t GetRate() const { return m_iRate; }
    size_t GetHistoryDepth() const { return m_iHistoryDepth; }
    size_t GetSize() const { return m_iSize; }
    void* GetBufferMemory() const { return m_pBuffer; }

    /// Array index of logical index iIndex. One wrap only: no division.
    size_t IndexAt(size_t iIndex) const;

    /// Moves the current token on by the rate.
    void Advance();

protected:
    explicit CircularBufferBase(size_t iElementSize) : m_iElementSize(iElementSize) {}

    /// Keeps m_pCurrent with the storage and the start location.
    void Locate();

    size_t m_iRate = 1;
    size_t m_iHistoryDepth = 1;
    const size_t m_iElementSize;
    size_t m_iStartLocation = 0;
    void* m_pBuffer = nullptr;
    size_t m_iSize = 0;
    void* m_pCurrent = nullptr;  ///< the current token, null without storage: one load a firing
};

/// A ring of tokens of type T.
template <class T>
class CircularBuffer final : public CircularBufferBase
{
public:
    using Token = T;

    CircularBuffer() : CircularBufferBase(sizeof(T)) {}

    T& operator[](size_t iIndex)
    {
        if (iIndex == 0 && m_pCurrent) [[likely]]
            return *static_cast<T*>(m_pCurrent);
        assert(m_pBuffer);
        return static_cast<T*>(m_pBuffer)[IndexAt(iIndex)];
    }

    void Copy(void* pSource, void* pDestination, size_t iNumberItems) const override;
    void Copy(size_t iSourceIndex, CircularBufferBase* pDestination, size_t iDestinationIndex,
              size_t iNumberItems) const override;

    /// Copies the current token to the current token of a buffer of the same type: what
    /// Copy(0, &destination, 0, 1) does, at the price of a load and a store.
    void CopyToken(CircularBuffer& destination) const
    {
        if (m_pCurrent && destination.m_pCurrent)
            *static_cast<T*>(destination.m_pCurrent) = *static_cast<const T*>(m_pCurrent);
        else
            Copy(0, &destination, 0, 1);
    }

    bool Zero(size_t iStart, size_t iNumberItems, void*) override;
    void* AllocateMemory(size_t iNumberItems) override;
    void DeallocateMemory(void* pBuffer) override;
};

using IntCircularBuffer = CircularBuffer<int>;
using DoubleCircularBuffer = CircularBuffer<double>;

extern template class CircularBuffer<int>;
extern template class CircularBuffer<double>;

}  // namespace Vantor
