#include "host/analysis/Analyses.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "base/StraightLine.hpp"
#include "host/analysis/EyeEvaluation.hpp"
#include "host/analysis/SlicerSearch.hpp"
#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

/// Held before the bits that count: the first unit interval that counts may begin before them.
constexpr int kLeadBits = 3;

/// Bits at both ends of a run whose unit interval is not whole.
constexpr std::int64_t kEndBits = 4;

EyeAnalysis::Settings EyeSettings(const Analyses::Settings& settings)
{
    EyeAnalysis::Settings eye;
    eye.samplesPerBit = settings.samplesPerBit;
    eye.ignoreSamples = settings.ignoreBits * settings.samplesPerBit;
    eye.sentUnitInterval = settings.sentUnitInterval;
    eye.slicers = EvenSlicers(settings.mapping.Levels(), 1);
    eye.mapping = settings.mapping;
    eye.sent = settings.sent;
    eye.decisionsOnly = settings.errorsOnly;
    return eye;
}

EyeAnalysis::Settings OutputSettings(const Analyses::Settings& settings)
{
    EyeAnalysis::Settings eye = EyeSettings(settings);
    eye.origin = settings.origin;
    return eye;
}

/// @param unsure  decisions that are right and not sure: each a wrong one, and of one bit
BitComparison ComparisonOf(const SymbolComparer& symbols, std::int64_t unsure)
{
    const bool mapped = symbols.ComparedBits() > 0;
    return {symbols.ComparedBits(), mapped ? symbols.BitErrors() + unsure : 0,
            symbols.Unaligned(),    symbols.Realignments(),
            symbols.Delay(),        symbols.Inverted(),
            symbols.Compared(),     symbols.Errors() + unsure};
}

/// Where between the clock edges a wave crosses thresholds on average (on the circle, since phase 1
/// is phase 0 again), from -1/2 to 1/2; 0 when it does not. The wave's first sample is number
/// `start`; unit intervals within samples `from` to `to` count.
double MeanCrossing(std::span<const double> wave, double start,
                    std::span<const ClockFrame::Edge> edges, double from, double to,
                    std::span<const double> thresholds)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n + 1 < edges.size(); ++n) {
        const double begin = edges[n].time, end = edges[n + 1].time;
        if (edges[n + 1].afterGap || begin < from || end > to) continue;
        for (auto i = static_cast<std::size_t>(begin - start);
             i + 1 < wave.size() && start + static_cast<double>(i) < end; ++i) {
            for (const double threshold : thresholds) {
                if ((wave[i] > threshold) == (wave[i + 1] > threshold)) continue;
                const double at = start + static_cast<double>(i) +
                                  (wave[i] - threshold) / (wave[i] - wave[i + 1]);
                const double phase = (at - begin) / (end - begin);
                if (std::isfinite(phase)) sum += std::polar(1.0, 2 * std::numbers::pi * phase);
            }
        }
    }
    return sum == 0.0 ? 0 : std::arg(sum) / (2 * std::numbers::pi);
}

/// Phase of the mean crossing, from -1/2 to 1/2; 0 where nothing crosses.
double CrossingOf(const EyeAnalysis& eye)
{
    return std::arg(eye.MeanCrossing().value_or(1)) / (2 * std::numbers::pi);
}

/// Where a mask's verdict says less than it seems to.
void RemarkMask(const MaskFindings& mask, std::vector<std::string>& notes)
{
    const char* const where = mask.atInput ? "input" : "output";
    if (mask.samples == 0) {
        notes.push_back(fmt::format(
            "the mask {} was not laid upon the eye at the {}, which has no samples on either side "
            "of 0 V: it counts as missed",
            mask.name, where));
    } else if (mask.Passed() && mask.allowed > 0 && mask.Budget() < 1) {
        notes.push_back(fmt::format(
            "the mask {} allows less than one hit in the {} samples of the eye at the {}: a hit "
            "ratio of {:g} is beyond what they can show (more --bits)",
            mask.name, mask.samples, where, mask.allowed));
    } else if (mask.beyond > 0) {
        notes.push_back(fmt::format(
            "the eye at the {} exceeds the limits of the mask {}, {:+g} and {:+g} V, in {} samples",
            where, mask.name, mask.low, mask.high, mask.beyond));
    }
}

