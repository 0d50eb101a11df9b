#include "host/run/ComputedEyes.hpp"

#include <utility>

namespace amisim {
namespace {

/// The sines that the transmitter's jitter has: the run's clock has followed them so far.
void FollowSines(const RunResult& result, StatisticalLink& link)
{
    const auto& followed = result.clock.followed;
    if (result.lock != Lock::kLocked || result.clock.ideal) return;
    for (std::size_t i = 0; i < followed.size(); ++i) {
        link.jitter.sines[i].clockSine = followed[i].sine;
        link.jitter.sines[i].clockCosine = followed[i].cosine;
    }
}

/// What stands between the output and its decisions, as it was in the run.
void AddSampler(const RunResult& result, StatisticalLink& link)
{
    link.uniformNoise = result.sampler.uniformNoise;
    link.sensitivity = result.sampler.sensitivity;
    // Phase 0 of a computed eye is where the middle threshold is crossed.
    const EyeFindings* middle = nullptr;
    if (result.lock == Lock::kLocked && result.eye) {
        const auto eyes = EyesOf(*result.eye);
        middle = &eyes[(eyes.size() - 1) / 2];
    }
    link.sampling = SamplingTimeOf(result.sampler, result.clock, middle);
    FollowSines(result, link);
}

}  // namespace

ComputedEyes::ComputedEyes(const SegmentOptions& own, const SimulationOptions& run,
                           const ModelSource& receiver, const ModelSource* transmitter,
                           const SignalChain& signal, const Link& link)
    : own_(own), run_(run), receiver_(receiver), links_(signal, transmitter, link)
{
    // With a clock from outside AMI_GetWave is not what a short signal would show.
    if (Possible() && run.counted && receiver.getWave && !receiver.returnsImpulse &&
        receiver.clockInput.empty())
        measured_.emplace(own, receiver);
}

bool ComputedEyes::Possible() const
{
    return run_.statistical && own_.signal.pattern.empty() && own_.signal.clockPattern == 0 &&
           links_.Possible();
}

void ComputedEyes::Add(std::span<const double> input, std::span<const double> output)
{
    if (measured_) measured_->Add(input, output);
}

void ComputedEyes::Find(const MeasuredOutput::Conditions& run, RunResult& result) const
{
    if (!Possible()) return;
    if (const auto edges = links_.InputEdges(); !edges.empty()) {
        StatisticalLink input = links_.AtInput(edges);
        FollowSines(result, input);
        result.statisticalInput = Compute(std::move(input), result.inputEye);
    }
    if (auto output = AtOutput(run, result)) {
        AddSampler(result, *output);
        result.statisticalOutput = Compute(*output, result.eye);
    } else if (!run_.counted && !result.failure) {
        result.notes.emplace_back(
            "the eye at the output is not computed: AMI_Init does not return what the receiver "
            "does, and what its AMI_GetWave does is found in a run that counts bits");
    }
}

/// Decided as what was counted; where nothing was, of several levels halfway between them.
StatisticalEye ComputedEyes::Compute(StatisticalLink link,
                                     const std::optional<EyeFindings>& counted) const
{
    auto& thresholds = link.modulation.thresholds;
    if (counted || thresholds.size() > 1) thresholds.clear();
    if (counted) {
        for (const EyeFindings& eye : EyesOf(*counted)) thresholds.push_back(eye.threshold);
    }
    return ComputeStatisticalEye(std::move(link), run_.ErrorRatios());
}

/// By the response that AMI_Init gave back, or else by that which AMI_GetWave shows.
std::optional<StatisticalLink> ComputedEyes::AtOutput(const MeasuredOutput::Conditions& run,
                                                      RunResult& result) const
{
    const double noise = result.sampler.gaussianNoise;
    if (receiver_.returnsImpulse && !result.impulses.empty())
        return links_.AtOutput(result.impulses, noise);
    const auto edges = links_.InputEdges();
    if (!measured_ || result.failure || edges.empty()) return std::nullopt;
    result.smallSignal = measured_->Find(run, links_.DrivenEdge(), result.notes);
    if (!result.smallSignal) return std::nullopt;
    return links_.AtOutput(edges, {result.smallSignal->response, 0}, noise);
}

}  // namespace amisim
