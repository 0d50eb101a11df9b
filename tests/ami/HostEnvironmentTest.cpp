#include "ami/HostEnvironment.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cfenv>

namespace {

#ifdef __x86_64__

/// MXCSR, and the x87's control and status words.
struct Registers
{
    unsigned mxcsr = _mm_getcsr();
    unsigned short x87Control = 0, x87Status = 0;

    Registers()
    {
        __asm__ volatile("fnstcw %0" : "=m"(x87Control));
        __asm__ volatile("fnstsw %0" : "=m"(x87Status));
    }
};

/// Raises inexact in both units.
void Divide()
{
    volatile float vector = 3.0F;
    vector = 1.0F / vector;
    volatile long double x87 = 3.0L;
    x87 = 1.0L / x87;
}

#ifdef _WIN32
constexpr bool bX87 = false;  // is not looked at there
#else
constexpr bool bX87 = true;
#endif

/// The default for both units, wherever the C library leaves one of them alone.
void SetDefault()
{
    std::fesetenv(FE_DFL_ENV);
    _mm_setcsr(0x1f80);
}

TEST(HostEnvironment, IsTheDefaultInsideAndTheHostsOutside)
{
    std::fenv_t before;
    std::fegetenv(&before);
    for (const unsigned mxcsr : {0x1f80U, 0x1fbfU, 0x1fa0U, 0x7f80U, 0x9fc0U, 0x1d80U, 0x5f81U}) {
        for (const unsigned short x87Control :
             std::array<unsigned short, 4>{0x37f, 0x27f, 0x7f, 0xf7f}) {
            for (const bool raised : {false, true}) {
                SetDefault();
                if (raised) Divide();
                __asm__ volatile("fldcw %0" : : "m"(x87Control));
                _mm_setcsr(mxcsr);
                const Registers host;
                {
                    const HostEnvironment environment;
                    const Registers inside;
                    EXPECT_EQ(inside.mxcsr & ~0x3fU, 0x1f80U);
                    if (bX87) {
                        EXPECT_EQ(inside.x87Control, 0x37f);
                    }
                    Divide();
                }
                const Registers after;
                SetDefault();
                EXPECT_EQ(after.mxcsr, mxcsr) << x87Control << raised;
                EXPECT_EQ(after.x87Control, x87Control) << mxcsr << raised;
                if (bX87) {
                    EXPECT_EQ(after.x87Status & 0xff, host.x87Status & 0xff) << mxcsr << raised;
                }
            }
        }
    }
    std::fesetenv(&before);
}

#elif defined __aarch64__

unsigned long GetControl()
{
    unsigned long iControl = 0;
    __asm__ volatile("mrs %0, fpcr" : "=r"(iControl));
    return iControl;
}

TEST(HostEnvironment, IsTheDefaultInsideAndTheHostsOutside)
{
    constexpr unsigned long iFlushed = 1UL << 24, iUpwards = 1UL << 22;
    for (const unsigned long iHost : {0UL, iFlushed, iUpwards, iFlushed | iUpwards}) {
        __asm__ volatile("msr fpcr, %0" : : "r"(iHost));
        unsigned long iInside = 0;
        {
            const HostEnvironment environment;
            iInside = GetControl();
        }
        const unsigned long iAfter = GetControl();
        __asm__ volatile("msr fpcr, %0" : : "r"(0UL));
        EXPECT_EQ(iInside, 0U);
        EXPECT_EQ(iAfter, iHost);
    }
}

#endif

}  // namespace
