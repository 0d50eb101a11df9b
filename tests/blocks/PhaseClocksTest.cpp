#include "blocks/PhaseClocks.hpp"

#include "tests/literal/LiteralBlocks.hpp"
#include "tests/runtime/Support.hpp"

namespace {

constexpr double dTwoPi = 6.283185307179586;

/// As the monitor is described: by one arcsine and 64 sines.
std::uint64_t LevelsFromSines(double t, double s)
{
    const double dPhase = literal::cos(t) - literal::cos(s) > 0.0
                              ? literal::asin(literal::cos(t))
                              : dTwoPi / 2 - literal::asin(literal::cos(t));
    std::uint64_t iLevels = 0;
    for (int k = 0; k < 64; ++k)
        iLevels |= std::uint64_t{literal::sin(dPhase - (k * dTwoPi) * 0.015625) >= 0.0} << k;
    return iLevels;
}

/// Counts how often the answer was plain; any must be right.
void Compare(double t, double s, int& iPlain)
{
    std::uint64_t iLevels = 0;
    if (!PhaseClocksFromPhase(t, s, iLevels)) return;
    ++iPlain;
    ASSERT_EQ(iLevels, LevelsFromSines(t, s)) << t << ", from " << s;
}

TEST(PhaseClocks, AgreeWithTheSinesWherePlain)
{
    Awkward random{1000};
    const int iTimes = Emulated ? 10000 : 100000;
    int iPlain = 0, iNear = 0, iNone = 0;
    for (int i = 0; i < 2 * iTimes; ++i) {
        const double t = random() * std::pow(10.0, random.Below(12));
        Compare(t, t - random() * 4, iPlain);
        const double u = random() * 1e4;
        Compare(u, u - dTwoPi / static_cast<double>(3 + random.Below(200)), iPlain);
    }
    EXPECT_GT(iPlain, 2 * iTimes);
    // At a boundary, or the middle at an extreme, or next to it.
    for (int i = 0; i < 3 * iTimes; ++i) {
        const double dNear = random() * std::pow(10.0, -static_cast<double>(random.Below(16)));
        const double dTurns = std::floor(random() * std::pow(10.0, random.Below(8))) / 64;
        const double t = dTurns * dTwoPi + dNear * 0.1, dStep = random() * 4;
        Compare(t, t - dStep, iNear);
        Compare(t, std::floor(t / dTwoPi * 2) * dTwoPi - t + dNear, iNear);
        Compare(t + dStep / 2, t - dStep / 2, iNear);
    }
    EXPECT_GT(iNear, iTimes);
    const double special[] = {0.0, HUGE_VAL, -HUGE_VAL, std::nan(""), 1e300, 1e8};
    for (const double t : special)
        for (const double s : special) Compare(t, s, iNone);
    EXPECT_EQ(iNone, 0);
}

}  // namespace
