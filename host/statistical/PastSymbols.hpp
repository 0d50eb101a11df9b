#pragma once

#include <functional>
#include <vector>

#include "host/statistical/BoundaryJitter.hpp"
#include "host/statistical/Characteristic.hpp"
#include "host/statistical/StepResponse.hpp"
#include "host/statistical/SymbolTrellis.hpp"

namespace amisim {

/// What symbols add to the voltage at an instant, of which the boundaries' jitter counts no more.
/// Where no boundary moves on its own, a sum over edges is one over symbols,
///
///     sum over n of v[n] X[n],    X[n] = sum over i of c[i] (s(t - n - i) - s(t - n - i - 1)),
///
/// with v the symbols' levels, c the cursors of the de-emphasis and s the response to a step, and
/// its characteristic function a product of one factor a symbol. What little the boundaries do move
/// is added as a Gaussian.
class PastSymbols
{
public:
    struct Instant
    {
        double time;  // UI after the boundary where the symbol to be decided begins
        std::function<double(int)> late;  // UI, of a boundary, for what all have in common
        int first;       // boundaries before have symbols that are a Gaussian together
        double highest;  // frequency, rad/V
    };
    PastSymbols(const SymbolTrellis& trellis, const StepResponse& response,
                const JitterNodes& nodes, double dutyCycle, const Instant& at);

    /// The first boundary that is left: 0 at the latest, where symbols are told apart.
    int Until() const { return until_; }

    /// Of each state of the trellis before that boundary.
    std::vector<Characteristic> States(double step, std::size_t size) const;

private:
    struct Moved
    {
        double mean, variance;  // V, V squared
    };
    Moved MovedBy(const StepResponse& response, const JitterNodes& nodes, double dutyCycle,
                  double since) const;
    double OlderVariance(const StepResponse& response, const Instant& at) const;

    const SymbolTrellis& trellis_;
    int until_;
    double mean_ = 0, variance_ = 0;  // V, V squared
    std::vector<double> added_;       // X, the newest symbol's first: V for one unit of its level
};

}  // namespace amisim
