// The netlist: which port feeds which. A connection has one producer and at most one consumer;
// fan-out is a Fork.

#include "receiver/Retimer_RX_RT.hpp"

void Retimer_RX_RT::Describe(Netlist& net)
{
    net.Connect(PORT(NetIn), PORT(Ctle.EqInputFork.Input));
    net.Connect(PORT(OutputSelect.Mux.Output), PORT(NetOut));
    net.Connect(PORT(ClockTimes1.EdgeTime), PORT(NetClock));
    DescribeEqualiser(net);
    DescribeDecisionFeedback(net);
    DescribeClockRecovery(net);
    DescribeAdaptation(net);
    DescribeOutput(net);

    net.Copies(Ctle.EqInputFork);
    net.Copies(Dfe.Line.DfeFork);
    net.Copies(EqualizedFork);
    for (auto& fork : Dfe.Line.DecisionFork) net.Copies(fork);
    net.Copies(Dfe.DfeModeFork);
    net.Copies(Dfe.Line.DfeClockFork);
    net.Copies(Cdr.VcoFork);
    net.Copies(Cdr.Phase.VcoPhaseFork);
    net.Copies(Cdr.LoopFork);
    net.Copies(ClockFork);
    net.Copies(EyeRequestFork);
}

void Retimer_RX_RT::DescribeEqualiser(Netlist& net)
{
    // Which response stands behind which equalisation level is the bank's own data.
    for (size_t i = 0; i < EqualiserBank::Responses; ++i) {
        const int j = EqualiserBank::ResponseOfLevel[i];
        net.Connect(PORT_OF(Ctle.EqResponse[j].Output, j), PORT_OF(Ctle.EqSelect.Mux.Inputs[i], i));
    }
    net.Connect(PORT(Ctle.EqSelect.Mux.Output), PORT(Dfe.Line.DfeSum.Positive));
    for (size_t j = 0; j < EqualiserBank::Responses; ++j)
        net.Connect(PORT_OF(Ctle.EqInputFork.Outputs[j], j), PORT_OF(Ctle.EqResponse[j].Input, j));

    // The level: fixed or adapted.
    net.Connect(PORT(CtleMode.Output), PORT(CtleModeToInt.Input));
    net.Connect(PORT(CtleModeToInt.Output), PORT(EqLevelSelect.Control));
    net.Connect(PORT(EqLevelFixed.Output), PORT(EqLevelSelect.Mux.Inputs[0]));
    net.Connect(PORT(Adapt1.EQLevel), PORT(EqLevelToDouble.Input));
    net.Connect(PORT(EqLevelToDouble.Output), PORT(EqLevelSelect.Mux.Inputs[1]));
    net.Connect(PORT(EqLevelSelect.Mux.Output), PORT(EqLevelToInt.Input));
    net.Connect(PORT(EqLevelToInt.Output), PORT(Ctle.EqSelect.Control));
}

