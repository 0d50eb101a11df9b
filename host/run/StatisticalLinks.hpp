#pragma once

#include <optional>
#include <vector>

#include "host/process/ModelSource.hpp"
#include "host/run/Link.hpp"
#include "host/signal/SignalChain.hpp"
#include "host/statistical/StatisticalEye.hpp"

namespace amisim {

/// What the eyes of a run can be computed from, in the statistical flow (IBIS 7.2 section 10): the
/// responses as each AMI_Init gave them back. For signals that amisim makes itself.
class StatisticalLinks
{
public:
    /// @param transmitter  null: the one that is built in
    StatisticalLinks(const SignalChain& signal, const ModelSource* transmitter, const Link& link);

    /// There is a signal of known shape.
    bool Possible() const { return !signal_.Roads().empty() && signal_.IsKnown(); }

    /// What an edge does at the receiver's input, V from sample to sample; of an aggressor in the
    /// columns from 1 on. None behind a transmitter's model whose AMI_Init does not return the
    /// response.
    using Edges = std::vector<std::vector<double>>;
    Edges InputEdges() const;

    /// That of a transmitter with its de-emphasis, as AMI_Init is told it.
    std::vector<double> DrivenEdge() const { return EdgesOf({link_.Responses()[0]})[0]; }

    StatisticalLink AtInput(const Edges& edges) const;

    /// @param returned      by the receiver's AMI_Init
    /// @param samplerNoise  V rms, added at the sampler
    StatisticalLink AtOutput(const std::vector<std::vector<double>>& returned,
                             double samplerNoise) const;

    /// The same behind a receiver that is a filter.
    /// @param edges   at the input
    StatisticalLink AtOutput(Edges edges, const LeadingTaps& filter, double samplerNoise) const;

private:
    StatisticalLink Through(const Edges& edges) const;
    Edges EdgesOf(const std::vector<std::vector<double>>& responses) const;
    StepResponse ResponseOf(std::size_t column, std::vector<double> edge) const;
    BoundaryJitter Jitter() const;
    bool CursorsJitterTogether() const;

    const SignalChain& signal_;
    const ModelSource* transmitter_;
    const Link& link_;
};

}  // namespace amisim
