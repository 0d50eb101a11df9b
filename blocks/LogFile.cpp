#include "blocks/LogFile.hpp"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

namespace {

/// Writes, or fails: a file that has grown to the limit of the process raises SIGXFSZ, which would
/// end the host. For the calling thread the signal is held back, and taken away if it was sent.
/// (On Linux sigprocmask is the thread's own; pthread_sigmask was in a library of its own for
/// long.)
ssize_t WriteQuietly(int iDescriptor, const char* pText, size_t iLength)
{
    sigset_t quiet;
    sigset_t host;
    sigset_t pending;
    sigemptyset(&quiet);
    sigaddset(&quiet, SIGXFSZ);
    sigprocmask(SIG_BLOCK, &quiet, &host);  // NOLINT(concurrency-mt-unsafe)
    sigpending(&pending);
    const ssize_t iWritten = write(iDescriptor, pText, iLength);
    const int iError = errno;
    const timespec atOnce = {};
    if (iWritten < 0 && iError == EFBIG && !sigismember(&pending, SIGXFSZ))
        sigtimedwait(&quiet, nullptr, &atOnce);
    sigprocmask(SIG_SETMASK, &host, nullptr);  // NOLINT(concurrency-mt-unsafe)
    errno = iError;
    return iWritten;
}

}  // namespace

LogFile::~LogFile()
{
    Flush();
    if (m_iDescriptor >= 0) close(m_iDescriptor);
}

void LogFile::Touch()
{
    if (m_state != Unopened) return;
    m_iDescriptor =
        open(m_pPath, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    // A host may have closed its standard streams: what is written to them must not come here.
    if (m_iDescriptor >= 0 && m_iDescriptor <= STDERR_FILENO) {
        const int iLow = m_iDescriptor;
        m_iDescriptor = fcntl(iLow, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(iLow);
    }
    // Only a file has a position: pipes, sockets and terminals have none.
    m_state = m_iDescriptor >= 0 && lseek(m_iDescriptor, 0, SEEK_END) >= 0 ? Open : Unusable;
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
    char text[32];
    Append(text, static_cast<size_t>(std::snprintf(text, sizeof text, "%g", dValue)));
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
    const char* pText = m_buffer;
    while (m_iUsed > 0 && m_state == Open) {
        const ssize_t iWritten = WriteQuietly(m_iDescriptor, pText, m_iUsed);
        if (iWritten >= 0) {
            pText += iWritten;
            m_iUsed -= static_cast<size_t>(iWritten);
        } else if (errno != EINTR) {
            m_state = Unusable;
        }
    }
    m_iUsed = 0;
}