void Retimer_RX_RT::DescribeDecisionFeedback(Netlist& net)
{
    constexpr size_t iTaps = DecisionFeedback::NumberOfTaps;
    DecisionFeedback::TapLine& line = Dfe.Line;

    net.Connect(PORT(line.DfeSum.Output), PORT(line.DfeFork.Input));
    net.Connect(PORT(line.DfeFork.Outputs[0]), PORT(line.Slicer.Input));
    net.Connect(PORT(line.DfeFork.Outputs[1]), PORT(EqualizedFork.Input));

    // The decisions of the last bits. DecisionFork[0] is the slicer's own.
    net.Connect(PORT(line.Slicer.Output), PORT(line.DecisionFork[0].Input));
    net.Feedback(PORT(line.DecisionFork[0].Outputs[0]), PORT(line.DecisionDelay[0].Input));
    for (size_t k = 0; k + 1 < iTaps; ++k) {
        net.Connect(PORT_OF(line.DecisionDelay[k].Output, k),
                    PORT_OF(line.DecisionFork[k + 1].Input, k + 1));
        net.Connect(PORT_OF(line.DecisionFork[k + 1].Outputs[0], k + 1),
                    PORT_OF(line.TapMpy[k].Inputs[0], k));
        net.Connect(PORT_OF(line.DecisionFork[k + 1].Outputs[1], k + 1),
                    PORT_OF(line.DecisionDelay[k + 1].Input, k + 1));
    }
    net.Connect(PORT(line.DecisionDelay[iTaps - 1].Output), PORT(line.TapMpy[iTaps - 1].Inputs[0]));

    // The taps: fixed or adapted codes, scaled to volts. The adapted ones are wired but, with
    // DfeMode at 0, not selected.
    net.Connect(PORT(DfeMode.Output), PORT(Dfe.DfeModeToInt.Input));
    net.Connect(PORT(Dfe.DfeModeToInt.Output), PORT(Dfe.DfeModeFork.Input));
    for (size_t k = 0; k < iTaps; ++k) {
        const size_t iModeOutput = (k + iTaps - 1) % iTaps;
        net.Connect(PORT_OF(Dfe.DfeModeFork.Outputs[iModeOutput], iModeOutput),
                    PORT_OF(Dfe.TapSelect[k].Control, k));
        net.Connect(PORT_OF(Dfe.TapFixed[k].Output, k), PORT_OF(Dfe.TapSelect[k].Mux.Inputs[0], k));
        net.Connect(PORT_OF(Adapt1.Taps[k], k), PORT_OF(Dfe.TapToDouble[k].Input, k));
        net.Connect(PORT_OF(Dfe.TapToDouble[k].Output, k),
                    PORT_OF(Dfe.TapSelect[k].Mux.Inputs[1], k));
        net.Connect(PORT_OF(Dfe.TapSelect[k].Mux.Output, k), PORT_OF(line.TapGain[k].Input, k));
        net.Connect(PORT_OF(line.TapGain[k].Output, k), PORT_OF(line.TapMpy[k].Inputs[1], k));
        net.Connect(PORT_OF(line.TapMpy[k].Output, k), PORT_OF(line.DfeSum.Subtracted[k], k));
    }

    net.Connect(PORT(line.DfeClockFork.Outputs[0]), PORT(line.Slicer.Clock));
    for (size_t k = 0; k < iTaps; ++k)
        net.Connect(PORT_OF(line.DfeClockFork.Outputs[k + 1], k + 1),
                    PORT_OF(line.DecisionDelay[k].Clock, k));
}

void Retimer_RX_RT::DescribeClockRecovery(Netlist& net)
{
    ClockRecovery::PhaseDetection& phase = Cdr.Phase;

    net.Connect(PORT(Cdr.VCO.Sine), PORT(Cdr.VcoFork.Input));
    net.Connect(PORT(Cdr.VcoFork.Outputs[0]), PORT(phase.VcoPhaseFork.Input));
    net.Connect(PORT(Cdr.VcoFork.Outputs[1]), PORT(Eom1.ClockSine));
    net.Connect(PORT(phase.VcoPhaseFork.Outputs[0]), PORT(phase.QuarterPeriod.Input));
    net.Connect(PORT(phase.VcoPhaseFork.Outputs[1]), PORT(phase.InPhase));
    net.Connect(PORT(phase.QuarterPeriodOutput), PORT(phase.Quadrature));
    net.Connect(PORT(EqualizedFork.Outputs[2]), PORT(phase.Data));
    net.Connect(PORT(phase.InPhaseSign), PORT(phase.PhaseSum.Inputs[0]));
    net.Connect(PORT(phase.PhaseError), PORT(phase.PhaseSum.Inputs[1]));
    net.Unread(PORT(phase.QuadratureSign));
    net.Connect(PORT(phase.PhaseSum.Output), PORT(Cdr.PhaseToDouble.Input));
    net.Connect(PORT(Cdr.PhaseToDouble.Output), PORT(Cdr.FilterInput));
    net.Connect(PORT(Cdr.FilterOutput), PORT(Cdr.LoopFork.Input));
    net.Feedback(PORT(Cdr.LoopFork.Outputs[0]), PORT(Cdr.VCO.Control));
    net.Unread(PORT(Cdr.LoopFork.Outputs[1]));

    // The recovered clock and everything that runs on it.
    net.Connect(PORT(Cdr.VCO.Clock), PORT(ClockFork.Input));
    net.Connect(PORT(ClockFork.Outputs[0]), PORT(ClockToDouble.Input));
    net.Connect(PORT(ClockFork.Outputs[1]), PORT(ClockTimes1.Clock));
    net.Connect(PORT(ClockFork.Outputs[2]), PORT(Dfe.Line.DfeClockFork.Input));
    net.Connect(PORT(ClockFork.Outputs[3]), PORT(AdaptStart.Clock));
    net.Connect(PORT(ClockFork.Outputs[4]), PORT(EomStart.Clock));
    net.Connect(PORT(ClockFork.Outputs[5]), PORT(EyeRequestHold.Clock));
    net.Connect(PORT(ClockFork.Outputs[6]), PORT(Eom1.Clock));
}

