#include "receiver/DecisionFeedback.hpp"

bool DecisionFeedback::Setup()
{
    RunEquations();
    bool bOk = Line.Setup();
    for (Selector& select : TapSelect) bOk &= select.Setup(2);
    for (int k = 0; k < NumberOfTaps; ++k) {
        TapFixed[k].InitialDelay = 0;
        TapFixed[k].Level = FixedTaps[k];
    }
    bOk &= DfeModeFork.Outputs.Initialize(NumberOfTaps);
    return bOk;
}

bool DecisionFeedback::TapLine::Setup()
{
    constexpr double dVoltsPerCode = 0.008;
    bool bOk = Slicer.Fields.Setup();
    for (int k = 0; k < NumberOfTaps; ++k) {
        bOk &= DecisionDelay[k].Fields.Setup();
        bOk &= TapMpy[k].Inputs.Initialize(2);
        bOk &= DecisionFork[k].Outputs.Initialize(2);
        TapGain[k].Factor = dVoltsPerCode;
    }
    bOk &= DfeSum.Subtracted.Initialize(NumberOfTaps);
    bOk &= DfeFork.Outputs.Initialize(2);
    bOk &= DfeClockFork.Outputs.Initialize(NumberOfTaps + 1);
    return bOk;
}
