#pragma once

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <type_traits>

/// An array that grows on demand and says so when memory has run out, where std::vector would
/// throw: no exception may reach the simulator. Elements are not initialised.
template <class T>
class GrowableArray
{
    static_assert(std::is_trivially_copyable_v<T>);

public:
    GrowableArray() = default;
    ~GrowableArray() { std::free(m_pElements); }
    GrowableArray(const GrowableArray&) = delete;
    GrowableArray& operator=(const GrowableArray&) = delete;

    /// Changes the size; capacity is kept. False, and no change, when memory has run out.
    bool Resize(size_t iSize)
    {
        if (iSize > m_iCapacity) {
            const size_t iCapacity = iSize < 2 * m_iCapacity ? 2 * m_iCapacity : iSize;
            if (iCapacity > static_cast<size_t>(-1) / sizeof(T)) return false;
            void* const pElements = std::realloc(m_pElements, iCapacity * sizeof(T));
            if (!pElements) return false;
            m_pElements = static_cast<T*>(pElements);
            m_iCapacity = iCapacity;
        }
        m_iSize = iSize;
        return true;
    }

    bool Append(const T* pElements, size_t iElements)
    {
        const size_t iOld = m_iSize;
        if (!Resize(iOld + iElements)) return false;
        std::memcpy(m_pElements + iOld, pElements, iElements * sizeof(T));
        return true;
    }

    T* Data() { return m_pElements; }
    size_t Size() const { return m_iSize; }

private:
    T* m_pElements = nullptr;
    size_t m_iSize = 0;
    size_t m_iCapacity = 0;
};
