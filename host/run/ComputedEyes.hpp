#pragma once

#include <future>
#include <optional>
#include <span>
#include <vector>

#include "host/process/ModelProcess.hpp"
#include "host/process/ModelSource.hpp"
#include "host/run/Link.hpp"
#include "host/run/MeasuredOutput.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"
#include "host/run/StatisticalLinks.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {

/// The eyes of a segment that are computed beside those that are counted, where that is possible:
/// of symbols that are as good as random, sent in a known way.
class ComputedEyes
{
public:
    /// @param transmitter  null: the one that is built in
    ComputedEyes(const SegmentOptions& own, const SimulationOptions& run,
                 const ModelSource& receiver, const ModelSource* transmitter,
                 const SignalChain& signal, const Link& link);

    /// Takes what went into the receiver, and what came out.
    void Add(std::span<const double> input, std::span<const double> output);

    /// To be called when the run is over: begins to measure the receiver's response, where that is
    /// needed, while the counted eyes are found.
    /// @param run     how the receiver was run, until Find is done
    /// @param failed  it was, without success: there is nothing to measure
    void Begin(const MeasuredOutput::Conditions& run, bool failed);

    /// To be called when the counted eyes are found.
    void Find(RunResult& result);

private:
    struct Measured
    {
        std::optional<SmallSignal> smallSignal;
        std::vector<std::string> notes;
    };
    bool Possible() const;
    StatisticalEye Compute(StatisticalLink link, const std::optional<EyeFindings>& counted) const;
    std::optional<StatisticalLink> AtOutput(RunResult& result);

    const SegmentOptions& own_;
    const SimulationOptions& run_;
    const ModelSource& receiver_;
    StatisticalLinks links_;
    std::optional<MeasuredOutput> measured_;  // of a receiver whose AMI_Init tells no response
    StatisticalLinks::Edges edges_;
    std::future<Measured> measuring_;
};

}  // namespace amisim
