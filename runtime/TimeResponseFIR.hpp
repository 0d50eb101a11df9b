#pragma once

#include <memory>

#include "runtime/FIR.hpp"

namespace Vantor {

/// A FIR filter whose taps are sampled from a tabulated impulse or step response. The table's time
/// grid need only rise; the taps are its values (or its derivative) at k / SampleRate, divided by
/// SampleRate so that the filter has the gain of the continuous response.
class TimeResponseFIR final : public FIR<double, false>
{
public:
    double* m_pdResponse = nullptr;    ///< values (impulse: 1/s), not owned
    double* m_pdTimeStamps = nullptr;  ///< seconds, not owned; Setup shifts them to start at 0
    int NumberOfResponseValues = 0;
    int NumberOfTimeStamps = 0;
    int ResponseType = 1;      ///< 0 = impulse response, 1 = step response
    double SampleRate = 1e12;  ///< samples per second

    /// The owner's word that it calls ProvideTaps before Taps are read: Setup then only counts
    /// them, and the table must stay.
    bool TapsOnRequest = false;

    /// Checks the table, makes the taps and sets the filter up. A table that is not valid posts
    /// its message and leaves the taps as they were.
    bool Setup() override;

    /// Makes the taps unless they are there; false when memory has run out.
    bool ProvideTaps() { return Taps || MakeTaps(); }

    /// The derivative at t of the quadratic through (x0, y0), (x1, y1), (x2, y2).
    double AnalyticalDifferntiation(double t, double* x, double* y);

private:
    bool CheckTable();
    bool ShiftToOrigin();
    void CountTaps();
    bool MakeTaps();

    std::unique_ptr<double[]> m_pdTaps;
};

}  // namespace Vantor
