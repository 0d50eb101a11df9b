#include "host/analysis/EyeAnalysis.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <numeric>

#include "base/StraightLine.hpp"
#include "base/Wide.hpp"

namespace amisim {
namespace {

constexpr std::size_t kLevelRows = 8192;   // at the sampling instant
constexpr std::size_t kColumnRows = 4096;  // at the other phases

// Samples kept at most while no clock edge comes, in bits: a model whose clock stands still must
// not make the host hold the waveform.
constexpr std::int64_t kKeptBits = 64;

constexpr double kWildFactor = 8;  // over what was expected
// More wild samples than these, and than one in so many, are the signal itself.
constexpr std::int64_t kFewWild = 64, kWildPart = 1000;

constexpr std::size_t kBins = ThresholdCrossings::kBins;

// A slicer's output switches this near to where data are sampled, UI, in this part of all cases.
constexpr double kSlicedWithin = 0.125, kSlicedPart = 0.9;

/// The greatest magnitude; NaN or infinite where a sample is.
double GreatestOf(std::span<const double> wave)
{
    // Several side by side. The maxima pass over NaN; the sums do not.
    constexpr std::size_t kAtOnce = 8;
    std::array<double, kAtOnce> maxima{}, sums{};
    const auto take = [&](std::size_t count) {
        for (std::size_t k = 0; k < count; ++k) {
            maxima[k] = std::max(maxima[k], std::abs(wave[k]));
            sums[k] += wave[k];
        }
        wave = wave.subspan(count);
    };
    while (wave.size() >= kAtOnce) take(kAtOnce);
    take(wave.size());
    for (const double sum : sums) {
        if (!std::isfinite(sum)) return sum;
    }
    return std::ranges::max(maxima);
}

EyeAnalysis::Decisions DecisionsAt(double offset, const EyeAnalysis::Settings& settings)
{
    const VoltageHistogram empty(1, kLevelRows);
    EyeAnalysis::Decisions at;
    at.offset = offset;
    at.slices.assign(settings.slicers.thresholds.size(), {empty, empty});
    if (settings.sent) at.symbols.emplace(*settings.sent, settings.mapping);
    if (settings.origin) at.endToEnd.emplace(*settings.origin, settings.mapping);
    return at;
}

/// A trace's voltages from a place on, in samples, that many samples apart; straight between them.
WIDE void ReadEvenly(const double* wave, double first, double step, double noise,
                     std::span<double> voltages)
{
    double* const to = voltages.data();
    const int count = static_cast<int>(voltages.size());
    for (int k = 0; k < count; ++k) {
        const double place = first + step * k;
        const auto i = static_cast<int>(place);
        to[k] = wave[i] + (wave[i + 1] - wave[i]) * (place - i) + noise;
    }
}

/// The same at this part of the way from each sample to the next.
WIDE void ReadBetween(const double* wave, double part, double noise, std::span<double> voltages)
{
    double* const to = voltages.data();
    for (std::size_t i = 0; i < voltages.size(); ++i)
        to[i] = wave[i] + (wave[i + 1] - wave[i]) * part + noise;
}

WIDE void PlaceInColumns(double first, double step, int mask, std::span<std::int32_t> columns)
{
    std::int32_t* const to = columns.data();
    const int count = static_cast<int>(columns.size());
    for (int i = 0; i < count; ++i) to[i] = static_cast<int>(first + step * i) & mask;
}

}  // namespace

EyeAnalysis::EyeAnalysis(const Settings& settings)
    : settings_(settings),
      slicers_(settings.slicers),
      furthestLate_(settings.slicers.Furthest()),
      density_(kColumns, kDensityRows),
      decided_(settings.slicers.thresholds.size() + 1, {kLevelColumns, kColumnRows}),
      atSampling_(DecisionsAt(0.5, settings)),
      later_(DecisionsAt(0.75, settings)),
      crossings_(settings.slicers.thresholds.begin(), settings.slicers.thresholds.end())
{
}

void EyeAnalysis::Use(const Sampler& sampler)
{
    sampler_ = sampler;
    draws_.after = sampler_.Next();
}

void EyeAnalysis::Use(const Slicers& slicers, double from)
{
    if (slicers == LastSlicers()) return;
    pending_.push_back({from, slicers});
    furthestLate_ = std::max(furthestLate_, slicers.Furthest());
}

void EyeAnalysis::TakeSlicers(double begin)
{
    for (; !pending_.empty() && pending_.front().from <= begin; pending_.pop_front()) {
        slicers_ = pending_.front().slicers;
        for (std::size_t i = 0; i < crossings_.size(); ++i)
            crossings_[i].SetThreshold(slicers_.thresholds[i]);
        joinedAt_ = -1;
    }
}

void EyeAnalysis::Add(std::span<const double> wave, std::span<const ClockFrame::Edge> edges)
{
    double greatest = GreatestOf(wave);
    const std::size_t old = wave_.size();
    wave_.insert(wave_.end(), wave.begin(), wave.end());
    if (!std::isfinite(greatest)) greatest = TakeNotFinite(old);
    if (greatest >= wildFrom_) greatest = TakeWild(old);
    const auto end = static_cast<double>(waveStart_ + static_cast<std::int64_t>(wave_.size()));
    const auto ignored = static_cast<double>(settings_.ignoreSamples);
    if (end > ignored) {
        // No column gets more than all points of the trace, or one for each unit interval, those
        // of a window that was begun before among them.
        const std::size_t most = wave_.size() * StepsPerSample() + edges_.size() + edges.size() +
                                 SymbolComparer::kWindow;
        const double furthest = greatest + sampler_.MostVolts();
        density_.Fit(furthest, most);
        for (VoltageHistogram& histogram : decided_) histogram.Fit(furthest, most);
        for (Decisions* at : {&atSampling_, &later_}) {
            for (Slice& slice : at->slices) {
                slice.below.Fit(furthest, most);
                slice.above.Fit(furthest, most);
            }
        }
        const auto counted =
            static_cast<std::size_t>(std::min(end - ignored, static_cast<double>(wave.size())));
        if (fewLevels_) SeekLevels(wave.last(counted));
    }

    // A unit interval is complete when the sample after the later instant of decision, which may
    // lie in the next one, is there too.
    edges_.insert(edges_.end(), edges.begin(), edges.end());
    const double known = end - 2 - FurthestMoved();
    std::size_t used = 0;
    for (; used + 1 < edges_.size(); ++used) {
        const double begin = edges_[used].time, next = edges_[used + 1].time;
        if (next > known || begin + 0.75 * settings_.samplesPerBit > known) break;
        if (!edges_[used + 1].afterGap) AddInterval(begin, next);
    }
    edges_.erase(edges_.begin(), edges_.begin() + static_cast<std::ptrdiff_t>(used));

    const auto keptFrom = static_cast<std::int64_t>(end) - kKeptBits * settings_.samplesPerBit;
    const auto neededFrom =
        edges_.empty()
            ? static_cast<std::int64_t>(end) - 2 * settings_.samplesPerBit
            : static_cast<std::int64_t>(std::floor(edges_.front().time - FurthestMoved())) - 1;
    const std::int64_t from = std::max({waveStart_, neededFrom, keptFrom});
    wave_.erase(wave_.begin(), wave_.begin() + static_cast<std::ptrdiff_t>(std::min<std::int64_t>(
                                                   from - waveStart_, std::ssize(wave_))));
    waveStart_ = std::min(from, static_cast<std::int64_t>(end));
}

/// Of the samples from number `from` of wave_ on; returns the greatest magnitude.
double EyeAnalysis::TakeNotFinite(std::size_t from)
{
    double greatest = 0;
    for (std::size_t i = from; i < wave_.size(); ++i) {
        if (!std::isfinite(wave_[i])) {
            if (notFinite_++ == 0) firstNotFinite_ = waveStart_ + static_cast<std::int64_t>(i);
            wave_[i] = 0;
        }
        greatest = std::max(greatest, std::abs(wave_[i]));
    }
    return greatest;
}

void EyeAnalysis::Expect(double amplitude)
{
    if (!(amplitude > 0 && kWildFactor * amplitude < VoltageHistogram::kMost / 2)) return;
    wildFrom_ = kWildFactor * amplitude;
    wild_.takenAs = 2 * amplitude;
}

/// As TakeNotFinite.
double EyeAnalysis::TakeWild(std::size_t from)
{
    double greatest = 0;
    for (std::size_t i = from; i < wave_.size(); ++i) {
        const std::int64_t number = waveStart_ + static_cast<std::int64_t>(i);
        const std::int64_t counted = number - settings_.ignoreSamples;
        if (std::abs(wave_[i]) >= wildFrom_) {
            if (counted >= 0 && wild_.count++ == 0) {
                wild_.first = number;
                wild_.firstVoltage = wave_[i];
            }
            wave_[i] = std::copysign(wild_.takenAs, wave_[i]);
            if (wild_.count > kFewWild && kWildPart * wild_.count > counted)
                wildFrom_ = wild_.takenAs = VoltageHistogram::kMost / 2;
        }
        greatest = std::max(greatest, std::abs(wave_[i]));
    }
    return greatest;
}

void EyeAnalysis::SeekLevels(std::span<const double> wave)
{
    for (const double value : wave) {
        if (std::ranges::find(levels_, value) != levels_.end()) continue;
        fewLevels_ = levels_.size() < decided_.size();
        if (!fewLevels_) return;
        levels_.push_back(value);
    }
}

void EyeAnalysis::Finish()
{
    for (Decisions* at : {&atSampling_, &later_}) {
        if (at->endToEnd) at->endToEnd->Finish();
        if (at->symbols) at->symbols->Finish();
        TakeWindow(*at);
    }
}

double EyeAnalysis::ValueAt(double time) const
{
    return StraightAt(wave_, time - static_cast<double>(waveStart_));
}

/// Has the wrong decisions of the window counted, and what was sent there put in their places.
void EyeAnalysis::CountWrong(Decisions& at, bool compared)
{
    for (const auto& [place, sent] : at.symbols->Wrong()) {
        Symbol& decided = at.decided[place];
        const auto [low, high] = std::minmax(decided, sent);
        for (std::size_t which = low; which < high; ++which) ++at.slices[which].errors;
        decided = sent;
        at.unsureAt[place] = 0;
    }
    for (const std::uint32_t unsure : at.unsureAt) {
        if (unsure == 0 || !compared) continue;
        ++at.unsure;
        for (std::size_t which = 0; which < at.slices.size(); ++which)
            at.slices[which].errors += unsure >> which & 1;
    }
}

void EyeAnalysis::TakeWindow(Decisions& at)
{
    if (at.symbols) {
        CountWrong(at, at.symbols->Compared() > at.compared);
        at.compared = at.symbols->Compared();
    }
    const double* voltages = at.voltages.data();
    for (std::size_t symbol : at.decided) {
        // A voltage at a threshold itself lies in the histograms' row above it.
        while (symbol < at.slices.size() && voltages[symbol] == slicers_.thresholds[symbol])
            ++symbol;
        if (symbol > 0) at.slices[symbol - 1].above.Count(0, voltages[symbol - 1]);
        if (symbol < at.slices.size()) at.slices[symbol].below.Count(0, voltages[symbol]);
        voltages += at.slices.size();
    }
    at.decided.clear();
    at.unsureAt.clear();
    at.voltages.clear();
}

EyeAnalysis::Decision EyeAnalysis::Decide(Decisions& at, double begin)
{
    const double time = begin + at.offset * settings_.samplesPerBit;
    Symbol symbol = 0;
    double distance = std::numeric_limits<double>::infinity();
    std::uint32_t unsure = 0;
    for (std::size_t i = 0; i < at.slices.size(); ++i) {
        const double value =
            ValueAt(time + slicers_.late[i] * settings_.samplesPerBit) + draws_.now.volts;
        const double over = value - slicers_.thresholds[i];
        symbol = static_cast<Symbol>(symbol + (over > 0));
        distance = std::min(distance, std::abs(over));
        unsure |= static_cast<std::uint32_t>(std::abs(over) < sampler_.Sensitivity()) << i;
        at.voltages.push_back(value);
    }
    at.decided.push_back(symbol);
    at.unsureAt.push_back(unsure);
    const auto near = static_cast<std::int64_t>(std::floor(time / settings_.sentUnitInterval));
    if (at.endToEnd) at.endToEnd->Add(symbol, near);
    if (at.symbols) at.symbols->Add(symbol, near);
    if (at.symbols ? at.symbols->WindowDone() : at.decided.size() == SymbolComparer::kWindow)
        TakeWindow(at);
    return {symbol, distance};
}

void EyeAnalysis::CountLevels(double begin, double end, Symbol symbol)
{
    const double step = (end - begin) / static_cast<double>(kLevelColumns);
    const double first = begin - static_cast<double>(waveStart_) + step / 2;
    columns_.resize(kLevelColumns);
    std::iota(columns_.begin(), columns_.end(), 0);
    voltages_.resize(kLevelColumns);
    ReadEvenly(wave_.data(), first, step, draws_.now.volts, voltages_);
    decided_[symbol].Count(columns_, voltages_);
}

void EyeAnalysis::CountDensity(std::span<const double> wave, double first, double begin, double end)
{
    const double perSample = static_cast<double>(kColumns) / (end - begin);
    const int steps = static_cast<int>(StepsPerSample());
    const double perStep = perSample / steps;
    // Phases lie in the middle of columns, so that a clock on the sample grid fills them evenly.
    double column = (first - begin) * perSample + 0.5 * std::min(1.0, perStep);
    if (column < 0) column += static_cast<double>(kColumns);
    constexpr int kMask = static_cast<int>(kColumns) - 1;
    columns_.resize(wave.size() - 1);
    voltages_.resize(wave.size() - 1);
    for (int step = 0; step < steps; ++step) {
        PlaceInColumns(column + perStep * step, perSample, kMask, columns_);
        ReadBetween(wave.data(), static_cast<double>(step) / steps, draws_.now.volts, voltages_);
        density_.Count(columns_, voltages_);
    }
}

EyeAnalysis::Samples EyeAnalysis::Between(double begin, double end) const
{
    // A clock edge that falls on a sample, but for rounding, takes that sample with it.
    constexpr double kOnSample = 1e-6;
    const double first = std::ceil(begin - kOnSample), last = std::ceil(end - kOnSample);
    return {first, std::span<const double>(wave_).subspan(
                       static_cast<std::size_t>(first - static_cast<double>(waveStart_)),
                       static_cast<std::size_t>(last - first) + 1)};
}

/// Each slicer has unit intervals of its own, as late as its instants are.
void EyeAnalysis::CountCrossings(double begin, double end)
{
    const bool joined = begin == joinedAt_;
    for (std::size_t i = 0; i < crossings_.size(); ++i) {
        const double late = slicers_.late[i] * settings_.samplesPerBit;
        const auto [first, wave] = Between(begin + late, end + late);
        crossings_[i].Add(wave, first, begin + late, end + late, joined, draws_);
    }
    boundaries_ += joined;
    joinedAt_ = end;
}

void EyeAnalysis::AddInterval(double begin, double end)
{
    if (begin < static_cast<double>(settings_.ignoreSamples)) return;
    if (begin - FurthestMoved() < static_cast<double>(waveStart_))
        return;  // its samples are gone already
    ++intervals_;
    TakeSlicers(begin);
    draws_ = {draws_.now, draws_.after, sampler_.Next()};
    const double late = draws_.now.late * settings_.samplesPerBit;
    const Decision decision = Decide(atSampling_, begin + late);
    Decide(later_, begin + late);
    trend_.Add(begin / settings_.samplesPerBit, decision.distance);
    if (!settings_.decisionsOnly) {
        CountLevels(begin + late, end + late, decision.symbol);
        const auto [first, wave] = Between(begin, end);
        CountDensity(wave, first, begin + late, end + late);
    }
    CountCrossings(begin, end);
}

std::optional<std::complex<double>> EyeAnalysis::MeanCrossing() const
{
    std::complex<double> sum = 0;
    double all = 0;
    for (const ThresholdCrossings& crossings : crossings_) {
        for (std::size_t i = 0; i < kBins; ++i) {
            const auto count =
                static_cast<double>(crossings.LastBefore()[i] + crossings.FirstAfter()[i]);
            if (count == 0) continue;
            const double phase = (static_cast<double>(i) + 0.5) / kBins - 0.5;
            sum += std::polar(count, 2 * std::numbers::pi * phase);
            all += count;
        }
    }
    return all > 0 ? std::optional(sum / all) : std::nullopt;
}

bool EyeAnalysis::IsSliced() const
{
    if (!fewLevels_) return false;
    std::uint64_t near = 0, all = 0;
    for (const ThresholdCrossings& crossings : crossings_) {
        for (std::size_t i = 0; i < kBins; ++i) {
            const std::uint64_t count = crossings.LastBefore()[i] + crossings.FirstAfter()[i];
            const std::size_t fromSampling = std::min(i, kBins - 1 - i);
            all += count;
            if (static_cast<double>(fromSampling) < kSlicedWithin * kBins) near += count;
        }
    }
    return static_cast<double>(near) > kSlicedPart * static_cast<double>(all);
}

}  // namespace amisim
