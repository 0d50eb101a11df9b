#pragma once

#include <cfenv>

#include <locale.h>

/// What the simulator has done to the calling thread must not show in our results: for as long as
/// this object lives the thread computes in the default floating-point environment (rounding to
/// nearest, denormals kept, no traps) and reads and writes numbers as in the C locale. Both are
/// put back as they were at its end.
class HostEnvironment
{
public:
    HostEnvironment() : m_cLocale(newlocale(LC_ALL_MASK, "C", nullptr))
    {
        std::fegetenv(&m_hostArithmetic);
        std::fesetenv(FE_DFL_ENV);
        if (m_cLocale) m_hostLocale = uselocale(m_cLocale);
    }

    ~HostEnvironment()
    {
        if (m_cLocale) {
            uselocale(m_hostLocale);
            freelocale(m_cLocale);
        }
        std::fesetenv(&m_hostArithmetic);
    }

    HostEnvironment(const HostEnvironment&) = delete;
    HostEnvironment& operator=(const HostEnvironment&) = delete;

private:
    std::fenv_t m_hostArithmetic;
    locale_t m_cLocale;
    locale_t m_hostLocale = nullptr;
};
