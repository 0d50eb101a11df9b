#pragma once

#ifdef __x86_64__
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

/// What the simulator has done to the calling thread must not show in our results: for as long as
/// this object lives the thread computes in the default floating-point environment (rounding to
/// nearest, denormals kept, no traps), which is put back as it was at its end.
#ifdef __x86_64__

/// Reading and writing the whole environment costs as much as a sample or two. Where the control
/// registers already hold the default, as nearly always, they are left alone, and only the
/// exceptions that our arithmetic has raised are taken back. The x87 is not looked at on Windows,
/// where hosts set it up in another way and nothing of ours computes on it.
class HostEnvironment
{
public:
    // cppcheck-suppress uninitMemberVar
    HostEnvironment()
    {
        if (m_bDefault) return;
        if (UsesX87) __asm__ volatile("fnstenv %0\n\tfninit" : "=m"(m_hostX87));
        _mm_setcsr(VectorDefault);
    }

    ~HostEnvironment()
    {
        if (!m_bDefault || _mm_getcsr() != m_iHostVector) _mm_setcsr(m_iHostVector);
        if (!UsesX87) return;
        if (!m_bDefault)
            __asm__ volatile("fldenv %0" : : "m"(m_hostX87));
        else if (GetX87Exceptions() != 0)
            __asm__ volatile("fnclex");
    }

    HostEnvironment(const HostEnvironment&) = delete;
    HostEnvironment& operator=(const HostEnvironment&) = delete;

private:
#ifdef _WIN32
    static constexpr bool UsesX87 = false;
#else
    static constexpr bool UsesX87 = true;
#endif
    static constexpr unsigned VectorDefault = 0x1f80;

    /// The x87's environment as the processor stores it.
    struct X87Environment
    {
        unsigned Words[7];
    };

    static unsigned GetX87Control()
    {
        unsigned short iControl;
        __asm__ volatile("fnstcw %0" : "=m"(iControl));
        return iControl;
    }

    static unsigned GetX87Exceptions()
    {
        unsigned short iStatus;
        __asm__ volatile("fnstsw %0" : "=a"(iStatus));
        return iStatus & 0xffU;
    }

    /// Vector exceptions that the simulator has raised do not matter: nothing of ours reads them.
    bool IsDefault() const
    {
        constexpr unsigned iVectorExceptions = 0x3f, iX87Default = 0x37f;
        return (m_iHostVector & ~iVectorExceptions) == VectorDefault &&
               (!UsesX87 || (GetX87Control() == iX87Default && GetX87Exceptions() == 0));
    }

    const unsigned m_iHostVector = _mm_getcsr();  ///< MXCSR
    const bool m_bDefault = IsDefault();
    X87Environment m_hostX87;
};

#else

class HostEnvironment
{
public:
    HostEnvironment()
    {
        std::fegetenv(&m_host);
        std::fesetenv(FE_DFL_ENV);
    }
    ~HostEnvironment() { std::fesetenv(&m_host); }
    HostEnvironment(const HostEnvironment&) = delete;
    HostEnvironment& operator=(const HostEnvironment&) = delete;

private:
    std::fenv_t m_host;
};

#endif
