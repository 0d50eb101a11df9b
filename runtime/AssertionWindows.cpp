#include "runtime/Assertion.hpp"

#include <csignal>
#include <cstdio>
#include <cstring>

#include <windows.h>

namespace Vantor {

void Abort()
{
    constexpr int iStatusOfAbort = 3;
    std::raise(SIGABRT);  // does not come back unless the host has taken the signal over
    _exit(iStatusOfAbort);
}

void FailAssertion(const char* pCondition, const char* pFile, int iLine, const char* pFunction)
{
    char path[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, path, sizeof path);
    path[sizeof path - 1] = '\0';
    const char* const pName = std::strrchr(path, '\\');
    std::fprintf(stderr, "%s: %s:%d: %s: Assertion `%s' failed.\n", pName ? pName + 1 : path, pFile,
                 iLine, pFunction, pCondition);
    std::fflush(stderr);
    Abort();
}

}  // namespace Vantor
