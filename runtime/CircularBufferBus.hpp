#pragma once

#include <cstddef>
#include <memory>
#include <new>

#include "runtime/Assertion.hpp"
#include "runtime/CircularBuffer.hpp"

namespace Vantor {

/// The ports of a block that has a variable number of them.
class CircularBufferBus
{
public:
    CircularBufferBus() = default;
    CircularBufferBus(const CircularBufferBus&) = delete;
    CircularBufferBus& operator=(const CircularBufferBus&) = delete;

    /// Makes the bus n buffers wide; false when memory has run out (the bus is then empty).
    virtual bool Initialize(size_t n) = 0;
    virtual ~CircularBufferBus() = default;
    virtual CircularBufferBase* Get(size_t iIndex) = 0;
};

/// A counted, owned array of buffers of type B. It owns the buffers, not their storage.
template <class B>
class CircularBufferBusT final : public CircularBufferBus
{
public:
    /// A bus that is n wide already keeps its buffers and what is attached to them.
    bool Initialize(size_t n) override
    {
        if (n == m_iSize) return true;
        m_pBuffers.reset(n > 0 ? new (std::nothrow) B[n] : nullptr);
        m_iSize = m_pBuffers ? n : 0;
        return m_iSize == n;
    }

    B& operator[](size_t iIndex)
    {
        assert(iIndex < m_iSize);
        return m_pBuffers[iIndex];
    }

    CircularBufferBase* Get(size_t iIndex) override
    {
        assert(iIndex < m_iSize);
        return &(*this)[iIndex];
    }

    size_t GetSize() const { return m_iSize; }
    B* begin() { return m_pBuffers.get(); }
    B* end() { return m_pBuffers.get() + m_iSize; }

private:
    size_t m_iSize = 0;
    std::unique_ptr<B[]> m_pBuffers;
};

using IntCircularBufferBus = CircularBufferBusT<IntCircularBuffer>;
using DoubleCircularBufferBus = CircularBufferBusT<DoubleCircularBuffer>;

}  // namespace Vantor
