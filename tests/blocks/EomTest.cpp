#include "blocks/EOM.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>

#include "tests/TemporaryFolder.hpp"
#include "tests/literal/LiteralBlocks.hpp"
#include "tests/runtime/Support.hpp"

namespace {

/// A sine at the very place where a phase clock changes, or next to it; now and then any other.
double Boundary(Awkward& random)
{
    double dSine = std::sin(static_cast<double>(random.Below(64)) * 6.283185307179586 / 64);
    for (size_t i = random.Below(4); i > 0; --i) dSine = std::nextafter(dSine, random());
    return random.Below(10) == 0 ? random() * 1.5 : dSine;
}

/// Measures with one kind of sine and one of signal.
void CompareWithPlainMonitor(int iBits, size_t iSine, size_t iSignal, bool bOscillator)
{
    const TemporaryFolder folder;
    const auto plain = std::make_unique<literal::EyeMonitor>();
    const auto eom = std::make_unique<EOM>();
    const literal::Eye& eye = plain->eye;
    Awkward random{10};
    int iClock = 0, iStart = 0, iReady = 7, iRange = 0, iHEO = 0, iVEO = 0, iOpening = 0;
    double dSignal = 0.0, dSine = 0.0, sines[64], dTurn = 0.0;
    int clocks[64];
    std::string log;
    ASSERT_TRUE(eom->Setup());
    Attach(eom->Clock, iClock, eom->Start, iStart, eom->Signal, dSignal, eom->ClockSine, dSine,
           eom->EyeReady, iReady, eom->Range, iRange, eom->HEO, iHEO, eom->VEO, iVEO,
           eom->MinOpening, iOpening);
    for (size_t k = 0; k < 64; ++k)
        Attach(eom->PhaseSines[k], sines[k], eom->PhaseClocks[k], clocks[k]);
    plain->eyeReady = iReady;
    plain->bits = eom->EOMNbits = iBits;
    Vantor::VCO oscillator;  // turns by as many radians as it has volts
    Attach(oscillator.Control, dTurn, oscillator.Clock, iClock);
    oscillator.FreeRunningFrequency = 0.0;
    oscillator.SampleInterval = 1.0;
    oscillator.Sensitivity = 0.15915494309189535;
    oscillator.SineOnRequest = true;
    ASSERT_TRUE(oscillator.Initialize());
    if (bOscillator) eom->Oscillator = &oscillator;
    ASSERT_TRUE(eom->Initialize());
    for (int n = 0; n < (Emulated ? 400 : 4000); ++n) {
        const double s = plain->scale,
                     dStep = static_cast<double>(random.Below(130)) * s * 0.015625;
        const double kindsOfSine[] = {std::cos(0.3 * n), std::cos(2.9 * n), Boundary(random)};
        const int iStep = n / 20 % 2 == 0 ? 123 : iSignal == 1 ? -63 : -61;  // 60 or 59 bins open
        const double kindsOfSignal[] = {2 * s * random(), iStep * s / 64, iStep * s / 64, dStep - s,
                                        s * std::sin(0.145 * n)};
        const double kindsOfTurn[] = {0.3, 2.9, static_cast<double>(random.Below(90)) * 0.05};
        dTurn = kindsOfTurn[iSine];
        ASSERT_TRUE(oscillator.Run());
        dSine = bOscillator ? oscillator.SineAt(oscillator.GetState().Theta) : kindsOfSine[iSine];
        dSignal = kindsOfSignal[iSignal];
        iClock = random.Below(20) == 0 ? 2 : dSine > 0.0;
        // Often enough for the range to go up to its end, seldom enough for a measurement to end.
        const size_t iSeldom = iBits > 1000 ? 4000 : iBits > 20 ? 800 : 100;
        iStart = n == 9 || random.Below(iSeldom) == 0 ? static_cast<int>(1 + random.Below(2)) : 0;
        const bool bCounts = plain->fire(iClock, dSignal, dSine, iStart, log);
        if (bOscillator) dSine = 77.0;  // not read
        ASSERT_TRUE(eom->Run());
        ASSERT_EQ(
            (std::array{iReady, iRange, iHEO, iVEO, iOpening}),
            (std::array{plain->eyeReady, eye.range, eye.heo, eye.veo, std::min(eye.heo, eye.veo)}))
            << n;
        ASSERT_TRUE(n % 50 > 0 || std::memcmp(plain->hits, eom->Hist, sizeof plain->hits) == 0)
            << n;
        for (size_t k = 0; k < 64; ++k) {
            const int iLevel = plain->phaseClock[k];
            ASSERT_EQ(static_cast<int>(eom->PrevPhaseClocks >> k & 1), iLevel) << n;
            if (bOscillator) continue;
            ASSERT_TRUE(Same(sines[k], bCounts ? plain->phaseSine[k] : 0.0)) << n;
            ASSERT_EQ(clocks[k], bCounts ? iLevel : 0) << n;
        }
    }
    EXPECT_EQ(FileText("EOM.txt"), log);
}

TEST(EOM, MeasuresAsDescribedFromItsSineOrItsOscillator)
{
    for (const int iBits : {-3, 1, 20, 100, 1500})
        for (const size_t iSine : {0U, 1U, 2U})
            for (const size_t iSignal : {0U, 1U, 2U, 3U, 4U})
                for (const bool bOscillator : {false, true}) {
                    SCOPED_TRACE(testing::Message()
                                 << iBits << ' ' << iSine << ' ' << iSignal << ' ' << bOscillator);
                    CompareWithPlainMonitor(iBits, iSine, iSignal, bOscillator);
                }
}

}  // namespace
