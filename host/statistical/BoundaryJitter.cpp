#include "host/statistical/BoundaryJitter.hpp"

#include <Eigen/Eigenvalues>
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

/// What so few times and weights have the same moments as many that lie symmetrically about 0: by
/// the recurrence of the polynomials that are orthogonal for these (G. H. Golub and J. H. Welsch,
/// "Calculation of Gauss quadrature rules", Mathematics of Computation 23, 1969).
JitterNodes::Nodes GaussNodes(const JitterNodes::Nodes& many, Eigen::Index count)
{
    const std::size_t size = many.times.size();
    std::vector<double> before(size, 0.0), last(size, 1.0);
    Eigen::VectorXd next = Eigen::VectorXd::Zero(count - 1);
    double square = 1, ratio = 0;
    for (Eigen::Index k = 0; k + 1 < count; ++k) {
        double nextSquare = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const double value = many.times[i] * last[i] - ratio * before[i];
            before[i] = last[i];
            last[i] = value;
            nextSquare += many.weights[i] * value * value;
        }
        ratio = nextSquare / square;
        square = nextSquare;
        next[k] = std::sqrt(ratio);
    }
    Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver;
    solver.computeFromTridiagonal(Eigen::VectorXd::Zero(count), next);
    JitterNodes::Nodes few;
    for (Eigen::Index i = 0; i < count; ++i) {
        few.times.push_back(solver.eigenvalues()[i]);
        few.weights.push_back(solver.eigenvectors()(0, i) * solver.eigenvectors()(0, i));
    }
    return few;
}

/// Numbers of nodes, and up to how many radians rms their error is below 1e-9 of a part.
struct Rule
{
    Eigen::Index count;
    double radians;
};
constexpr Rule kRules[] = {{3, 0.03}, {5, 0.3}, {9, 1.0}};

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
    rms_ = std::sqrt(jitter.randomRms * jitter.randomRms + jitter.uniform * jitter.uniform / 3);
    for (const Rule& rule : kRules) {
        if (reach_ > 0) few_.push_back(GaussNodes(nodes_.back(), rule.count));
    }
}

const JitterNodes::Nodes* JitterNodes::Few(double radians) const
{
    for (std::size_t i = 0; i < few_.size(); ++i) {
        if (radians < kRules[i].radians) return &few_[i];
    }
    return nullptr;
}

const JitterNodes::Nodes& JitterNodes::AtLeast(std::size_t count) const
{
    const auto enough = std::ranges::find_if(
        nodes_, [count](const Nodes& nodes) { return nodes.times.size() >= count; });
    return enough == nodes_.end() ? nodes_.back() : *enough;
}

}  // namespace amisim
