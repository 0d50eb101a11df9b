#include "host/statistical/EdgeSum.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "host/statistical/PastSymbols.hpp"

namespace amisim {
namespace {

/// Phases of a sine that stand for all of them.
constexpr int kSinePhases = 24;

/// Of two sines the phases lie on a lattice that covers all pairs evenly: neighbours in the
/// sequence of Fibonacci.
constexpr int kPairs = 89, kPairStep = 55;

/// Places of all sines in their periods.
std::vector<std::vector<double>> SinePhases(std::size_t sines)
{
    constexpr double kPeriod = 2 * std::numbers::pi;
    std::vector<std::vector<double>> phases;
    for (int i = 0; sines == 1 && i < kSinePhases; ++i)
        phases.push_back({kPeriod * i / kSinePhases});
    for (int i = 0; sines == 2 && i < kPairs; ++i)
        phases.push_back({kPeriod * i / kPairs, kPeriod * (i * kPairStep % kPairs) / kPairs});
    if (phases.empty()) phases.emplace_back();
    return phases;
}

}  // namespace

EdgeSum::EdgeSum(SymbolTrellis trellis, StepResponse response, const BoundaryJitter& jitter)
    : trellis_(std::move(trellis)), response_(std::move(response)), jitter_(jitter), nodes_(jitter)
{
    for (const double sign : {1.0, -1.0}) {
        for (std::vector<double>& phases : SinePhases(jitter.sines.size())) {
            commons_.push_back({sign * jitter.evenOdd, std::move(phases)});
        }
        if (jitter.evenOdd == 0) {
            break;
        }
    }
    double greatest = 0;
    for (const auto& [difference, direction] : trellis_.Changes()) {
        greatest = std::max(greatest, std::abs(difference));
    }
    constexpr int kLooks = 16;  // a unit interval
    for (int since = 0; since < response_.Settled() + 1; ++since) {
        double most = 0;
        for (int i = 0; i < kLooks; ++i) {
            const double at = since + static_cast<double>(i) / kLooks;
            most = std::max(most, std::abs(response_(at + 1) - response_(at)));
        }
        cursors_.push_back(greatest * most);
    }
}

/// By how much a boundary may be late or early, UI.
double EdgeSum::Reach() const
{
    double reach = nodes_.Reach() + std::abs(jitter_.dutyCycle) / 4 + std::abs(jitter_.evenOdd);
    for (const BoundaryJitter::Sine& sine : jitter_.sines) reach += std::abs(sine.amplitude);
    return reach;
}

/// @param volts  what a symbol before the first one does at most
EdgeSum::Boundaries EdgeSum::Active(double time, double volts) const
{
    const double reach = Reach();
    // The symbol's own boundary is always among them: there its states are told apart.
    std::size_t since = cursors_.size();
    while (since > 1 && cursors_[since - 1] <= volts) {
        --since;
    }
    return {std::min(0, static_cast<int>(std::floor(time - static_cast<double>(since) - reach))),
            std::max(0, static_cast<int>(std::ceil(time - response_.Begin() + reach)))};
}

double EdgeSum::Late(const Common& common, int boundary) const
{
    double late = (boundary % 2 == 0 ? 1 : -1) * common.evenOdd;
    for (std::size_t i = 0; i < jitter_.sines.size(); ++i) {
        const auto& [amplitude, frequency, clockSine, clockCosine] = jitter_.sines[i];
        late +=
            amplitude * std::sin(2 * std::numbers::pi * frequency * boundary + common.phases[i]);
    }
    return late;
}

double EdgeSum::ClockLate(const Common& common) const
{
    double late = 0;
    for (std::size_t i = 0; i < jitter_.sines.size(); ++i) {
        late += jitter_.sines[i].clockSine * std::sin(common.phases[i]) +
                jitter_.sines[i].clockCosine * std::cos(common.phases[i]);
    }
    return late;
}

/// Makes of what all symbols have in common one for each, which has nothing in the others' states.
template <typename Value>
void EdgeSum::PartBySymbol(std::vector<std::vector<Value>>& all, const Value& nothing) const
{
    all.resize(trellis_.Levels(), all[0]);
    for (std::size_t symbol = 0; symbol < all.size(); ++symbol) {
        for (std::size_t state = 0; state < trellis_.States(); ++state) {
            if (trellis_.Main(state) != symbol) {
                all[symbol][state] = nothing;
            }
        }
    }
}

std::vector<EdgeSum::Range> EdgeSum::Extremes(double time) const
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto [first, last] = Active(time, 0);
    const std::size_t count = trellis_.States();
    // Of each symbol, the states' ranges; until the symbol's boundary there is one for all.
    std::vector<std::vector<Range>> all(1);
    for (std::size_t state = 0; state < count; ++state) {
        const double volts = trellis_.Driven(state) * response_.Final();
        all[0].push_back({volts, volts});
    }
    for (int boundary = first; boundary <= last; ++boundary) {
        const double edge = response_(time - boundary);
        for (std::vector<Range>& ranges : all) {
            std::vector<Range> next(count, {kInfinity, -kInfinity});
            for (std::size_t state = 0; state < count; ++state) {
                for (const auto& [from, change] : trellis_.Into(state)) {
                    const double added = trellis_.Changes()[change].difference * edge;
                    next[state].low = std::min(next[state].low, ranges[from].low + added);
                    next[state].high = std::max(next[state].high, ranges[from].high + added);
                }
            }
            ranges = std::move(next);
        }
        if (boundary == 0) {
            PartBySymbol(all, Range{kInfinity, -kInfinity});
        }
    }
    std::vector<Range> extremes;
    for (const std::vector<Range>& ranges : all) {
        extremes.push_back({std::ranges::min(ranges, {}, &Range::low).low,
                            std::ranges::max(ranges, {}, &Range::high).high});
    }
    return extremes;
}

