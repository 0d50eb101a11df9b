#pragma once

#include <memory>

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

template <class T, bool Complex>
class FIR;

/// Polyphase finite-impulse-response filter: each firing takes Decimation input samples and gives
/// Interpolation output samples. With both at 1,
///
///     output[n] = sum over j of Taps[j] * input[n - j],   input[n] = 0 for n < 0,
///
/// added in the order of j. Taps are written by the owner and stay the owner's.
template <>
class FIR<double, false> : public DFModel
{
public:
    DoubleCircularBuffer Input;
    DoubleCircularBuffer Output;

private:
    DoubleCircularBuffer m_History;
    std::unique_ptr<double[]> m_pdHistory;

public:
    double* Taps = nullptr;
    int NumberOfTaps = 0;
    int Decimation = 1;
    int DecimationPhase = 0;  ///< first phase used within each block of outputs
    int Interpolation = 1;

    /// Posts one message per invalid parameter; declares rates and history depth.
    bool Setup() override;

    /// Restarts from a history of zeros.
    bool Initialize() override;
    bool Run() override;
    bool Finalize() override;

    int GetTapsPerPhase() const { return m_iTapsPerPhase; }
    size_t GetHistoryDepth() const { return m_History.GetHistoryDepth(); }

private:
    int m_iTapsPerPhase = 0;
};

}  // namespace Vantor
