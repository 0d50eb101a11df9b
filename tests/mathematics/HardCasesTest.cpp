// The elementary functions where they are hardest to round, or special.

#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>

#include "mathematics/Exact.hpp"

namespace {

namespace Exact = Mathematics::Exact;

struct Case
{
    const char* Name;
    double (*Function)(double);
    double Argument, Result;
};

/// Of a million arguments of a regular form those whose value lies nearest to the middle between
/// two doubles, and a known worst one; then those next to multiples of a quarter turn, to the ends
/// of the range and to the least and largest doubles. Results by a library of many digits.
constexpr Case Cases[] = {
    {"Sin", Exact::Sin, 0x1.b000000000148p-20, 0x1.afffffffff478p-20},  // 2^-43 places
    {"Sin", Exact::Sin, 0x1.500000000009ap-20, 0x1.4fffffffffa93p-20},
    {"Sin", Exact::Sin, 0x1.500000000009bp-20, 0x1.4fffffffffa93p-20},
    {"Asin", Exact::Asin, 0x1.5p-20, 0x1.5000000000608p-20},
    {"Asin", Exact::Asin, 0x1.5000000000006p-20, 0x1.500000000060ep-20},
    {"Exp", Exact::Exp, 0x1.9e9cbbfd6080bp-31, 0x1.000000033d398p+0},  // 2^-58 places
    {"Exp", Exact::Exp, 0x1p-26, 0x1.0000004000001p+0},
    {"Exp", Exact::Exp, 0x1.0000000000005p-26, 0x1.0000004000001p+0},

    {"Cos", Exact::Cos, 0x1.6ac5b262ca1ffp+849, -0x1.14ae72e6ba22fp-61},  // the nearest of all
    {"Cos", Exact::Cos, 0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54},
    {"Cos", Exact::Cos, -0x1.921fb54442d18p+1, -1.0},
    {"Cos", Exact::Cos, 0x1.fffffffffffffp+1023, -0x1.fffe62ecfab75p-1},
    {"Cos", Exact::Cos, 0x1p-27, 1.0},
    {"Cos", Exact::Cos, HUGE_VAL, NAN},
    {"Sin", Exact::Sin, 0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53},
    {"Sin", Exact::Sin, -0x1.fffffffffffffp+1023, -0x1.452fc98b34e97p-8},
    {"Sin", Exact::Sin, -0x1p-27, -0x1p-27},
    {"Sin", Exact::Sin, -0.0, -0.0},
    {"Sin", Exact::Sin, NAN, NAN},
    {"Asin", Exact::Asin, 0x1.fffffffffffffp-1, 0x1.921fb50442d18p+0},
    {"Asin", Exact::Asin, -1.0, -0x1.921fb54442d18p+0},
    {"Asin", Exact::Asin, 0.5, 0x1.0c152382d7366p-1},
    {"Asin", Exact::Asin, -0.0, -0.0},
    {"Asin", Exact::Asin, 0x1.0000000000001p+0, NAN},
    {"Exp", Exact::Exp, 0x1.62e42fefa39efp+9, 0x1.fffffffffff2ap+1023},
    {"Exp", Exact::Exp, 0x1.62e42fefa39fp+9, HUGE_VAL},
    {"Exp", Exact::Exp, -0x1.6232bdd7abcd3p+9, 0x0.ffffffffffe7cp-1022},
    {"Exp", Exact::Exp, -0x1.74910d52d3051p+9, 0x1p-1074},
    {"Exp", Exact::Exp, -0x1.74910d52d3052p+9, 0.0},
    {"Exp", Exact::Exp, -HUGE_VAL, 0.0},
    {"Exp", Exact::Exp, NAN, NAN},
};

TEST(ExactMathematics, RoundsHardCasesInEveryRoundingMode)
{
    for (const int iMode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        for (const Case& c : Cases) {
            std::fesetround(iMode);
            const double result = c.Function(c.Argument);
            std::fesetround(FE_TONEAREST);
            SCOPED_TRACE(testing::Message() << c.Name << " of " << c.Argument << ": " << result);
            if (std::isnan(c.Result))
                EXPECT_TRUE(std::isnan(result));
            else
                EXPECT_EQ(std::bit_cast<std::uint64_t>(result),
                          std::bit_cast<std::uint64_t>(c.Result));
        }
    }
}

}  // namespace