/// The place of the change that does the opposite, or `change` where there is none.
std::size_t EdgeSum::Mirrored(std::size_t change) const
{
    const auto& changes = trellis_.Changes();
    SymbolTrellis::Change opposite = changes[change];
    opposite.difference = -opposite.difference;
    opposite.direction = -opposite.direction;
    const auto found = std::ranges::find(changes, opposite);
    return jitter_.dutyCycle == 0 && found != changes.end()
               ? static_cast<std::size_t>(found - changes.begin())
               : change;
}

/// Of each change that may happen at a boundary so long before; that of no change stays empty.
std::vector<Characteristic> EdgeSum::EdgesAt(double time, double step, std::size_t size) const
{
    std::vector<Characteristic> edges(trellis_.Changes().size());
    std::vector<double> volts;
    const double reach = nodes_.Reach();
    for (std::size_t i = 1; i < edges.size(); ++i) {
        const auto& [difference, direction] = trellis_.Changes()[i];
        if (const std::size_t mirrored = Mirrored(i); mirrored < i) {
            edges[i] = edges[mirrored];
            for (double& value : edges[i].imaginary) {
                value = -value;
            }
            continue;
        }
        const double since = time + 0.25 * jitter_.dutyCycle * direction;
        // So dense that the highest frequency turns by less than a quarter between two of them.
        const double moved =
            std::abs(difference) * std::max(std::abs(response_(since + reach) - response_(since)),
                                            std::abs(response_(since - reach) - response_(since)));
        constexpr double kStill = 1e-3;
        const double turns = moved * step * static_cast<double>(size);
        const auto count =
            turns < kStill ? 1 : static_cast<std::size_t>(4 * turns / std::numbers::pi) + 2;
        // What is done for many phases is worth a choice.
        const JitterNodes::Nodes* few =
            count > 1 && commons_.size() > 2 ? nodes_.Few(turns * nodes_.Rms() / reach) : nullptr;
        const JitterNodes::Nodes& nodes = few ? *few : nodes_.AtLeast(count);
        volts.clear();
        for (const double late : nodes.times) {
            volts.push_back(difference * response_(since - late));
        }
        edges[i] = Characteristic(size);
        AddValues(volts, nodes.weights, step, edges[i]);
    }
    return edges;
}

void EdgeSum::Step(States& states, const std::vector<Characteristic>& edges, States& spare) const
{
    const double each = 1.0 / static_cast<double>(trellis_.Levels());
    for (std::size_t state = 0; state < spare.size(); ++state) {
        spare[state].Clear();
        for (const auto& [from, change] : trellis_.Into(state)) {
            if (change == 0) {
                AddScaled(each, states[from], spare[state]);
            } else {
                AddProduct(each, states[from], edges[change], spare[state]);
            }
        }
    }
    states.swap(spare);
}

void EdgeSum::AddWith(const Common& common, double time, double step, double weight,
                      std::vector<Characteristic>& sum) const
{
    const std::size_t size = sum[0].Size();
    const double bin = std::numbers::pi / (step * static_cast<double>(size));
    const auto [first, last] = Active(time, bin / 16);
    const PastSymbols past(trellis_, response_, nodes_, jitter_.dutyCycle,
                           {.time = time,
                            .late = [&](int boundary) { return Late(common, boundary); },
                            .first = first,
                            .highest = step * static_cast<double>(size)});
    std::vector<States> all(1, past.States(step, size));
    States spare = all[0];
    for (int boundary = past.Until(); boundary <= last; ++boundary) {
        const auto edges = EdgesAt(time - boundary - Late(common, boundary), step, size);
        for (States& states : all) {
            Step(states, edges, spare);
        }
        if (boundary == 0) {
            PartBySymbol(all, Characteristic(size));
        }
    }
    for (std::size_t symbol = 0; symbol < sum.size(); ++symbol) {
        for (const Characteristic& state : all[symbol]) {
            AddScaled(weight * static_cast<double>(sum.size()), state, sum[symbol]);
        }
    }
}

std::vector<Characteristic> EdgeSum::At(double time, double step, std::size_t size) const
{
    std::vector<Characteristic> sum(trellis_.Levels(), Characteristic(size));
    for (const Common& common : commons_) {
        AddWith(common, time + ClockLate(common), step, 1.0 / static_cast<double>(commons_.size()),
                sum);
    }
    return sum;
}

}  // namespace amisim