/// How far the openings can be believed.
void RemarkOpenings(const EyeFindings& eye, std::vector<std::string>& notes)
{
    constexpr double kMostDecades = 8;
    for (const OpeningAt& opening : eye.openings) {
        if (!std::isfinite(opening.height) || !std::isfinite(opening.width)) {
            notes.push_back(fmt::format(
                "no whole opening at a bit error ratio of {:g}: {} unit intervals are too few to "
                "extrapolate from, or hold no noise and jitter (more --bits)",
                opening.ber, eye.unitIntervals));
            return;
        }
        const double lowest = Tail::kFewest / static_cast<double>(eye.unitIntervals);
        const double decades = std::log10(lowest / opening.ber);
        if ((opening.heightExtrapolated || opening.widthExtrapolated) && decades > kMostDecades) {
            notes.push_back(fmt::format(
                "the opening at a bit error ratio of {:g} lies {:.0f} decades below what {} unit "
                "intervals can count (more --bits)",
                opening.ber, decades, eye.unitIntervals));
            return;
        }
    }
}

}  // namespace

Analyses::Analyses(const Settings& settings)
    : settings_(settings),
      ignoreSamples_(static_cast<double>(settings.ignoreBits * settings.samplesPerBit)),
      frame_(settings.sampleInterval, settings.sampleInterval * settings.samplesPerBit),
      look_(settings.sampleInterval, settings.sampleInterval * settings.samplesPerBit),
      output_(OutputSettings(settings)),
      input_(EyeSettings(settings)),
      clock_({settings.sampleInterval, settings.sampleInterval * settings.samplesPerBit,
              ignoreSamples_, settings.folder, settings.sent ? settings.sentUnitInterval : 0})
{
}

/// A sine moves the crossings of part of a period to one side.
void Analyses::Expect(std::vector<double> sines)
{
    sines_ = std::move(sines);
    double longest = 0;  // period, bits
    for (const double frequency : sines_) {
        const double period = 1 / (std::abs(frequency) * settings_.samplesPerBit);
        if (period <= kMostHeldBits) longest = std::max(longest, period);
    }
    if (longest > 0)
        heldBits_ = std::lround(longest * std::ceil(static_cast<double>(kHeldBits) / longest));
}

void Analyses::Use(const Slicers& slicers)
{
    told_ = true;
    output_.Use(slicers, end_);
}

void Analyses::IgnoreUpTo(std::int64_t bits)
{
    const std::int64_t samples = bits * settings_.samplesPerBit;
    settings_.ignoreBits = bits;
    ignoreSamples_ = static_cast<double>(samples);
    output_.IgnoreUpTo(samples);
    input_.IgnoreUpTo(samples);
    clock_.CountFrom(ignoreSamples_);
}

void Analyses::Add(std::span<const double> input, std::span<const double> output,
                   std::span<const double> clockTimes)
{
    frame_.Add(clockTimes);
    look_.Add(clockTimes, output.size());
    end_ += static_cast<double>(output.size());
    if (!ideal_ && !settings_.errorsOnly) clock_.Add(frame_.Edges());
    if (!holding_) {
        Feed(input, output, frame_.Edges());
    } else if (end_ <= ignoreSamples_ - static_cast<double>(kLeadBits * settings_.samplesPerBit)) {
        output_.Add(output, frame_.Edges());
        if (!settings_.errorsOnly) input_.Add(input, {});
        heldFrom_ = end_;
    } else {
        heldInput_.insert(heldInput_.end(), input.begin(), input.end());
        heldOutput_.insert(heldOutput_.end(), output.begin(), output.end());
        heldEdges_.insert(heldEdges_.end(), frame_.Edges().begin(), frame_.Edges().end());
        if (end_ >= ignoreSamples_ + static_cast<double>(heldBits_ * settings_.samplesPerBit))
            Release();
    }
    frame_.Edges().clear();
}

void Analyses::Feed(std::span<const double> input, std::span<const double> output,
                    const Edges& edges)
{
    if (ideal_) MakeIdealEdges(end_);
    const Edges& used = ideal_ ? heldEdges_ : edges;
    output_.Add(output, used);
    if (settings_.errorsOnly) return;
    moved_ = used;
    for (ClockFrame::Edge& edge : moved_) edge.time += shift_ * settings_.samplesPerBit;
    input_.Add(input, moved_);
}

void Analyses::MakeIdealEdges(double upTo)
{
    heldEdges_.clear();
    while (true) {
        const double time = (idealNext_ + idealPhase_) * settings_.sentUnitInterval;
        if (time >= upTo) return;
        if (time >= 0) heldEdges_.push_back({time, false, idealNext_});
        idealNext_ += 1;
    }
}

void Analyses::SetIdealClock(const Slicers& slicers, double to)
{
    // From the same bit whatever the size of the blocks, and within what is held.
    const double counted = std::ceil(ignoreSamples_ / settings_.sentUnitInterval);
    const double first = std::max(0.0, counted - kLeadBits + 1);
    idealNext_ = first;
    idealPhase_ = 0;
    MakeIdealEdges(end_);
    idealPhase_ =
        MeanCrossing(heldOutput_, heldFrom_, heldEdges_, ignoreSamples_, to, slicers.thresholds);
    idealNext_ = first;
    MakeIdealEdges(end_);
    idealNext_ = first;
}

