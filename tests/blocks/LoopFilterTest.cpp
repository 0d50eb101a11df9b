#include "blocks/LoopFilter.hpp"
#include "tests/literal/LiteralBlocks.hpp"
#include "tests/runtime/Support.hpp"

namespace {

TEST(LoopFilter, FollowsItsEquationsThroughEveryChangeOfParameters)
{
    Awkward random{40};
    const auto capacitance = [&] { return 1e-12 * static_cast<double>(random.Below(1 << 20)); };
    for (int iRound = 0; iRound < 300; ++iRound) {
        literal::LoopFilter plain;
        LoopFilter filter;
        filter.C1 = plain.C1;
        filter.C2 = plain.C2;
        filter.R = plain.R;
        filter.Icp = plain.Icp;
        filter.SampleInterval = plain.sampleInterval = 3.1e-12;
        EXPECT_TRUE(filter.Initialize());
        for (int n = 0; n < 200; ++n) {
            const size_t iChange = iRound == 0 ? 99 : random.Below(40);
            if (iChange == 0) filter.C1 = plain.C1 = capacitance();
            if (iChange == 1) filter.C2 = plain.C2 = capacitance();
            if (iChange == 2) filter.R = plain.R = 100.0 * random();
            if (iChange == 3) filter.Icp = plain.Icp = 1e-5 * random();
            if (iChange == 4) filter.SampleInterval = plain.sampleInterval = 1e-9 * random();
            if (iChange == 5) filter.VC1 = plain.VC1 = random();
            if (iChange == 6) filter.VC2 = plain.VC2 = random();
            if (iChange == 7) filter.Ipump = plain.Ipump = random();
            static constexpr double inputs[] = {1.0, -1.0, 0.0, -0.0, 0.5, 2.0, -2.0, HUGE_VAL};
            plain.fire(filter.Input = inputs[random.Below(8)]);
            ASSERT_TRUE(filter.Run());
            ASSERT_TRUE(Same(filter.Output, plain.VC2) && Same(filter.VC2, plain.VC2) &&
                        Same(filter.VC1, plain.VC1))
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
