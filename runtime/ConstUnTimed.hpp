#pragma once

#include <cstdint>

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFErrorHandler.hpp"
#include "runtime/DFModel.hpp"

namespace Vantor {

/// A constant that stays silent for its first InitialDelay firings.
template <class T, class Buffer>
class ConstUnTimedBase : public DFModel
{
public:
    Buffer Output;
    T Level{};
    int InitialDelay = 0;  ///< firings; not negative

    /// Restarts the count; fails on a negative delay.
    bool Initialize() override
    {
        m_iCounter = 0;
        return UpdateDynamicParameters();
    }

    bool Run() override
    {
        if (m_iCounter >= static_cast<std::uint64_t>(InitialDelay))
            Output[0] = Level;
        else
            SetOutputToZero();
        ++m_iCounter;
        return true;
    }

    bool UpdateDynamicParameters() override
    {
        if (InitialDelay >= 0) return true;
        DFErrorHandler::PostError(this, "InitialDelay must be >= 0");
        return false;
    }

    virtual void SetOutputToZero() = 0;

private:
    unsigned m_iCounter = 0;
};

template <class T>
class ConstUnTimed final : public ConstUnTimedBase<T, CircularBuffer<T>>
{
public:
    void SetOutputToZero() override { this->Output[0] = T{}; }
};

}  // namespace Vantor
