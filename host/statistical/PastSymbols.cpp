#include "host/statistical/PastSymbols.hpp"

#include <algorithm>

namespace amisim {
namespace {

/// What the boundaries move is a Gaussian as long as it is below so many radians rms at the highest
/// frequency: a hundredth of a bin.
constexpr double kSmall = 0.03;

}  // namespace

PastSymbols::PastSymbols(const SymbolTrellis& trellis, const StepResponse& response,
                         const JitterNodes& nodes, double dutyCycle, const Instant& at)
    : trellis_(trellis), until_(at.first), variance_(OlderVariance(response, at))
{
    // The response when each boundary's edge has come, the oldest first.
    std::vector<double> edges = {response(at.time - at.first + 1)};
    double moved = 0;
    for (; until_ < 0; ++until_) {
        const double since = at.time - until_ - at.late(until_);
        const auto [mean, variance] = MovedBy(response, nodes, dutyCycle, since);
        moved += variance;
        if (moved * at.highest * at.highest > kSmall * kSmall) break;
        mean_ += mean;
        variance_ += variance;
        edges.push_back(response(since));
    }
    const std::vector<double>& cursors = trellis.Cursors();
    added_.resize(edges.size() + cursors.size() - 1);
    for (std::size_t i = 0; i < edges.size(); ++i) {
        const double next = i + 1 < edges.size() ? edges[i + 1] : 0;
        const std::size_t newest = edges.size() - 1 - i;
        for (std::size_t place = 0; place < cursors.size(); ++place)
            added_[newest + place] += cursors[place] * (edges[i] - next);
    }
}

/// Of all that may happen at a boundary so long before, what its jitter does.
PastSymbols::Moved PastSymbols::MovedBy(const StepResponse& response, const JitterNodes& nodes,
                                        double dutyCycle, double since) const
{
    const double slope = (response(since + nodes.Rms()) - response(since - nodes.Rms())) / 2;
    double sum = 0, squares = 0, count = 0;
    for (std::size_t state = 0; state < trellis_.States(); ++state) {
        for (const auto& [from, change] : trellis_.Into(state)) {
            const auto& [difference, direction] = trellis_.Changes()[change];
            const double shifted =
                dutyCycle == 0 ? 0
                               : difference * (response(since + 0.25 * dutyCycle * direction) -
                                               response(since));
            sum += shifted;
            squares += shifted * shifted + difference * difference * slope * slope;
            ++count;
        }
    }
    const double mean = sum / count;
    return {mean, squares / count - mean * mean};
}

/// Of what the symbols before the first boundary but the last of them add. So far away the response
/// hardly changes over a few symbols: their sum counts, not how the de-emphasis spreads it.
double PastSymbols::OlderVariance(const StepResponse& response, const Instant& at) const
{
    double sum = 0;
    for (int boundary = at.first; at.time - boundary < response.Settled(); --boundary) {
        const double since = at.time - boundary + 1;
        const double cursor = response(since + 1) - response(since);
        sum += cursor * cursor;
    }
    return sum * trellis_.Variance();
}

std::vector<Characteristic> PastSymbols::States(double step, std::size_t size) const
{
    const std::vector<double>& levels = trellis_.SentLevels();
    const std::size_t held = trellis_.Cursors().size();
    std::vector<double> others(size, 1.0);
    for (std::size_t symbol = held; symbol < added_.size(); ++symbol)
        MultiplyByMean(levels, step * added_[symbol], others);
    const double share[] = {1.0 / static_cast<double>(trellis_.States())};
    std::vector<Characteristic> states;
    for (std::size_t state = 0; state < trellis_.States(); ++state) {
        double volts = mean_;
        for (std::size_t place = 0; place < held; ++place)
            volts += added_[place] * levels[trellis_.SymbolOf(state, place)];
        Characteristic own(size);
        AddValues({&volts, 1}, share, step, own);
        Spread(variance_, step, own);
        Scale(others, own);
        states.push_back(std::move(own));
    }
    return states;
}

}  // namespace amisim