/// By what is held of a wave, in the middle between its edges. @param shift  of these, UI
Slicers Analyses::FindSlicers(std::span<const double> held, const Edges& edges, double shift) const
{
    const double bits = static_cast<double>(heldBits_ * settings_.samplesPerBit);
    std::vector<double> levels;
    for (const ClockFrame::Edge& edge : edges) {
        const double time = edge.time + (shift + 0.5) * settings_.samplesPerBit;
        const double place = time - heldFrom_;
        if (time < ignoreSamples_ || time > ignoreSamples_ + bits || !(place >= 0) ||
            place + 1 >= static_cast<double>(held.size()))
            continue;
        levels.push_back(StraightAt(held, place));
    }
    return SlicersBetween(std::move(levels), settings_.mapping.Levels());
}

void Analyses::Release()
{
    holding_ = false;
    // So many bits whatever the size of the blocks, so that this makes no difference.
    const double to = ignoreSamples_ + static_cast<double>(heldBits_ * settings_.samplesPerBit);
    const int levels = settings_.mapping.Levels();
    const bool several = levels > 2;
    Slicers output = output_.LastSlicers(), input = output;
    if (several) {
        input = SlicersBetween(CountedOf(heldInput_), levels);
        if (!told_) output = SlicersBetween(CountedOf(heldOutput_), levels);
    }
    ideal_ = frame_.Times() == 0;
    if (ideal_) SetIdealClock(output, to);
    shift_ = MeanCrossing(heldInput_, heldFrom_, heldEdges_, ignoreSamples_, to, input.thresholds);
    if (several) {
        // Where the levels are is known only now, and what they are crossed at by that.
        if (!told_) {
            output = FindSlicers(heldOutput_, heldEdges_, 0);
            if (ideal_) SetIdealClock(output, to);
            output_.Use(output, 0);
        }
        input = FindSlicers(heldInput_, heldEdges_, shift_);
        shift_ =
            MeanCrossing(heldInput_, heldFrom_, heldEdges_, ignoreSamples_, to, input.thresholds);
        input_.Use(input, 0);
    }
    output_.Use(Sampler(sampler_, ideal_));
    input_.Expect(AmplitudeOf(heldInput_));
    output_.Expect(AmplitudeOf(heldOutput_));
    const Edges edges = std::move(heldEdges_);
    heldEdges_ = {};
    Feed(heldInput_, heldOutput_, edges);
    heldInput_ = {};
    heldOutput_ = {};
}

/// The samples that count of what is held, of so many bits whatever the size of the blocks.
std::vector<double> Analyses::CountedOf(std::vector<double> held) const
{
    const double counted = std::max(0.0, ignoreSamples_ - heldFrom_);
    const double bits = static_cast<double>(heldBits_ * settings_.samplesPerBit);
    held.resize(std::min(held.size(), static_cast<std::size_t>(counted + bits)));
    held.erase(held.begin(), held.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                counted, static_cast<double>(held.size()))));
    std::erase_if(held, [](double v) { return !std::isfinite(v); });
    return held;
}

/// That 99 % of the held samples that count stay within.
double Analyses::AmplitudeOf(std::vector<double> held) const
{
    held = CountedOf(std::move(held));
    if (held.empty()) return 0;
    for (double& v : held) v = std::abs(v);
    const auto place = held.begin() + std::ssize(held) * 99 / 100;
    std::ranges::nth_element(held, place);
    return *place;
}

std::optional<BitComparison> Analyses::Comparison() const
{
    const auto& decisions = DecisionsOf(output_);
    if (!decisions.symbols) return std::nullopt;
    return ComparisonOf(*decisions.symbols, decisions.unsure);
}

std::optional<BitComparison> Analyses::EndToEnd() const
{
    const auto& decisions = DecisionsOf(output_);
    if (!decisions.endToEnd) return std::nullopt;
    return ComparisonOf(*decisions.endToEnd, 0);
}

