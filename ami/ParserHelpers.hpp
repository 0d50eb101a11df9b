#pragma once

#include <climits>
#include <cstddef>
#include <cstdlib>

#include "runtime/NumberText.hpp"

/// What the parameter-tree parser stands on: memory that reports its own failures, and the
/// whitespace skipper. A null pointer or a zero size handed to an allocating function is a
/// programming error: it prints "<source>:<line>:assertion failed." to standard output and aborts.
namespace ParserHelpers {

/// Returns iSize zeroed bytes; null, and message 1906 on standard output, when memory has run out.
void* Allocate(std::size_t iSize);

/// Resizes pBlock to iSize bytes, the new ones not cleared. Null, and message 1907, on failure;
/// pBlock is then still valid.
void* Reallocate(void* pBlock, std::size_t iSize);

/// Returns a terminated copy of iLength characters; null, and message 1908, on failure.
char* CopyText(const char* pText, std::size_t iLength);

using Vantor::IsSpace;

/// Returns the first character at or after pText that is not whitespace. More than 120 whitespace
/// characters in one run end the process in the way of an assertion.
const char* SkipWhitespace(const char* pText);

template <class T>
T* AllocateArray(int iCount)
{
    return static_cast<T*>(Allocate(static_cast<std::size_t>(iCount) * sizeof(T)));
}

template <class T>
void FreeAndNull(T*& pBlock)
{
    std::free(pBlock);
    pBlock = nullptr;
}

/// Makes room for one more element in an array of iCount (null while it has none). The room doubles
/// whenever the count reaches a power of two, so it follows from the count and is stored nowhere.
/// Returns false, with the array as it was, when that is not possible.
template <class T>
bool MakeRoomForOne(T*& pArray, int iCount)
{
    if (iCount == INT_MAX) return false;
    if (iCount == 0) return (pArray = AllocateArray<T>(1)) != nullptr;
    if ((iCount & (iCount - 1)) != 0) return true;
    void* pGrown = Reallocate(pArray, 2 * static_cast<std::size_t>(iCount) * sizeof(T));
    if (!pGrown) return false;
    pArray = static_cast<T*>(pGrown);
    return true;
}

}  // namespace ParserHelpers
