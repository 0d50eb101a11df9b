#pragma once

#include <cstdint>

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// Gives the time of each edge of a two-level clock, on the sample grid: the time of the first
/// sample at the new level, or -1 where there is no edge. The first firing never reports one.
class ClockTimes final : public DFModel
{
public:
    IntCircularBuffer Clock;
    DoubleCircularBuffer EdgeTime;  ///< seconds, or -1.0

    double SampleInterval = 1e-10;  ///< seconds per firing
    double TimeOffset = 0.0;        ///< seconds added to every edge time
    int EdgeKind = 0;               ///< 1 = rising edges, 0 = falling edges, otherwise none

    bool Initialize() override;

    bool Run() override
    {
        const int iClock = Clock[0];
        const bool bRising = EdgeKind == 1 && m_iPreviousClock <= 0 && iClock >= 1;
        const bool bFalling = EdgeKind == 0 && m_iPreviousClock > 0 && iClock < 1;
        EdgeTime[0] = m_iFiring != 0 && (bRising || bFalling)
                          ? static_cast<double>(m_iFiring) * SampleInterval + TimeOffset
                          : -1.0;
        m_iPreviousClock = iClock;
        ++m_iFiring;
        return true;
    }

    /// Passes over firings in which the clock stands still.
    void Skip(std::uint64_t iFirings) { m_iFiring += iFirings; }

private:
    int m_iPreviousClock = -1;
    std::uint64_t m_iFiring = 0;
};

}  // namespace Vantor