Analyses::Findings Analyses::Find()
{
    if (holding_) Release();
    output_.Finish();
    input_.Finish();
    Findings found;
    found.clock = clock_.Find(sines_);
    found.clock.times = frame_.Times();
    found.clock.filled = frame_.Filled();
    found.clock.backward = frame_.Backward();
    found.clock.ideal = ideal_;
    found.clock.looksLike = look_.Remark();
    const auto bits = static_cast<std::int64_t>(std::max(0.0, end_ - ignoreSamples_) /
                                                settings_.sentUnitInterval);
    const std::int64_t missing = bits - output_.UnitIntervals();
    if (missing > kEndBits) found.clock.missing = missing;
    found.comparison = Comparison();
    found.endToEnd = EndToEnd();
    if (settings_.errorsOnly) return found;
    if (output_.UnitIntervals() > 0) found.eye = EvaluateEyes(output_, 0, settings_.bers);
    if (input_.UnitIntervals() > 0) found.inputEye = EvaluateEyes(input_, shift_, settings_.bers);
    if (settings_.mask) {
        const EyeAnalysis& eye = settings_.maskAtInput ? input_ : output_;
        found.mask = TestMask(*settings_.mask, eye.Density(), CrossingOf(eye));
        found.mask->atInput = settings_.maskAtInput;
    }
    const double sentUnitInterval = settings_.sentUnitInterval * settings_.sampleInterval;
    found.verdict = Judge(output_, found.eye, found.clock, found.comparison, bits,
                          settings_.sent ? std::optional(sentUnitInterval) : std::nullopt);
    // Only what has locked has settled.
    if (found.verdict.lock != Lock::kLocked)
        found.clock.settledAtBit = found.clock.moved = kUnknown;
    Remark(found);
    return found;
}

void Analyses::RemarkSlicers(std::vector<std::string>& notes) const
{
    const auto list = [](const EyeAnalysis& eye) {
        std::string text;
        for (const double threshold : eye.LastSlicers().thresholds)
            text += fmt::format("{}{:.1f}", text.empty() ? "" : ", ",
                                std::round(threshold * 1e4) / 10 + 0.0);
        return text;
    };
    const char* const found = "halfway between the levels found at the sampling instant";
    notes.push_back(fmt::format("the output is decided {}: {} mV",
                                told_ ? "by the model's own thresholds, at the end" : found,
                                list(output_)));
    notes.push_back(
        fmt::format("the input's eyes are around thresholds {}: {} mV", found, list(input_)));
}

void Analyses::Remark(Findings& found) const
{
    auto& notes = found.notes;
    if (end_ > 0 && !found.verdict.reason.empty())
        notes.push_back(fmt::format("{}: {}", Name(found.verdict.lock), found.verdict.reason));
    if (!found.clock.looksLike.empty() && found.verdict.lock != Lock::kNotLocked) {
        notes.push_back(
            fmt::format("the clock times {}: expected seconds since the first sample "
                        "of the run, one for each bit",
                        found.clock.looksLike));
    }
    if (ideal_ && frame_.Times() > 0) {
        notes.push_back(fmt::format("its first clock times came after bit {} and are left out",
                                    settings_.ignoreBits + heldBits_));
    }
    constexpr double kMuch = 0.02;  // UI
    if (std::abs(found.clock.moved) > kMuch) {
        notes.push_back(fmt::format(
            "the clock moved by {:+.3f} UI over the bits that are counted, and eyes are up to as "
            "much narrower: its loop had not settled (more --ignore-bits)",
            found.clock.moved));
    }
    if (found.clock.backward > 0) {
        notes.push_back(fmt::format(
            "{} clock times were not later than the one before, or lay beyond any run, and "
            "are left out",
            found.clock.backward));
    }
    if (output_.IsSliced()) {
        notes.push_back(
            "the output switches where data are sampled, as a slicer's does: its levels are taken "
            "a quarter of a unit interval later");
    }
    if (settings_.mapping.Levels() > 2 && found.eye) RemarkSlicers(notes);
    if (found.comparison && found.comparison->inverted)
        notes.push_back("the received bits are inverted");
    if (output_.NotFinite() > 0) {
        notes.push_back(fmt::format(
            "{} output samples are NaN or infinite, the first of them sample {}; they are taken "
            "as 0 V",
            output_.NotFinite(), output_.FirstNotFinite()));
    }
    const auto remarkWild = [&](const char* where, const EyeAnalysis& eye) {
        const WildSamples& wild = eye.Wild();
        if (wild.count == 0) return;
        notes.push_back(fmt::format(
            "far beyond all others: {} {} sample{}, the first sample {} with {:.4g} V; taken as "
            "{:.3g} V",
            wild.count, where, wild.count == 1 ? "" : "s", wild.first, wild.firstVoltage,
            std::copysign(wild.takenAs, wild.firstVoltage)));
    };
    remarkWild("output", output_);
    remarkWild("input", input_);
    if (found.mask) RemarkMask(*found.mask, notes);
    if (found.eye && found.verdict.lock != Lock::kNoSignal) RemarkOpenings(*found.eye, notes);
}

}  // namespace amisim
