#pragma once

#include "runtime/DFModel.hpp"

/// The data decision: on each rising clock edge the sign of the equalised signal, +1 or -1 (zero
/// and NaN decide -1), held until the next one. Ports are fields the network copies.
class slicer final : public Vantor::DFModel
{
public:
    double Input = 0.0;
    int Clock = 0;
    double Output = 0.0;
    double Decision = 0.0;
    int PrevClock = 0;

    /// The clock history stays: a clock that was high before is no edge after.
    bool Initialize() override
    {
        Decision = -1.0;
        return true;
    }

    bool Run() override
    {
        if (PrevClock == 0 && Clock == 1) Decision = Input > 0.0 ? 1.0 : -1.0;
        Output = Decision;
        PrevClock = Clock;
        return true;
    }
};
