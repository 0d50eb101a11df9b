#include <algorithm>

#include "runtime/Interpolators.hpp"
#include "runtime/TimeResponseFIR.hpp"
#include "tests/runtime/Support.hpp"

namespace {

using namespace Vantor;
using Spline = Interpolators<double>;
using Numbers = std::vector<double>;

/// Gives a response its table; both vectors stay the caller's.
void SetTable(TimeResponseFIR& response, Numbers& stamps, Numbers& values)
{
    response.m_pdTimeStamps = stamps.data();
    response.m_pdResponse = values.data();
    response.NumberOfTimeStamps = static_cast<int>(stamps.size());
    response.NumberOfResponseValues = static_cast<int>(values.size());
}

TEST(TimeResponseFIR, RefusesATableThatIsNotValid)
{
    const std::string
        four = "At least 4 response coefficients are required for input ",
        type =
            "Inavlid ResponseType is specified, it can be either Impulse Response or Step Response",
        counts =
            "Number of coefficients in response must be same as the number of values in time "
            "stamps",
        rate = "SampleRate must be > 0.0", taps = "There must be at least one Tap",
        order = ". Time stamps must be in non-repeating ascending order.",
        equal = "ResponseTimeStamps[3] = 2  <= ResponseTimeStamps[2] = 2" + order,
        falling = "ResponseTimeStamps[3] = 9  <= ResponseTimeStamps[2] = 1.23457e+06" + order;
    const struct
    {
        int iType;
        double dRate;
        size_t iValues;
        Numbers stamps, shifted;
        std::string posted;
    } table[] = {
        {0, 0.0, 3, {1, 2, 3}, {1, 2, 3}, four + "impulse response"},
        {1, 1.0, 3, {1, 2, 3, 4}, {1, 2, 3, 4}, four + "step response"},
        {5, 1.0, 3, {1, 2}, {1, 2}, type},
        {0, 0.0, 4, {1, 2, 3}, {1, 2, 3}, counts},
        {1, 0.0, 4, {1, 2, 3, 4}, {1, 2, 3, 4}, rate},
        {1, 1.0, 4, {0, 2, 2, 3}, {0, 2, 2, 3}, equal},
        {0, 1.0, 4, {7, 1234567, 9, 8}, {0, 1234560, 2, 8}, falling},
        {0, 1e10, 4, {5, 6, 7, 8}, {0, 1, 2, 3}, taps},  // more taps than an int counts
    };
    for (const auto& row : table) {
        TimeResponseFIR response;
        Numbers stamps = row.stamps, values(row.iValues);
        SetTable(response, stamps, values);
        response.ResponseType = row.iType;
        response.SampleRate = row.dRate;
        EXPECT_EQ(Posted([&] { EXPECT_FALSE(response.Setup()); }), row.posted + "\n");
        EXPECT_EQ(stamps, row.shifted);
        EXPECT_EQ(response.Taps, nullptr);
    }
}

TEST(TimeResponseFIR, DifferentiatesAStepResponse)
{
    // 2 - t + 3 t^2 from its first stamp on, at stamps that no tap but the first falls on.
    Numbers stamps = {4.75, 5.1, 6.3, 6.8, 8.85}, values;
    for (const double dStamp : stamps) {
        const double t = dStamp - stamps[0];
        values.push_back(2 - t + 3 * t * t);
    }
    TimeResponseFIR response;
    SetTable(response, stamps, values);
    response.SampleRate = 4.0;
    response.ResponseType = 1;
    ASSERT_TRUE(response.Setup());
    ASSERT_EQ(response.NumberOfTaps, 17);
    for (int k = 0; k < 17; ++k)
        EXPECT_NEAR(response.Taps[k], (-1 + 6 * k / 4.0) / 4.0, 1e-12) << k;
}

TEST(TimeResponseFIR, InterpolatesAnImpulseResponseByTheFourPointsAround)
{
    Numbers stamps = {0, 1, 2, 3, 4, 5}, values = {0, 3, -1, 2, 0.5, 4};
    TimeResponseFIR response;
    SetTable(response, stamps, values);
    response.SampleRate = 4.0;
    response.ResponseType = 0;
    ASSERT_TRUE(response.Setup());
    ASSERT_EQ(response.NumberOfTaps, 21);
    Spline spline;
    for (int k = 0; k < 21; ++k) {
        const int iFirst = std::clamp((k + 3) / 4 - 1, 0, 2);
        const double dExpected = spline.CubicSpline(
            4, k / 4.0, &stamps[static_cast<size_t>(iFirst)], &values[static_cast<size_t>(iFirst)]);
        const bool bAtStamp = k % 4 == 0;
        EXPECT_EQ(response.Taps[k], (bAtStamp ? values[static_cast<size_t>(k / 4)] : dExpected) / 4)
            << k;
    }
}

TEST(Interpolators, CubicSplineReproducesCubicsFromRisingTimes)
{
    const auto cubic = [](double t) { return 1 + t * (-2 + t * (0.5 + t * 0.25)); };
    double x[] = {-1, 0, 0.5, 2, 3}, y[5], b[5], c[5], d[5];
    for (int i = 0; i < 5; ++i) y[i] = cubic(x[i]);
    Spline spline;
    for (const size_t n : {4U, 5U, 4U})
        for (double t = -2.0; t < 5.0; t += 0.125)
            EXPECT_NEAR(spline.CubicSpline(n, t, x, y), cubic(t), 1e-13);
    EXPECT_EQ(spline.GetErrorCode(), 0);
    const auto code = [&](int n) { return Spline::Spline(n, 0, 0, 0.0, 0.0, x, y, b, c, d); };
    EXPECT_EQ(code(2), 0);
    for (const int i : {0, 1}) EXPECT_TRUE(b[i] == y[1] - y[0] && c[i] == 0.0 && d[i] == 0.0);
    EXPECT_EQ(code(1), 1);
    EXPECT_EQ(Spline::Spline(5, 1, 1, 7.0, -5.0, x, y, b, c, d), 0);
    EXPECT_NEAR(b[0], 7.0, 1e-13);
    EXPECT_NEAR(b[4], -5.0, 1e-13);
    x[2] = 0.0;
    EXPECT_EQ(code(3), 2);
}

TEST(InterpolatorsDeathTest, MisuseEndsTheProcessWithTheCondition)
{
    double x[] = {-1, 0, 0}, y[] = {1, 2, 3};
    Spline spline;
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, x, y), Assertion("Interpolators", "false"));
    EXPECT_DEATH(spline.CubicSpline(2, 0.5, x, y), Assertion("Interpolators", "iBufferSize > 2"));
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, nullptr, y), Assertion("Interpolators", "pastT"));
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, x, nullptr), Assertion("Interpolators", "pastV"));
}

}  // namespace
