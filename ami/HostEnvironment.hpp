#pragma once

#include <cfenv>

#include <locale.h>
#include <xmmintrin.h>

/// What the simulator has done to the calling thread must not show in our results: for as long as
/// this object lives the thread computes in the default floating-point environment (rounding to
/// nearest, denormals kept, no traps) and reads and writes numbers as in the C locale. Both are
/// put back as they were at its end.
///
/// Reading and writing the whole floating-point environment costs as much as a sample or two. Where
/// the control registers already hold the default, as nearly always, they are left alone, and only
/// the exceptions that our arithmetic has raised are taken back.
class HostEnvironment
{
public:
    HostEnvironment() : m_cLocale(newlocale(LC_ALL_MASK, "C", nullptr))
    {
        if (!m_bDefault) {
            std::fegetenv(&m_hostArithmetic);
            std::fesetenv(FE_DFL_ENV);
        }
        if (m_cLocale) m_hostLocale = uselocale(m_cLocale);
    }

    ~HostEnvironment()
    {
        if (m_cLocale) {
            uselocale(m_hostLocale);
            freelocale(m_cLocale);
        }
        if (!m_bDefault) {
            std::fesetenv(&m_hostArithmetic);
            return;
        }
        if (_mm_getcsr() != m_iHostVector) _mm_setcsr(m_iHostVector);
        if (GetX87Exceptions() != 0) __asm__ volatile("fnclex");
    }

    HostEnvironment(const HostEnvironment&) = delete;
    HostEnvironment& operator=(const HostEnvironment&) = delete;

private:
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
        constexpr unsigned iVectorExceptions = 0x3f, iVectorDefault = 0x1f80, iX87Default = 0x37f;
        return (m_iHostVector & ~iVectorExceptions) == iVectorDefault &&
               GetX87Control() == iX87Default && GetX87Exceptions() == 0;
    }

    const unsigned m_iHostVector = _mm_getcsr();  ///< MXCSR
    const bool m_bDefault = IsDefault();
    std::fenv_t m_hostArithmetic;
    locale_t m_cLocale;
    locale_t m_hostLocale = nullptr;
};
