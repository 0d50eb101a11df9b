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
        {-1, 0.0, 4, {1, 2, 3, 4}, {1, 2, 3, 4}, type},
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

TEST(TimeResponseFIR, TakesItsTapsFromThePointsAroundThem)
{
    Awkward random{1000000};
    for (int iRound = 0; iRound < 400; ++iRound) {
        const size_t n = 4 + random.Below(8);
        Numbers values = random.Vector(n), stamps{iRound % 4 < 2 ? 0.0 : 4.75}, shifted{0.0};
        while (shifted.size() < n) {
            shifted.push_back(shifted.back() + 0.25 * static_cast<double>(1 + random.Below(9)));
            stamps.push_back(stamps.front() + shifted.back());
        }
        TimeResponseFIR response;
        SetTable(response, stamps, values);
        response.SampleRate = iRound % 2 == 0 ? 4.0 : 3.0 + 2.5 * random();  // on the stamps or off
        for (const int iType : {1, 0}) {
            ASSERT_EQ(std::exchange(response.ResponseType, iType), 1);
            ASSERT_TRUE(response.Setup());
            ASSERT_EQ(stamps, shifted);
            ASSERT_EQ(response.NumberOfTaps,
                      static_cast<int>(response.SampleRate * stamps.back()) + 1);
            for (int k = 0; k < response.NumberOfTaps; ++k) {
                const double t = k / response.SampleRate;
                const auto iNext = static_cast<size_t>(
                    std::lower_bound(stamps.begin(), stamps.end() - 1, t) - stamps.begin());
                const size_t iFirst = std::clamp<size_t>(iNext, 1, n - 3) - 1;
                double* const x = &stamps[iFirst];
                double* const y = &values[iFirst];
                double dValue = response.AnalyticalDifferntiation(t, x, y), b[4], c[4], d[4];
                int iLast = 0;
                Spline::Spline(4, 0, 0, 0.0, 0.0, x, y, b, c, d);
                if (iType == 0) dValue = Spline::EvalSpline(4, t, x, y, b, c, d, iLast);
                if (iType == 0 && stamps[iNext] == t) dValue = values[iNext];
                ASSERT_TRUE(Same(response.Taps[k], dValue / response.SampleRate))
                    << iType << ' ' << k;
            }
        }
    }
    double x[] = {-1, 0.5, 3}, y[] = {6, 2.25, 26};  // of 2 - t + 3 t^2
    for (const double t : {-2.0, -1.0, 0.5, 1.7, 9.0})
        EXPECT_NEAR(TimeResponseFIR().AnalyticalDifferntiation(t, x, y), -1 + 6 * t, 1e-12);
}

TEST(Interpolators, SplineIsSmoothAndMeetsItsEndConditions)
{
    Awkward random{1000000};
    for (int iRound = 0; iRound < 400; ++iRound) {
        const size_t n = 3 + random.Below(7), m = n - 1;
        const int iEnd1 = iRound & 1, iEnd2 = iRound >> 1 & 1;
        Numbers x{random()}, b(n), c(n), d(n);
        while (x.size() < n) x.push_back(x.back() + 0.5 + std::fabs(random()));
        const Numbers y = random.Vector(n);
        ASSERT_EQ(Spline::Spline(static_cast<int>(n), iEnd1, iEnd2, 0.3, -0.7, &x[0], &y[0], &b[0],
                                 &c[0], &d[0]),
                  0);
        for (size_t i = 0; i < m; ++i) {  // value, slope and curvature meet at the next point
            const double u = x[i + 1] - x[i];
            EXPECT_NEAR(y[i] + u * (b[i] + u * (c[i] + u * d[i])), y[i + 1], 1e-12);
            EXPECT_NEAR(b[i] + u * (2 * c[i] + u * 3 * d[i]), b[i + 1], 1e-11);
            EXPECT_NEAR(c[i] + u * 3 * d[i], c[i + 1], 1e-11);
        }
        EXPECT_EQ(d[m], d[m - 1]);
        // The third divided difference of the four points from i on; 0 where there are but three.
        const auto third = [&](size_t i) {
            double dSum = 0.0;
            for (size_t p = i; n > 3 && p < i + 4; ++p) {
                double dTerm = y[p];
                for (size_t q = i; q < i + 4; ++q) dTerm /= q == p ? 1.0 : x[p] - x[q];
                dSum += dTerm;
            }
            return dSum;
        };
        EXPECT_NEAR(iEnd1 ? b[0] - 0.3 : d[0] - third(0), 0.0, 1e-10) << n;
        EXPECT_NEAR(iEnd2 ? b[m] + 0.7 : d[m] - third(m - 3), 0.0, 1e-10) << n;
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
    x[2] = 0.0;
    EXPECT_EQ(code(3), 2);
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, x, y), Assertion("Interpolators", "false"));
    EXPECT_DEATH(spline.CubicSpline(2, 0.5, x, y), Assertion("Interpolators", "iBufferSize > 2"));
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, nullptr, y), Assertion("Interpolators", "pastT"));
    EXPECT_DEATH(spline.CubicSpline(3, 0.5, x, nullptr), Assertion("Interpolators", "pastV"));
}

}  // namespace
