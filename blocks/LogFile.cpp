#include "blocks/LogFile.hpp"

#include <charconv>
#include <cmath>
#include <cstring>

#include "blocks/AppendedFile.hpp"
#include "runtime/NumberText.hpp"

LogFile::~LogFile()
{
    Flush();
    if (m_iDescriptor >= 0) CloseAppended(m_iDescriptor);
}

void LogFile::Touch()
{
    if (m_state != Unopened) return;
    m_iDescriptor = OpenForAppending(m_pPath);
    m_state = m_iDescriptor >= 0 ? Open : Unusable;
}

void LogFile::Print(const char* pText)
{
    Append(pText, std::strlen(pText));
}

void LogFile::Print(int iValue)
{
    char text[16];
    const auto result = std::to_chars(text, text + sizeof text, iValue);
    Append(text, static_cast<size_t>(result.ptr - text));
}

void LogFile::Print(double dValue)
{
    // A count, which is nearly every value there is to print, needs no general formatting.
    if (dValue >= 0 && dValue < 1e6 && dValue == static_cast<int>(dValue) &&
        !std::signbit(dValue)) {
        Print(static_cast<int>(dValue));
        return;
    }
    char text[Vantor::LongestNumberText];
    Append(text, Vantor::WriteNumber(text, dValue));
}

void LogFile::Append(const char* pText, size_t iLength)
{
    while (iLength > 0) {
        const size_t iFree = sizeof m_buffer - m_iUsed;
        const size_t iChunk = iLength < iFree ? iLength : iFree;
        std::memcpy(m_buffer + m_iUsed, pText, iChunk);
        m_iUsed += iChunk;
        pText += iChunk;
        iLength -= iChunk;
        if (m_iUsed == sizeof m_buffer) Flush();
    }
}

void LogFile::Flush()
{
    if (m_iUsed > 0) Touch();
    if (m_iUsed > 0 && m_state == Open && !AppendTo(m_iDescriptor, m_buffer, m_iUsed))
        m_state = Unusable;
    m_iUsed = 0;
}
