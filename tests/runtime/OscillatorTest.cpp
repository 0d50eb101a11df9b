#include "runtime/ClockTimes.hpp"
#include "runtime/CosineSign.hpp"
#include "runtime/VCO.hpp"
#include "tests/literal/LiteralBlocks.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;

constexpr double dPi = 3.141592653589793;

TEST(CosineIsPositive, AgreesWithTheCosine)
{
    Awkward random{1000};
    const auto agrees = [](double t) { return CosineIsPositive(t) == (Mathematics::Cos(t) > 0.0); };
    for (int i = 0; i < 500000; ++i) {
        const double t = random() * std::pow(10.0, random.Below(25));
        ASSERT_TRUE(agrees(t)) << t;
    }
    for (int i = 0; i < 20000; ++i) {  // the doubles around a zero, the margin, and in between
        const double dZero = std::floor(random() * std::pow(10.0, random.Below(9))) + 0.5;
        double t = dZero * dPi;
        for (int k = 0; k < 4; ++k) t = std::nextafter(t, -1e300);
        for (int k = 0; k < 8; ++k, t = std::nextafter(t, 1e300)) ASSERT_TRUE(agrees(t)) << t;
        for (const double dAway : {1e-12, 1e-9, 1e-7, 1.01e-7, 1e-6, 1e-3, 1.0})
            for (const double dPart : {-1.0, random(), 1.0})
                ASSERT_TRUE(agrees((dZero + dPart * dAway) * dPi)) << dZero;
    }
    for (const double t : {0.0, 1e8, HUGE_VAL, std::nan("")}) EXPECT_TRUE(agrees(t) && agrees(-t));
}

TEST(VCO, GivesTheSameClockAndSinesOnRequest)
{
    Awkward finite{50, true}, any{100};
    for (int iRound = 0; iRound < 200; ++iRound) {
        double dControl = 0.0, dPreviousSine = 0.0, sines[2];
        int clocks[2];
        VCO plain, onRequest;
        Attach(plain.Control, dControl, plain.Sine, sines[0], plain.Clock, clocks[0]);
        Attach(onRequest.Control, dControl, onRequest.Sine, sines[1], onRequest.Clock, clocks[1]);
        for (VCO* const vco : {&plain, &onRequest}) {
            vco->SampleInterval = 3.1e-12;
            vco->FreeRunningFrequency = 1.03e10 + iRound * 7e6;
            vco->Sensitivity = iRound % 4 ? 1e7 * iRound : 1e10;
            vco->InitialPhase = iRound * 0.37;
            ASSERT_TRUE(vco->Initialize() && vco->Run() && vco->Initialize());
        }
        onRequest.SineOnRequest = true;
        literal::Vco twin{3.1e-12, plain.FreeRunningFrequency, plain.Sensitivity,
                          plain.InitialPhase};
        for (int n = 0; n < 500; ++n) {
            dControl = iRound % 2 == 0 ? finite() : any();
            ASSERT_TRUE(plain.Run() && onRequest.Run());
            twin.fire(dControl);
            ASSERT_TRUE(Same(sines[0], twin.sine)) << n;
            ASSERT_EQ(clocks[0], twin.clock) << n;
            ASSERT_EQ(clocks[1], clocks[0]) << n;
            ASSERT_TRUE(n == 0 || Same(onRequest.PreviousSine(), dPreviousSine)) << n;
            dPreviousSine = sines[0];
            if (n % 7 == 0) onRequest.WriteSine();
            ASSERT_TRUE(n % 7 != 0 || Same(sines[1], sines[0])) << n;
        }
        onRequest.Amplitude = -3.0;
        EXPECT_EQ(onRequest.SineAt(0.0), -3.0);
        plain.SampleInterval = -3.1e-12 * (iRound % 2);
        EXPECT_EQ(Posted([&] { EXPECT_FALSE(plain.Initialize()); }),
                  "SampleInterval must be a positive number.\n");
    }
}

TEST(ClockTimes, GivesTheFirstSampleAtTheNewLevel)
{
    const struct
    {
        int iEdgeKind;
        std::string clock, edges;  // levels from a = -1 on; which of them are reported
    } table[] = {
        // clang-format off
        {1, "ccbc", "...x"},
        {1, "bcdac", ".x..x"},
        {0, "bbccbda", "....x.x"},
        {2, "bcbc", "...."},
        // clang-format on
    };
    int iClock = 0;
    double dEdgeTime = 0.0;
    ClockTimes times;
    Attach(times.Clock, iClock, times.EdgeTime, dEdgeTime);
    for (const auto& row : table) {
        times.EdgeKind = row.iEdgeKind;
        times.TimeOffset = 3e-11;
        ASSERT_TRUE(times.Initialize());
        for (size_t n = 0; n < row.clock.size(); ++n) {
            iClock = row.clock[n] - 'b';
            ASSERT_TRUE(times.Run());
            EXPECT_EQ(dEdgeTime,
                      row.edges[n] == '.' ? -1.0 : static_cast<double>(n) * 1e-10 + 3e-11);
        }
    }
    times.SampleInterval = 0.0;
    EXPECT_EQ(Posted([&] { EXPECT_FALSE(times.Initialize()); }),
              "SampleInterval must be larger than 0.\n");
}

}  // namespace
