#pragma once

#include <cstddef>

/// A text log in the working directory, appended to by one firing of a block. It is opened when the
/// firing first writes and closed with this object, so that it can be read, moved or deleted
/// between firings. A path that cannot be opened, or is not a plain file (a FIFO, a terminal),
/// leaves the log unwritten: logging never blocks and never fails a firing.
class LogFile
{
public:
    /// pPath stays the caller's and must outlive this object.
    // cppcheck-suppress uninitMemberVar
    explicit LogFile(const char* pPath) : m_pPath(pPath) {}
    ~LogFile();
    LogFile(const LogFile&) = delete;
    LogFile& operator=(const LogFile&) = delete;

    /// Makes the file exist.
    void Touch();

    void Print(const char* pText);
    void Print(int iValue);

    /// Six significant digits, as a C++ stream prints by default.
    void Print(double dValue);

private:
    void Append(const char* pText, size_t iLength);
    void Flush();

    const char* m_pPath;
    enum { Unopened, Open, Unusable } m_state = Unopened;
    int m_iDescriptor = -1;
    size_t m_iUsed = 0;
    char m_buffer[4096];
};
