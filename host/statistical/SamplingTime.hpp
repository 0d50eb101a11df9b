#pragma once

#include <optional>
#include <vector>

#include "host/analysis/Findings.hpp"
#include "host/analysis/Sampler.hpp"

namespace amisim {

/// How likely a receiver samples how late against the middle of its eye, whatever the data: on a
/// grid of 1/256 UI, and never by more than the half of one.
class SamplingTime
{
public:
    static constexpr int kSteps = 256;  // a unit interval

    void AddMean(double late);
    void AddGaussian(double sigma);
    void AddUniform(double half);
    void AddSine(double amplitude);
    void AddAlternating(double half);
    void AddHistogram(const Histogram& late);
    void AddJitter(const SamplerSettings::Jitter& jitter);

    /// Steps that part 0 is late by, and all parts; their sum is 1.
    int First() const { return first_; }
    const std::vector<double>& Parts() const { return parts_; }
    bool IsStill() const { return first_ == 0 && parts_.size() == 1; }

    /// Of the Gaussians alone, and distance of the instants that alternate, UI.
    double RandomRms() const { return random_; }
    double Alternating() const { return alternating_; }

private:
    template <typename Tail>
    void Add(double reach, Tail tail);
    void Convolve(int first, const std::vector<double>& parts);

    int first_ = 0;
    std::vector<double> parts_{1.0};
    double random_ = 0, alternating_ = 0;
};

/// Where half of the transitions of a counted eye have happened: UI from the clock edge, by the
/// bathtub on the side where they are.
std::optional<double> TransitionPhase(const EyeFindings& eye);

/// As a run has shown its clock, or where it had none as the model states it, and what it states of
/// its sampler.
/// @param eye  at the output, of a clock that is locked; else null: it tells nothing of where the
///             data are
SamplingTime SamplingTimeOf(const SamplerSettings& sampler, const ClockFindings& clock,
                            const EyeFindings* eye);

}  // namespace amisim
