#include "blocks/AppendedFile.hpp"

#include <cerrno>

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

int OpenForAppending(const char* pPath)
{
    int iDescriptor =
        open(pPath, O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, 0666);
    // A host may have closed its standard streams: what is written to them must not come here.
    if (iDescriptor >= 0 && iDescriptor <= STDERR_FILENO) {
        const int iLow = iDescriptor;
        iDescriptor = fcntl(iLow, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
        close(iLow);
    }
    if (iDescriptor < 0) return -1;
    // Only a file has a position: pipes, sockets and terminals have none.
    if (lseek(iDescriptor, 0, SEEK_END) >= 0) return iDescriptor;
    close(iDescriptor);
    return -1;
}

bool AppendTo(int iDescriptor, const char* pText, size_t iLength)
{
    while (iLength > 0) {
        const ssize_t iWritten = WriteQuietly(iDescriptor, pText, iLength);
        if (iWritten >= 0) {
            pText += iWritten;
            iLength -= static_cast<size_t>(iWritten);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

void CloseAppended(int iDescriptor)
{
    close(iDescriptor);
}
