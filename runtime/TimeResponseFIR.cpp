#include "runtime/TimeResponseFIR.hpp"

#include <cstdio>
#include <new>

#include "runtime/DFErrorHandler.hpp"
#include "runtime/Interpolators.hpp"
#include "runtime/NumberText.hpp"
#include "runtime/Numeric.hpp"

namespace Vantor {

bool TimeResponseFIR::Setup()
{
    if (!CheckTable() || !ShiftToOrigin()) return false;
    CountTaps();
    return (TapsOnRequest || NumberOfTaps < 1 || MakeTaps()) && FIR::Setup();
}

bool TimeResponseFIR::CheckTable()
{
    bool bValid = true;
    const auto refuse = [&](const char* pMessage) {
        DFErrorHandler::PostError(this, pMessage);
        bValid = false;
    };
    if (ResponseType == 0 && NumberOfResponseValues < 4)
        refuse("At least 4 response coefficients are required for input impulse response");
    else if (ResponseType == 1 && NumberOfResponseValues < 4)
        refuse("At least 4 response coefficients are required for input step response");
    if (ResponseType != 0 && ResponseType != 1)
        refuse(
            "Inavlid ResponseType is specified, it can be either Impulse Response or Step "
            "Response");
    if (bValid && NumberOfTimeStamps != NumberOfResponseValues)
        refuse(
            "Number of coefficients in response must be same as the number of values in time "
            "stamps");
    if (bValid && SampleRate <= 0) refuse("SampleRate must be > 0.0");
    return bValid;
}

bool TimeResponseFIR::ShiftToOrigin()
{
    double* const t = m_pdTimeStamps;
    const double dOrigin = t[0];
    t[0] = 0;
    for (int i = 1; i < NumberOfTimeStamps; ++i) {
        t[i] -= dOrigin;
        if (t[i - 1] >= t[i]) {
            char text[200], time[LongestNumberText], before[LongestNumberText];
            WriteNumber(time, t[i] + dOrigin);
            WriteNumber(before, t[i - 1] + dOrigin);
            std::snprintf(text, sizeof text,
                          "ResponseTimeStamps[%d] = %s  <= ResponseTimeStamps[%d] = %s. "
                          "Time stamps must be in non-repeating ascending order.",
                          i + 1, time, i, before);
            DFErrorHandler::PostError(this, text);
            return false;
        }
    }
    return true;
}

void TimeResponseFIR::CountTaps()
{
    const double dSpan = SampleRate * m_pdTimeStamps[NumberOfResponseValues - 1];
    NumberOfTaps = static_cast<int>(static_cast<unsigned>(ToInt32(dSpan)) + 1U);
    m_pdTaps.reset();
    Taps = nullptr;
}

bool TimeResponseFIR::MakeTaps()
{
    constexpr int iSplinePoints = 4;
    double* const t = m_pdTimeStamps;
    double* const h = m_pdResponse;
    const int n = NumberOfResponseValues;

    Interpolators<double> interpolators;
    if (!interpolators.Reserve(iSplinePoints)) return false;
    m_pdTaps.reset(new (std::nothrow) double[static_cast<size_t>(NumberOfTaps)]);
    if (!m_pdTaps) return false;
    Taps = m_pdTaps.get();
    int j = 0;  // the first stamp at or after the tap's time, or the last
    for (int k = 0; k < NumberOfTaps; ++k) {
        const double dTime = k / SampleRate;
        while (j < n - 1 && dTime > t[j]) ++j;
        if (ResponseType == 0 && t[j] == dTime) {
            Taps[k] = h[j] / SampleRate;
            continue;
        }
        // The points used are j-1 to j+2 and must lie in the table.
        if (j == 0)
            j = 1;
        else if (j > n - 3)
            j = n - 3;
        const double dValue =
            ResponseType == 1
                ? AnalyticalDifferntiation(dTime, t + j - 1, h + j - 1)
                : interpolators.CubicSpline(iSplinePoints, dTime, t + j - 1, h + j - 1);
        Taps[k] = dValue / SampleRate;
    }
    return true;
}

double TimeResponseFIR::AnalyticalDifferntiation(double t, double* x, double* y)
{
    double s = 0.0 + y[0] * (2 * t - x[1] - x[2]) / ((x[0] - x[2]) * (x[0] - x[1]));
    s = y[1] * (2 * t - x[0] - x[2]) / ((x[1] - x[2]) * (x[1] - x[0])) + s;
    return y[2] * (2 * t - x[0] - x[1]) / ((x[2] - x[1]) * (x[2] - x[0])) + s;
}

}  // namespace Vantor
