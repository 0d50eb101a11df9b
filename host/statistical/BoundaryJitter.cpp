#include "host/statistical/BoundaryJitter.hpp"

#include <algorithm>
#include <cmath>

#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

/// Beyond so many sigma a Gaussian has less than 1e-16.
constexpr double kSigmas = 8.3;

/// Density of a Gaussian and an even distribution added; the latter alone has no width to be
/// divided by.
double Density(const BoundaryJitter& jitter, double time)
{
    const double sigma = jitter.randomRms, half = jitter.uniform;
    if (sigma == 0) {
        return std::abs(time) <= half ? 1.0 : 0.0;
    }
    if (half == 0) {
        return std::exp(-0.5 * time * time / (sigma * sigma));
    }
    // By its upper tails on the side where they are small.
    const double away = std::abs(time);
    return Q((away - half) / sigma) - Q((away + half) / sigma);
}

}  // namespace

JitterNodes::JitterNodes(const BoundaryJitter& jitter)
    : reach_(kSigmas * jitter.randomRms + jitter.uniform), nodes_{{{0.0}, {1.0}}}
{
    // Even distances: for a Gaussian that is as exact as any rule once they are a sigma or less.
    for (std::size_t count = 17; reach_ > 0 && count <= kMost; count = 2 * count - 1) {
        Nodes nodes;
        double sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const double place = 2 * static_cast<double>(i) / static_cast<double>(count - 1) - 1;
            nodes.times.push_back(reach_ * place);
            nodes.weights.push_back(Density(jitter, nodes.times.back()));
            sum += nodes.weights.back();
        }
        for (double& weight : nodes.weights) {
            weight /= sum;
        }
        nodes_.push_back(std::move(nodes));
    }
}

const JitterNodes::Nodes& JitterNodes::AtLeast(std::size_t count) const
{
    const auto enough = std::ranges::find_if(
        nodes_, [count](const Nodes& nodes) { return nodes.times.size() >= count; });
    return enough == nodes_.end() ? nodes_.back() : *enough;
}

}  // namespace amisim
