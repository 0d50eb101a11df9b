#include "host/run/ComputedEyes.hpp"

#include <future>
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

void ComputedEyes::Begin(const MeasuredOutput::Conditions& run, bool failed)
{
    if (!Possible()) return;
    edges_ = links_.InputEdges();
    if (!measured_ || failed || edges_.empty()) return;
    measuring_ = std::async(std::launch::async, [this, run] {
        Measured measured;
        measured.smallSignal = measured_->Find(run, links_.DrivenEdge(), measured.notes);
        return measured;
    });
}

void ComputedEyes::Find(RunResult& result)
{
    if (!Possible()) return;
    std::future<StatisticalEye> input;
    if (!edges_.empty()) {
        input = std::async(std::launch::async, [&] {
            StatisticalLink link = links_.AtInput(edges_);
            FollowSines(result, link);
            return Compute(std::move(link), result.inputEye);
        });
    }
    if (auto output = AtOutput(result)) {
        AddSampler(result, *output);
        result.statisticalOutput = Compute(*output, result.eye);
    } else if (!run_.counted && !result.failure) {
        result.notes.emplace_back(
            "the eye at the output is not computed: AMI_Init does not return what the receiver "
            "does, and what its AMI_GetWave does is found in a run that counts bits");
    }
    if (input.valid()) result.statisticalInput = input.get();
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
std::optional<StatisticalLink> ComputedEyes::AtOutput(RunResult& result)
{
    const double noise = result.sampler.gaussianNoise;
    if (receiver_.returnsImpulse && !result.impulses.empty())
        return links_.AtOutput(result.impulses, noise);
    if (!measuring_.valid()) return std::nullopt;
    Measured measured = measuring_.get();
    result.notes.insert(result.notes.end(), measured.notes.begin(), measured.notes.end());
    result.smallSignal = std::move(measured.smallSignal);
    if (!result.smallSignal) return std::nullopt;
    return links_.AtOutput(edges_, {result.smallSignal->response, 0}, noise);
}

}  // namespace amisim
