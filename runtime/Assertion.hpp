#pragma once

#include <cassert>
#include <cstdlib>

// How the process ends where the model is misused: the same text on standard error on every system,
// and no window that waits for somebody to close it.

namespace Vantor {

#ifdef _WIN32

/// Ends the process as abort does, but for its message.
[[noreturn]] void Abort();

[[noreturn]] void FailAssertion(const char* pCondition, const char* pFile, int iLine,
                                const char* pFunction);

#undef assert
#define assert(condition)                                          \
    (static_cast<bool>(condition)                                  \
         ? void(0)                                                 \
         : ::Vantor::FailAssertion(#condition, __FILE__, __LINE__, \
                                   static_cast<const char*>(__PRETTY_FUNCTION__)))

#else

[[noreturn]] inline void Abort()
{
    std::abort();
}

#endif

}  // namespace Vantor
