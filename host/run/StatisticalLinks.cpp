#include "host/run/StatisticalLinks.hpp"

#include <cmath>
#include <utility>

#include "host/signal/Deconvolution.hpp"

namespace amisim {

StatisticalLinks::StatisticalLinks(const SignalChain& signal, const ModelSource* transmitter,
                                   const Link& link)
    : signal_(signal), transmitter_(transmitter), link_(link)
{
}

/// @param edge  V from sample to sample, from the lowest level to the highest
StepResponse StatisticalLinks::ResponseOf(std::size_t column, std::vector<double> edge) const
{
    const Transmitter::Settings& sent = signal_.Roads()[column].transmitter;
    const double swing = sent.modulation.levels.back() - sent.modulation.levels.front();
    for (double& added : edge) added /= swing;
    return {edge, sent.unitInterval};
}

BoundaryJitter StatisticalLinks::Jitter() const
{
    const Transmitter::Settings& sent = signal_.Roads().front().transmitter;
    const EdgeJitter::Settings& own = sent.jitter;
    const EdgeJitter::Declared& declared = own.declared;
    BoundaryJitter jitter;
    jitter.randomRms = std::hypot(own.randomRms, declared.randomRms) / sent.unitInterval;
    jitter.uniform = declared.uniform / sent.unitInterval;
    jitter.dutyCycle = own.dutyCycle / sent.unitInterval;
    jitter.evenOdd = declared.alternating / sent.unitInterval;
    for (const auto& [amplitude, frequency] : own.Sines())
        jitter.sines.push_back({amplitude / sent.unitInterval, frequency * sent.unitInterval});
    return jitter;
}

/// Of several levels the states that this takes are too many to be gone through.
bool StatisticalLinks::CursorsJitterTogether() const
{
    return !transmitter_ && !signal_.IsBehindRedriver() &&
           signal_.Roads().front().transmitter.modulation.levels.size() == 2;
}

StatisticalLink StatisticalLinks::Through(const Edges& edges) const
{
    StatisticalLink link;
    link.modulation = signal_.Roads().front().transmitter.modulation;
    link.jitter = Jitter();
    link.response = ResponseOf(0, edges[0]);
    for (std::size_t column = 1; column < edges.size(); ++column)
        link.aggressors.push_back(ResponseOf(column, edges[column]));
    return link;
}

StatisticalLinks::Edges StatisticalLinks::EdgesOf(
    const std::vector<std::vector<double>>& responses) const
{
    Edges edges = responses;
    for (std::vector<double>& edge : edges) {
        for (double& added : edge) added *= signal_.SampleInterval();
    }
    return edges;
}

StatisticalLinks::Edges StatisticalLinks::InputEdges() const
{
    if (transmitter_ && !transmitter_->returnsImpulse) return {};
    Edges edges = EdgesOf(link_.Responses());
    if (CursorsJitterTogether()) {
        // Jitter moves a boundary with all of its cursors: they belong to the symbols.
        Road plain = signal_.Roads().front();
        plain.transmitter.deemphasis = {};
        edges[0] = plain.EdgeResponse();
    }
    return edges;
}

StatisticalLink StatisticalLinks::AtInput(const Edges& edges) const
{
    StatisticalLink link = Through(edges);
    if (CursorsJitterTogether()) link.deemphasis = signal_.Roads().front().transmitter.deemphasis;
    link.noise = signal_.NoiseThrough({});
    return link;
}

StatisticalLink StatisticalLinks::AtOutput(const std::vector<std::vector<double>>& returned,
                                           double samplerNoise) const
{
    StatisticalLink link = Through(EdgesOf(returned));
    LeadingTaps filter;
    if (signal_.NoiseThrough({}) > 0 && returned[0] != link_.Responses()[0])
        filter = Deconvolve(link_.Responses()[0], returned[0]).filter;
    link.noise = std::hypot(signal_.NoiseThrough(filter), samplerNoise);
    return link;
}

StatisticalLink StatisticalLinks::AtOutput(Edges edges, const LeadingTaps& filter,
                                           double samplerNoise) const
{
    for (std::vector<double>& edge : edges) {
        edge.resize(edge.size() + filter.taps.size());
        edge = Convolved(edge, filter);
    }
    StatisticalLink link = AtInput(edges);
    link.noise = std::hypot(signal_.NoiseThrough(filter), samplerNoise);
    return link;
}

}  // namespace amisim
