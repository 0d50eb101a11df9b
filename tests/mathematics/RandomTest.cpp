// The elementary functions against a library of many digits. RETIMER_MATHS_ARGUMENTS sets how many
// arguments each is tried with.

#include <gtest/gtest.h>
#include <mpfr.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>

#include "mathematics/Exact.hpp"

namespace {

namespace Exact = Mathematics::Exact;

struct Function
{
    const char* Name;
    double (*Ours)(double);
    int (*Theirs)(mpfr_t, const mpfr_t, mpfr_rnd_t);
};

/// By turns any double, and one from the ranges that the receiver asks for.
double Draw(std::mt19937_64& random, long i)
{
    const double unit = static_cast<double>(random() >> 11) * 0x1p-53;
    switch (i % 5) {
        case 0:
            return std::bit_cast<double>(random());
        case 1:
            return 2 * unit - 1;
        case 2:
            return unit * 6.4e6;
        case 3:
            return -std::exp2(40 * unit - 30);
        default:
            return std::ldexp(2 * unit - 1, -static_cast<int>(random() % 60));
    }
}

TEST(ExactMathematics, GivesTheNearestDouble)
{
    const char* const setting = std::getenv("RETIMER_MATHS_ARGUMENTS");
    const long arguments = setting ? std::atol(setting) : 40'000;
    mpfr_set_emin(-1073);  // as if doubles had no other exponents
    mpfr_set_emax(1024);
    mpfr_t number;
    mpfr_init2(number, 53);
    std::mt19937_64 random(1);
    for (const Function& function :
         {Function{"cos", Exact::Cos, mpfr_cos}, Function{"sin", Exact::Sin, mpfr_sin},
          Function{"asin", Exact::Asin, mpfr_asin}, Function{"exp", Exact::Exp, mpfr_exp}}) {
        for (long i = 0; i < arguments; ++i) {
            const double argument = Draw(random, i);
            mpfr_set_d(number, argument, MPFR_RNDN);
            const int inexact = function.Theirs(number, number, MPFR_RNDN);
            mpfr_subnormalize(number, inexact, MPFR_RNDN);
            const double expected = mpfr_get_d(number, MPFR_RNDN);
            const double result = function.Ours(argument);
            ASSERT_TRUE(std::bit_cast<std::uint64_t>(result) ==
                            std::bit_cast<std::uint64_t>(expected) ||
                        (std::isnan(result) && std::isnan(expected)))
                << function.Name << " of " << argument << ": " << result << " instead of "
                << expected;
        }
    }
    mpfr_clear(number);
}

}  // namespace
