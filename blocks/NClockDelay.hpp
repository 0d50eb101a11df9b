#pragma once

#include "runtime/CircularBuffer.hpp"
#include "runtime/DFModel.hpp"

/// Raises its output on rising clock edge number N + 1 after a rising start input (an edge in the
/// same firing counts), and drops it at the next rising start.
class NClockDelay final : public Vantor::DFModel
{
public:
    Vantor::IntCircularBuffer Clock;
    Vantor::IntCircularBuffer Start;
    Vantor::IntCircularBuffer Output;
    int N = 0;  ///< edges to let pass
    int PrevStart = 0;
    int Value = 0;
    int PrevClock = 0;
    int Count = 0;
    int Counting = 0;

    bool Setup() override
    {
        Start.SetRate(1);
        Clock.SetRate(1);
        Output.SetRate(1);
        return true;
    }

    bool Initialize() override
    {
        PrevStart = Value = PrevClock = Count = Counting = 0;
        return true;
    }

    bool Run() override
    {
        const int iStart = Start[0];
        const int iClock = Clock[0];
        if (iStart == 1 && PrevStart == 0) {
            Count = 0;
            Counting = 1;
            Value = 0;
        }
        if (Counting == 1 && iClock == 1 && PrevClock == 0 && ++Count > N) {
            Value = 1;
            Counting = 0;
        }
        Output[0] = Value;
        PrevClock = iClock;
        PrevStart = iStart;
        return true;
    }
};
