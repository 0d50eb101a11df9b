#pragma once

#include <span>
#include <vector>

#include "host/process/ModelProcess.hpp"

namespace amisim {

/// What AMI_GetWave does to small changes of its input, around the signal that it is made for.
struct SmallSignal
{
    std::vector<double> response;  // V/V, sample by sample; empty: no change of it is seen

    /// How far the response to a pulse is from that to one of twice the size and the other sign at
    /// another bit, rms over rms. 0: linear, and the same at all times.
    double nonlinearity = 0;

    /// Part of the output at the end of the run that the response does not make of the input, rms
    /// over rms; known once it has been compared.
    double unexplained = 0;
};

/// Runs a model twice with a random pattern that two small pulses, one sample long, are added to
/// once. The difference is what the pulses do where the receiver works: its decisions are those
/// that they would be without.
/// @param start    impulses and parameters that it is initialised with
/// @param edge     V from sample to sample: what the edges of the pattern do at its input
/// @throws as ModelProcess
SmallSignal MeasureSmallSignal(const ModelStart& start, const ModelProcess::Settings& settings,
                               std::span<const double> edge);

/// Part of an output that a filter does not make of the input, rms over rms, in the last of the
/// samples. 1 where there are too few of them.
/// @param begin  whether the first of them is the first of all, and all before were 0
double Unexplained(std::span<const double> response, std::span<const double> input,
                   std::span<const double> output, std::size_t last, bool begin);

}  // namespace amisim
