#include "host/jitter/Trial.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/Error.hpp"
#include "host/analysis/ClockFrame.hpp"

namespace amisim {
namespace {

// Of the bits that count, unit intervals that may lack a clock edge: at the ends of the run.
constexpr std::int64_t kLacking = 64;

SimulationOptions OptionsOf(const TriedLink& link, double frequency, double amplitude,
                            std::int64_t counted)
{
    SimulationOptions options = link.options;
    SignalOptions& sent = options.Segments().front()->signal;
    sent.sineFrequency = frequency;
    sent.sineJitter = frequency > 0 ? amplitude : 0;
    options.ignoreBits = SettleBits(link);
    for (SegmentOptions* segment : options.Segments()) {
        if (!segment->signal.bits) segment->signal.bits = *options.ignoreBits + counted;
    }
    options.errorsOnly = true;
    options.statistical = false;
    options.mask.clear();  // is an eye's
    return options;
}

/// @throws Error for a run that came to nothing
RunResult RunThrough(const TriedLink& link, const SimulationOptions& options,
                     BlockListener& listener)
{
    Simulation simulation(options, link.models, link.surroundings);
    RunResult result = simulation.Run(listener);
    if (result.failure) {
        const auto& failure = *result.failure;
        throw Error(failure.code,
                    failure.code == ExitCode::kInterrupted
                        ? "interrupted"
                        : fmt::format("the model {} in {}{}{}", failure.reason, failure.phase,
                                      failure.printed.empty() ? "" : ": ", failure.printed));
    }
    if (result.clock.ideal) {
        throw Error(ExitCode::kModelLoad,
                    fmt::format("{}: returned no clock times: only a model with a clock recovery "
                                "has a jitter tolerance and a jitter transfer",
                                link.models.back().receiver.name));
    }
    return result;
}

bool IsLost(const BitComparison& comparison)
{
    return comparison.realignments > 0 || comparison.unaligned > 0;
}

class ToleranceListener : public BlockListener
{
public:
    explicit ToleranceListener(const SequentialTest& test) : test_(test) {}

    bool IsEnough(const std::optional<BitComparison>& soFar) override
    {
        if (!soFar) return false;
        comparison_ = *soFar;
        if (comparison_.compared > 0)
            verdict_ = test_.Judge(comparison_.compared, comparison_.errors);
        return IsLost(comparison_) || verdict_ != SequentialTest::Verdict::kOpen;
    }
    void Take(const ModelProcess::Block& /*block*/) override {}

    const BitComparison& Comparison() const { return comparison_; }
    SequentialTest::Verdict Verdict() const { return verdict_; }

private:
    const SequentialTest& test_;
    BitComparison comparison_;
    SequentialTest::Verdict verdict_ = SequentialTest::Verdict::kOpen;
};

/// Keeps the clock's edges and, of the first that counts, the symbol that it begins.
class ClockListener : public BlockListener
{
public:
    explicit ClockListener(const SimulationOptions& options)
        : frame_(options.signal.SampleInterval(), options.signal.BitTime()),
          countFrom_(static_cast<double>(*options.ignoreBits * options.signal.samplesPerBit))
    {
    }
    void Take(const ModelProcess::Block& block) override
    {
        frame_.Add(block.clocks.times);
        for (const ClockFrame::Edge& edge : frame_.Edges()) {
            if (edge.time >= countFrom_) edges_.push_back(edge);
        }
        frame_.Edges().clear();
    }
    const std::vector<ClockFrame::Edge>& Edges() const { return edges_; }

private:
    ClockFrame frame_;
    double countFrom_;
    std::vector<ClockFrame::Edge> edges_;
};

}  // namespace

std::int64_t SettleBits(const TriedLink& link)
{
    if (link.options.ignoreBits) return *link.options.ignoreBits;
    std::int64_t bits = 0;
    for (const auto& [receiver, transmitter] : link.models) {
        const std::int64_t asked = receiver.ignoreBits.value_or(0) +
                                   (transmitter ? transmitter->ignoreBits.value_or(0) : 0);
        bits += std::max(asked, kLeastSettleBits);
    }
    return bits;
}

ToleranceTrial TryTolerance(const TriedLink& link, double frequency, double amplitude, double ratio,
                            double confidence)
{
    const double bitRate = link.options.signal.bitRate;
    const auto periods = static_cast<std::int64_t>(
        frequency > 0 ? std::ceil(kLeastPeriods * bitRate / frequency) : 0);
    const SequentialTest test(ratio, confidence, periods);
    // Symbols are compared in windows, the last of which may have to be whole for the verdict.
    const SimulationOptions options =
        OptionsOf(link, frequency, amplitude / 2,
                  test.MostBits() + 8 * static_cast<std::int64_t>(SymbolComparer::kWindow));
    ToleranceListener listener(test);
    const RunResult result = RunThrough(link, options, listener);
    const BitComparison& found = listener.Comparison();
    ToleranceTrial trial{amplitude, false, found.compared, found.errors, ""};
    if (IsLost(found))
        trial.why = "pattern lost";
    else if (result.clock.missing > kLacking)
        trial.why = "clock lost";
    else if (listener.Verdict() == SequentialTest::Verdict::kFails)
        trial.why = "errors";
    else if (listener.Verdict() == SequentialTest::Verdict::kOpen)
        trial.why = "undecided";
    else
        trial.passed = true;
    return trial;
}

ClockTrial WatchClock(const TriedLink& link, double frequency, double amplitude, std::int64_t bits)
{
    const double bitRate = link.options.signal.bitRate;
    if (frequency > 0) {
        const double periods =
            std::max(kLeastPeriods, std::ceil(static_cast<double>(bits) * frequency / bitRate));
        bits = static_cast<std::int64_t>(std::ceil(periods * bitRate / frequency)) + kLacking;
    }
    const SimulationOptions options = OptionsOf(link, frequency, amplitude, bits);
    ClockListener listener(options);
    const RunResult result = RunThrough(link, options, listener);
    ClockTrial trial;
    const auto& edges = listener.Edges();
    const auto& comparison = result.endToEnd ? result.endToEnd : result.comparison;
    if (!comparison || edges.empty()) return trial;
    trial.errors = comparison->errors;
    trial.compared = comparison->compared;
    trial.lost = IsLost(*comparison) || result.clock.missing > kLacking;

    const SignalOptions& signal = options.Segments().front()->signal;
    const double perBit = signal.samplesPerBit, sentUnit = perBit / (1 + signal.ppm * 1e-6);
    const auto first = static_cast<double>(
        static_cast<std::int64_t>(std::floor((edges[0].time + perBit / 2) / sentUnit)) -
        comparison->delay);
    const double interval = signal.SampleInterval();
    for (const ClockFrame::Edge& edge : edges) {
        const double sent =
            signal.phase * perBit + (first + edge.number - edges[0].number) * sentUnit;
        trial.time.push_back(sent * interval);
        trial.late.push_back((edge.time - sent) / sentUnit);
    }
    if (frequency > 0) {
        const double span = trial.time.back() - trial.time.front();
        const double end = trial.time.front() + std::floor(span * frequency) / frequency;
        const auto last = std::ranges::lower_bound(trial.time, end) - trial.time.begin();
        trial.time.resize(static_cast<std::size_t>(last));  // none where no period is whole
        trial.late.resize(static_cast<std::size_t>(last));
    }
    return trial;
}

}  // namespace amisim
