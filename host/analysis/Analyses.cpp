#include "host/analysis/Analyses.hpp"

#include <fmt/format.h>

#include <cmath>
#include <complex>
#include <numbers>

#include "host/analysis/EyeEvaluation.hpp"
#include "host/analysis/Tail.hpp"

namespace amisim {
namespace {

/// Held before the bits that count: the first unit interval that counts may begin before them.
constexpr int kLeadBits = 3;

EyeAnalysis::Settings EyeSettings(const Analyses::Settings& settings)
{
    EyeAnalysis::Settings eye;
    eye.samplesPerBit = settings.samplesPerBit;
    eye.ignoreSamples = settings.ignoreBits * settings.samplesPerBit;
    eye.sentUnitInterval = settings.sentUnitInterval;
    eye.sent = settings.sent;
    return eye;
}

/// Where between the clock edges a wave crosses 0 V on average (on the circle, since phase 1 is
/// phase 0 again), from -1/2 to 1/2; 0 when it does not. The wave's first sample is number `start`;
/// unit intervals within samples `from` to `to` count.
double MeanCrossing(std::span<const double> wave, double start,
                    std::span<const ClockFrame::Edge> edges, double from, double to)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n + 1 < edges.size(); ++n) {
        const double begin = edges[n].time, end = edges[n + 1].time;
        if (edges[n + 1].afterGap || begin < from || end > to) continue;
        for (auto i = static_cast<std::size_t>(begin - start);
             i + 1 < wave.size() && start + static_cast<double>(i) < end; ++i) {
            if ((wave[i] > 0) == (wave[i + 1] > 0)) continue;
            const double at = start + static_cast<double>(i) + wave[i] / (wave[i] - wave[i + 1]);
            const double phase = (at - begin) / (end - begin);
            if (std::isfinite(phase)) sum += std::polar(1.0, 2 * std::numbers::pi * phase);
        }
    }
    return sum == 0.0 ? 0 : std::arg(sum) / (2 * std::numbers::pi);
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
      output_(EyeSettings(settings)),
      input_(EyeSettings(settings)),
      clock_({settings.sampleInterval, settings.sampleInterval * settings.samplesPerBit,
              ignoreSamples_, settings.folder})
{
}

void Analyses::Add(std::span<const double> input, std::span<const double> output,
                   std::span<const double> clockTimes)
{
    frame_.Add(clockTimes);
    end_ += static_cast<double>(output.size());
    if (!ideal_) clock_.Add(frame_.Edges());
    if (!holding_) {
        Feed(input, output, frame_.Edges());
    } else if (end_ <= ignoreSamples_ - static_cast<double>(kLeadBits * settings_.samplesPerBit)) {
        output_.Add(output, frame_.Edges());
        input_.Add(input, {});
        heldFrom_ = end_;
    } else {
        heldInput_.insert(heldInput_.end(), input.begin(), input.end());
        heldOutput_.insert(heldOutput_.end(), output.begin(), output.end());
        heldEdges_.insert(heldEdges_.end(), frame_.Edges().begin(), frame_.Edges().end());
        if (end_ >= ignoreSamples_ + static_cast<double>(kHeldBits * settings_.samplesPerBit))
            Release();
    }
    frame_.Edges().clear();
}

void Analyses::Feed(std::span<const double> input, std::span<const double> output,
                    const Edges& edges)
{
    if (ideal_) MakeIdealEdges(end_);
    const Edges& used = ideal_ ? heldEdges_ : edges;
    moved_ = used;
    for (ClockFrame::Edge& edge : moved_) edge.time += shift_ * settings_.samplesPerBit;
    output_.Add(output, used);
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

void Analyses::Release()
{
    holding_ = false;
    // So many bits whatever the size of the blocks, so that this makes no difference.
    const double to = ignoreSamples_ + static_cast<double>(kHeldBits * settings_.samplesPerBit);
    ideal_ = frame_.Times() == 0;
    if (ideal_) {
        // From the same bit whatever the size of the blocks, and within what is held.
        const double counted = std::ceil(ignoreSamples_ / settings_.sentUnitInterval);
        const double first = std::max(0.0, counted - kLeadBits + 1);
        idealNext_ = first;
        MakeIdealEdges(end_);
        idealPhase_ = MeanCrossing(heldOutput_, heldFrom_, heldEdges_, ignoreSamples_, to);
        idealNext_ = first;
        MakeIdealEdges(end_);
        idealNext_ = first;
    }
    shift_ = MeanCrossing(heldInput_, heldFrom_, heldEdges_, ignoreSamples_, to);
    const Edges edges = std::move(heldEdges_);
    heldEdges_ = {};
    Feed(heldInput_, heldOutput_, edges);
    heldInput_ = {};
    heldOutput_ = {};
}

Analyses::Findings Analyses::Find()
{
    if (holding_) Release();
    output_.Finish();
    input_.Finish();
    Findings found;
    found.clock = clock_.Find();
    found.clock.times = frame_.Times();
    found.clock.filled = frame_.Filled();
    found.clock.backward = frame_.Backward();
    found.clock.ideal = ideal_;
    if (const auto& bits = DecisionsOf(output_).bits) {
        found.comparison = {bits->Compared(),     bits->Errors(), bits->Unaligned(),
                            bits->Realignments(), bits->Delay(),  bits->Inverted()};
    }
    if (output_.UnitIntervals() > 0) found.eye = EvaluateEye(output_, 0, settings_.bers);
    if (input_.UnitIntervals() > 0) found.inputEye = EvaluateEye(input_, shift_, settings_.bers);
    Remark(found);
    return found;
}

void Analyses::Remark(Findings& found) const
{
    auto& notes = found.notes;
    if (ideal_ && end_ > 0) {
        notes.push_back(
            "the model returned no clock times: an ideal clock is used, at the transmitter's bit "
            "rate and centred on the output's eye");
    }
    if (ideal_ && frame_.Times() > 0) {
        notes.push_back(fmt::format("its first clock times came after bit {} and are left out",
                                    settings_.ignoreBits + kHeldBits));
    }
    if (found.clock.backward > 0) {
        notes.push_back(fmt::format(
            "{} clock times were not later than the one before, or lay beyond any run, and "
            "are left out",
            found.clock.backward));
    }
    if (found.clock.settledAtBit > static_cast<double>(settings_.ignoreBits)) {
        notes.push_back(fmt::format(
            "the clock settled at bit {:.0f}, after the {} that are not counted: results hold "
            "some of its settling (--ignore-bits)",
            found.clock.settledAtBit, settings_.ignoreBits));
    }
    if (output_.IsSliced()) {
        notes.push_back(
            "the output switches where data are sampled, as a slicer's does: its levels are taken "
            "a quarter of a unit interval later");
    } else if (output_.CrossesAtSampling()) {
        notes.push_back(
            "the signal crosses 0 V where data are sampled: the clock has not locked, or rests in "
            "a wrong place as it may without any noise or frequency offset (--noise, --ppm)");
    }
    if (found.comparison && found.comparison->compared == 0 && found.eye) {
        notes.push_back(
            "the sent pattern was not found in the received bits: no errors could be counted");
    }
    if (found.comparison && found.comparison->inverted)
        notes.push_back("the received bits are inverted");
    if (found.comparison && found.comparison->realignments > 0) {
        notes.push_back(
            fmt::format("the clock slipped: the pattern had to be aligned anew {} times",
                        found.comparison->realignments));
    }
    if (output_.NotFinite() > 0) {
        notes.push_back(fmt::format(
            "{} output samples are NaN or infinite, the first of them sample {}; they are taken "
            "as 0 V",
            output_.NotFinite(), output_.FirstNotFinite()));
    }
    if (found.eye) RemarkOpenings(*found.eye, notes);
}

}  // namespace amisim