void Retimer_RX_RT::DescribeAdaptation(Netlist& net)
{
    net.Connect(PORT(AdaptStartLevel.Output), PORT(AdaptStartToInt.Input));
    net.Connect(PORT(AdaptStartToInt.Output), PORT(AdaptStart.Start));
    net.Connect(PORT(AdaptStart.Output), PORT(Adapt1.Start));

    // Request, delay, measurement, result.
    net.Connect(PORT(Adapt1.EyeRequest), PORT(EyeRequestFork.Input));
    net.Connect(PORT(EyeRequestFork.Outputs[0]), PORT(EyeRequestToDouble.Input));
    net.Connect(PORT(EyeRequestFork.Outputs[1]), PORT(EomStart.Start));
    net.Delayed(PORT(EomStart.Output), PORT(Eom1.Start));
    net.Feedback(PORT(EyeRequestToDouble.Output), PORT(EyeRequestHold.Input));
    net.Connect(PORT(EyeRequestHold.Output), PORT(EyeRequestHoldToInt.Input));
    net.Connect(PORT(EyeRequestHoldToInt.Output), PORT(Adapt1.RequestClear));
    net.Connect(PORT(EqualizedFork.Outputs[1]), PORT(Eom1.Signal));
    net.Feedback(PORT(Eom1.EyeReady), PORT(Adapt1.EyeReady));
    net.Feedback(PORT(Eom1.HEO), PORT(Adapt1.HEO));
    net.Feedback(PORT(Eom1.VEO), PORT(Adapt1.VEO));
    net.Feedback(PORT(Eom1.Range), PORT(Adapt1.Range));

    net.Unread(PORT(Eom1.MinOpening));
    for (size_t k = 0; k < EOM::Bins; ++k) {
        net.Unread(PORT_OF(Eom1.PhaseSines[k], k));
        net.Unread(PORT_OF(Eom1.PhaseClocks[k], k));
    }
    net.Unread(PORT(Adapt1.CTLEDone));
    net.Unread(PORT(Adapt1.DFEDone));
}

void Retimer_RX_RT::DescribeOutput(Netlist& net)
{
    net.Connect(PORT(OutputMode.Output), PORT(OutputModeToInt.Input));
    net.Connect(PORT(OutputModeToInt.Output), PORT(OutputSelect.Control));
    net.Connect(PORT(Dfe.Line.DecisionFork[0].Outputs[1]), PORT(OutputSelect.Mux.Inputs[0]));
    net.Connect(PORT(ClockToDouble.Output), PORT(OutputSelect.Mux.Inputs[1]));
    net.Connect(PORT(EqualizedFork.Outputs[0]), PORT(OutputSelect.Mux.Inputs[2]));
}
