#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/process/ModelProcess.hpp"
#include "host/process/ModelSource.hpp"
#include "host/process/ParameterLog.hpp"
#include "host/run/SimulationOptions.hpp"
#include "host/run/SmallSignal.hpp"

namespace amisim {

/// What the statistical flow lacks of a receiver that has AMI_GetWave alone: its response, measured
/// through AMI_GetWave where a run has ended. Whether a filter of that response is what the
/// receiver is, tells the end of the run, whose output it has to make of the input.
class MeasuredOutput
{
public:
    MeasuredOutput(const SegmentOptions& options, const ModelSource& model);

    /// Takes what went into the model, and what came out.
    void Add(std::span<const double> input, std::span<const double> output);

    /// How the model was run.
    struct Conditions
    {
        ModelStart start;
        ModelProcess::Settings process;  // its folder is where the model left its logs
        const std::vector<ParameterTrack>& givenBack;
    };
    /// @param edge  V from sample to sample: what an edge of the signal does at the model's input
    /// @param notes gets a sentence where there is no such response
    std::optional<SmallSignal> Find(const Conditions& run, std::span<const double> edge,
                                    std::vector<std::string>& notes) const;

private:
    std::string Fault(SmallSignal& found) const;

    const SegmentOptions& options_;
    const ModelSource& model_;
    std::size_t kept_;  // samples at least
    std::vector<double> input_, output_;
    bool whole_ = true;  // nothing has been dropped
};

}  // namespace amisim
