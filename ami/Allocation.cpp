// operator new and delete of the shared library, on the C library's memory. Those of the C++
// library bring exceptions with them, and with these symbols that an old system lacks and memory
// that is lost at each unloading. Nothing outside the library sees these.

// There is no operator new that throws. NOLINTBEGIN(cert-dcl54-cpp)

#include <cstdlib>
#include <new>

void* operator new(std::size_t iSize, const std::nothrow_t& /*tag*/) noexcept
{
    return std::malloc(iSize > 0 ? iSize : 1);
}

void* operator new[](std::size_t iSize, const std::nothrow_t& /*tag*/) noexcept
{
    return std::malloc(iSize > 0 ? iSize : 1);
}

void operator delete(void* pBlock) noexcept
{
    std::free(pBlock);
}

void operator delete(void* pBlock, std::size_t /*iSize*/) noexcept
{
    std::free(pBlock);
}

void operator delete[](void* pBlock) noexcept
{
    std::free(pBlock);
}

void operator delete[](void* pBlock, std::size_t /*iSize*/) noexcept
{
    std::free(pBlock);
}

// NOLINTEND(cert-dcl54-cpp)
