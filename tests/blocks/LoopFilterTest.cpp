#include "blocks/LoopFilter.hpp"
#include "tests/runtime/Support.hpp"

namespace {

/// One step of the filter, every term computed where it stands.
void Step(double& a, double& b, double I, double C1, double C2, double R, double T)
{
    const auto squared = [](double x) { return std::pow(x, 2.0); };
    const double D = std::exp(-(C1 + C2) * T / (C2 * C1 * R));
    const double Q = -C1 * C2 * b - squared(C1) * I * R - squared(C1) * a - C2 * C1 * a -
                     squared(C2) * b - I * T * C1 - I * T * C2 - C1 * D * C2 * b +
                     squared(C1) * D * I * R + squared(C1) * D * a + C1 * D * C2 * a -
                     squared(C1) * D * b;
    const double P = C1 * C2 * a + squared(C1) * a + C1 * C2 * b + squared(C2) * b -
                     C1 * C2 * R * I + I * T * C1 + I * T * C2 - squared(C2) * D * b +
                     C2 * D * I * C1 * R + C1 * D * C2 * a + squared(C2) * D * a - C1 * D * C2 * b;
    b = -Q / squared(C1 + C2);
    a = P / squared(C1 + C2);
}

TEST(LoopFilter, FollowsItsEquationsThroughEveryChangeOfParameters)
{
    // Capacitances with few digits: a power function and a product then agree about their squares.
    Awkward random{40};
    const auto capacitance = [&] {
        return std::ldexp(static_cast<double>(random.Below(1 << 20)), -40);
    };
    for (int iRound = 0; iRound < 300; ++iRound) {
        LoopFilter filter;
        filter.C1 = 2.2e-08;
        filter.C2 = 5e-11;
        filter.R = 100.0;
        filter.Icp = 2.5e-05;
        filter.SampleInterval = 3.1e-12;
        EXPECT_TRUE(filter.Initialize());
        double a = 0.0, b = 0.0, dPump = 0.0;
        for (int n = 0; n < 200; ++n) {
            const size_t iChange = iRound == 0 ? 99 : random.Below(40);
            if (iChange == 0) filter.C1 = capacitance();
            if (iChange == 1) filter.C2 = capacitance();
            if (iChange == 2) filter.R = 100.0 * random();
            if (iChange == 3) filter.Icp = 1e-5 * random();
            if (iChange == 4) filter.SampleInterval = 1e-9 * random();
            if (iChange == 5) a = filter.VC1 = random();
            if (iChange == 6) b = filter.VC2 = random();
            if (iChange == 7) dPump = filter.Ipump = random();
            static constexpr double inputs[] = {1.0, -1.0, 0.0, -0.0, 0.5, 2.0, -2.0, HUGE_VAL};
            const double dInput = filter.Input = inputs[random.Below(8)];
            if (std::fabs(dInput) <= 1.0 && dInput != 0.5)
                dPump = dInput == 0.0 ? 0.0 : dInput > 0 ? filter.Icp : -filter.Icp;
            Step(a, b, dPump, filter.C1, filter.C2, filter.R, filter.SampleInterval);
            ASSERT_TRUE(filter.Run());
            ASSERT_TRUE(Same(filter.Output, b) && Same(filter.VC2, b) && Same(filter.VC1, a))
                << iRound << ' ' << n;
        }
    }
}

TEST(LoopFilter, NeedsAPositiveInterval)
{
    for (const double dInterval : {0.0, -1e-12, std::nan("")}) {
        LoopFilter filter;
        filter.SampleInterval = dInterval;
        EXPECT_EQ(Posted([&] { EXPECT_FALSE(filter.Initialize()); }),
                  "SampleInterval must be a positive number.\n");
    }
}

}  // namespace
