#include "blocks/AppendedFile.hpp"

#include <cstdint>

#include <windows.h>

// The system's own files rather than the C library's: descriptors are few there, and shared with
// the host. A handle fits into an int by the system's word.

namespace {

HANDLE HandleOf(int iDescriptor)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(iDescriptor));
}

}  // namespace

int OpenForAppending(const char* pPath)
{
    constexpr DWORD iShared = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE handle = CreateFileA(pPath, FILE_APPEND_DATA, iShared, nullptr, OPEN_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return -1;
    if (GetFileType(handle) == FILE_TYPE_DISK)
        return static_cast<int>(reinterpret_cast<std::intptr_t>(handle));
    CloseHandle(handle);
    return -1;
}

bool AppendTo(int iDescriptor, const char* pText, size_t iLength)
{
    while (iLength > 0) {
        DWORD iWritten = 0;
        if (!WriteFile(HandleOf(iDescriptor), pText, static_cast<DWORD>(iLength), &iWritten,
                       nullptr) ||
            iWritten == 0)
            return false;
        pText += iWritten;
        iLength -= iWritten;
    }
    return true;
}

void CloseAppended(int iDescriptor)
{
    CloseHandle(HandleOf(iDescriptor));
}
