#include "blocks/Delay.hpp"
#include "blocks/PFD.hpp"
#include "tests/runtime/Support.hpp"

namespace {

TEST(Delay, IsAQuarterPeriodLate)
{
    Delay delay;
    double dInput = 0.0;
    Attach(delay.Input, dInput);
    EXPECT_TRUE(delay.Initialize());
    const double dRoot = std::sqrt(0.75);
    const struct
    {
        double dInput, dOutput;
    } table[] = {{0.0, -1.0},  // nothing changes: as if it rose
                 {0.5, -dRoot},  {0.5, -dRoot}, {-0.5, dRoot}, {-1.0, 0.0},
                 {-0.5, -dRoot}, {1.0, 0.0},    {0.5, dRoot},  {1.5, std::nan("")}};
    for (const auto& row : table) {
        dInput = row.dInput;
        EXPECT_TRUE(delay.Run());
        if (std::isnan(row.dOutput))
            EXPECT_TRUE(std::isnan(delay.Output));
        else
            EXPECT_NEAR(delay.Output, row.dOutput, 1e-15) << dInput;
    }
}

TEST(PFD, AnswersWhereTheInPhaseSignChangesBetweenTransitions)
{
    // A column for each firing; a 0 counts as negative, and makes no transition after a negative.
    const std::string data = "++-0+0+-+-+", inPhase = "+--+0+-+-+-", quadrature = "-+--+0-+--+",
                      error = "--+++-+0+-0";
    const auto sign = [](char c) { return (c == '+') - (c == '-'); };
    PFD detector;
    for (size_t n = 0; n < data.size(); ++n) {
        detector.Data = sign(data[n]);
        detector.InPhase = sign(inPhase[n]);
        detector.Quadrature = sign(quadrature[n]);
        EXPECT_TRUE(detector.Run());
        EXPECT_EQ(detector.PhaseError, sign(error[n])) << n;
    }
}

}  // namespace
