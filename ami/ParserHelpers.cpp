#include "ami/ParserHelpers.hpp"

#include <cstdio>
#include <cstring>

#include "runtime/Assertion.hpp"

namespace ParserHelpers {

namespace {

constexpr int kLongestWhitespaceRun = 120;

void Require(bool bCondition, int iLine)
{
    if (bCondition) return;
    std::printf("%s:%d:assertion failed.\n", __FILE__, iLine);
    std::fflush(stdout);
    Vantor::Abort();
}

void LogError(int iCode, const char* pMessage)
{
    std::printf("E%04d - %s\n", iCode, pMessage);
}

/// The message's own end of line is kept before that of the log.
void LogFailedRequest(int iCode, const char* pWhat, std::size_t iSize)
{
    char acMessage[80];
    std::snprintf(acMessage, sizeof acMessage, "Memory %s failed.  This request %u.\n", pWhat,
                  static_cast<unsigned>(iSize));
    LogError(iCode, acMessage);
}

}  // namespace

void* Allocate(std::size_t iSize)
{
    Require(iSize > 0, __LINE__);
    void* pBlock = std::calloc(1, iSize);
    if (!pBlock) LogFailedRequest(1906, "allocation", iSize);
    return pBlock;
}

void* Reallocate(void* pBlock, std::size_t iSize)
{
    Require(pBlock && iSize > 0, __LINE__);
    void* pGrown = std::realloc(pBlock, iSize);
    if (!pGrown) LogFailedRequest(1907, "reallocation", iSize);
    return pGrown;
}

char* CopyText(const char* pText, std::size_t iLength)
{
    Require(pText, __LINE__);
    auto* pCopy = static_cast<char*>(std::calloc(iLength + 1, 1));
    if (!pCopy) {
        char acMessage[80];
        std::snprintf(acMessage, sizeof acMessage, "Unable to Allocate Memory: %s %d", __FILE__,
                      __LINE__);
        LogError(1908, acMessage);
        return nullptr;
    }
    std::memcpy(pCopy, pText, iLength);
    return pCopy;
}

const char* SkipWhitespace(const char* pText)
{
    const char* pStart = pText;
    while (IsSpace(*pText)) {
        ++pText;
        Require(pText - pStart <= kLongestWhitespaceRun, __LINE__);
    }
    return pText;
}

}  // namespace ParserHelpers
