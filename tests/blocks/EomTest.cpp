#include "blocks/EOM.hpp"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>

#include "tests/TemporaryFolder.hpp"
#include "tests/runtime/Support.hpp"

namespace {

struct Inputs
{
    int iStart = 0, iClock = 0;
    double dSine = 0.0, dSignal = 0.0;
};

/// The monitor as it is described, firing by firing.
struct PlainMonitor
{
    int EOMNbits = 0, iCount = 0, iRange = 0, iHEO = 64, iVEO = 0, iReady = 7, clocks[64] = {};
    double Hist[64][64] = {}, sines[64] = {}, dScale = 0.1;
    bool bMeasuring = false;
    std::uint64_t iPreviousClocks = 0;
    Inputs previous;
    std::ostringstream log;

    void Fire(const Inputs& in)
    {
        double dThreshold = -dScale;
        if (in.iStart == 1 && previous.iStart == 0) {
            std::memset(Hist, 0, sizeof Hist);
            iPreviousClocks = 0;
            iCount = iReady = 0;
            bMeasuring = true;
        }
        if (iCount < EOMNbits) iReady = 0;
        const bool bCounts = bMeasuring;
        if (bCounts && in.iClock == 1 && previous.iClock == 0 && ++iCount >= EOMNbits) Complete();
        const bool bRising = in.dSine - previous.dSine > 0.0;
        const double dPhase =
            bRising ? std::asin(in.dSine) : 3.141592653589793 - std::asin(in.dSine);
        std::uint64_t iClocks = 0;
        for (int k = 0; k < 64; ++k) {
            sines[k] = bCounts ? std::sin(dPhase - (k * 6.283185307179586) * 0.015625) : 0.0;
            clocks[k] = bCounts && sines[k] >= 0.0;
            iClocks |= std::uint64_t{clocks[k] == 1} << k;
            if (!bCounts || clocks[k] == 1 || (iPreviousClocks >> k & 1) == 0) continue;
            int b = 0;
            while (b < 64 && in.dSignal > dThreshold)
                dThreshold = (2 * b++ + 2) * dScale * 0.015625 - dScale;
            Hist[k][std::min(b, 63)] += 1.0;
        }
        if (bCounts) iPreviousClocks = iClocks;
        previous = in;
    }

    void Complete()
    {
        log << " Print EOM data to file \n";
        for (int j = 63; j >= 0; --j, log << '\n')
            for (int i = 0; i < 64; ++i) log << Hist[i][j] << '\t';
        iReady = 1;
        bMeasuring = false;
        iHEO = 64;
        int iStart = 0;
        for (int j = 30; j < 35; ++j) {
            const auto [iRun, iRunStart] = WidestRun(&Hist[0][j], 64);
            if (iRun < iHEO) iHEO = iRun, iStart = iRunStart;
        }
        iVEO = iHEO > 1 ? WidestRun(Hist[iStart + iHEO / 2], 1).first : 0;
        if (iRange <= 2 && iVEO >= 60) dScale = (++iRange + 1) * 0.1;
    }

    /// The first of the widest runs of open bins and its start; one from bin 0 counts one less.
    std::pair<int, int> WidestRun(const double* pBins, int iStride) const
    {
        std::pair<int, int> widest;
        for (int i = 0, iStart = 0; i < 64; ++i) {
            const int iRun = i + (iStart > 0) - iStart;
            if (pBins[i * iStride] > EOMNbits * 0.001)
                iStart = i + 1;
            else if (iRun > widest.first)
                widest = {iRun, iStart};
        }
        return widest;
    }
};

/// A sine at the very place where a phase clock changes, or next to it; now and then any other.
double Boundary(Awkward& random)
{
    double dSine = std::sin(static_cast<double>(random.Below(64)) * 6.283185307179586 / 64);
    for (size_t i = random.Below(4); i > 0; --i) dSine = std::nextafter(dSine, random());
    return random.Below(10) == 0 ? random() * 1.5 : dSine;
}

/// Measures with one kind of sine and one of signal.
void CompareWithPlainMonitor(int iBits, size_t iSine, size_t iSignal, bool bUnread)
{
    const TemporaryFolder folder;
    const auto plain = std::make_unique<PlainMonitor>();
    const auto eom = std::make_unique<EOM>();
    Awkward random{10};
    Inputs in;
    int results[5] = {7}, clocks[64];
    double sines[64];
    ASSERT_TRUE(eom->Setup());
    Attach(eom->Clock, in.iClock, eom->Start, in.iStart, eom->Signal, in.dSignal, eom->ClockSine,
           in.dSine, eom->EyeReady, results[0], eom->Range, results[1], eom->HEO, results[2],
           eom->VEO, results[3], eom->MinOpening, results[4]);
    for (size_t k = 0; k < 64; ++k)
        Attach(eom->PhaseSines[k], sines[k], eom->PhaseClocks[k], clocks[k]);
    plain->EOMNbits = eom->EOMNbits = iBits;
    eom->PhasesUnread = bUnread;
    ASSERT_TRUE(eom->Initialize());
    for (int n = 0; n < 4000; ++n) {
        const double s = plain->dScale,
                     dStep = static_cast<double>(random.Below(130)) * s * 0.015625;
        const double kindsOfSine[] = {std::cos(0.3 * n), std::cos(2.9 * n), Boundary(random)};
        const int iStep = n / 20 % 2 == 0 ? 123 : iSignal == 1 ? -63 : -61;  // 60 or 59 bins open
        const double kindsOfSignal[] = {2 * s * random(), iStep * s / 64, iStep * s / 64, dStep - s,
                                        s * std::sin(0.145 * n)};
        in.dSine = kindsOfSine[iSine];
        in.dSignal = kindsOfSignal[iSignal];
        in.iClock = random.Below(20) == 0 ? 2 : in.dSine > 0.0;
        in.iStart = n == 9 || random.Below(iBits > 1000 ? 4000 : 300) == 0
                        ? static_cast<int>(1 + random.Below(2))
                        : 0;
        plain->Fire(in);
        ASSERT_TRUE(eom->Run());
        const int expected[] = {plain->iReady, plain->iRange, plain->iHEO, plain->iVEO,
                                std::min(plain->iVEO, plain->iHEO)};
        ASSERT_TRUE(std::equal(results, results + 5, expected)) << n;
        ASSERT_EQ(eom->PrevPhaseClocks, plain->iPreviousClocks) << n;
        ASSERT_TRUE(n % 50 > 0 || std::memcmp(plain->Hist, eom->Hist, sizeof plain->Hist) == 0)
            << n;
        if (bUnread) continue;
        ASSERT_TRUE(std::equal(sines, sines + 64, plain->sines, Same)) << n;
        ASSERT_TRUE(std::equal(clocks, clocks + 64, plain->clocks)) << n;
    }
    EXPECT_EQ((std::ostringstream() << std::ifstream("EOM.txt").rdbuf()).str(), plain->log.str());
}

TEST(EOM, MeasuresAsDescribedWhetherItsPhasesAreReadOrNot)
{
    for (const int iBits : {-3, 1, 20, 200, 1500})
        for (const size_t iSine : {0U, 1U, 2U})
            for (const size_t iSignal : {0U, 1U, 2U, 3U, 4U})
                for (const bool bUnread : {false, true}) {
                    SCOPED_TRACE(testing::Message()
                                 << iBits << ' ' << iSine << ' ' << iSignal << ' ' << bUnread);
                    CompareWithPlainMonitor(iBits, iSine, iSignal, bUnread);
                }
}

}  // namespace
