#include "runtime/FIR.hpp"

#include <cstdint>
#include <new>

#include "runtime/DFErrorHandler.hpp"

namespace Vantor {

bool FIR<double, false>::Setup()
{
    bool bValid = true;
    const auto require = [&](bool bCondition, const char* pMessage) {
        if (!bCondition) DFErrorHandler::PostError(this, pMessage);
        bValid &= bCondition;
    };
    require(NumberOfTaps >= 1, "There must be at least one Tap");
    require(Decimation >= 1, "Decimation must be > 0");
    require(DecimationPhase >= 0, "DecimationPhase must be >= 0");
    require(DecimationPhase < Decimation, "DecimationPhase must be < Decimation ratio");
    require(Interpolation >= 1, "Interpolation must be > 0");
    if (!bValid) return false;

    const auto iDecimation = static_cast<size_t>(Decimation);
    Input.SetRate(iDecimation);
    Output.SetRate(static_cast<size_t>(Interpolation));
    m_History.SetHistoryDepth(static_cast<size_t>(NumberOfTaps / Interpolation) + iDecimation + 1);
    m_History.SetRate(iDecimation);
    m_iTapsPerPhase = NumberOfTaps / Interpolation + (NumberOfTaps % Interpolation != 0);
    return true;
}

bool FIR<double, false>::Initialize()
{
    Finalize();
    const size_t iDepth = m_History.GetHistoryDepth();
    m_pdHistory.reset(new (std::nothrow) double[iDepth]);
    if (!m_pdHistory) return false;
    m_History.SetBuffer(m_pdHistory.get(), iDepth, m_History.GetRate(), 0);
    return m_History.Zero(0, iDepth, nullptr);
}

bool FIR<double, false>::Run()
{
    const auto iDecimation = static_cast<size_t>(Decimation);
    const size_t iOldestNew = m_History.GetHistoryDepth() - iDecimation;
    for (size_t i = 0; i < iDecimation; ++i) m_History[iOldestNew + i] = Input[i];

    size_t iOut = 0;
    int iPhase = DecimationPhase;
    for (size_t k = 0; k < iDecimation; ++k) {
        for (; iPhase < Interpolation; iPhase += Decimation) {
            double dSum = 0;
            size_t iAt = m_History.IndexAt(iOldestNew + k);
            for (std::int64_t iTap = iPhase; iTap < NumberOfTaps; iTap += Interpolation) {
                dSum += Taps[iTap] * m_pdHistory[iAt];
                iAt = (iAt == 0 ? m_History.GetSize() : iAt) - 1;
            }
            Output[iOut++] = dSum;
        }
        iPhase -= Interpolation;
    }
    m_History.Advance();
    return true;
}

bool FIR<double, false>::Finalize()
{
    m_History.SetBuffer(nullptr, 0, m_History.GetRate(), 0);
    m_pdHistory.reset();
    return true;
}

}  // namespace Vantor
