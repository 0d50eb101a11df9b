#include "host/analysis/Sampler.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace amisim {
namespace {

constexpr std::uint64_t kStream = 8;  // of random numbers, apart from those of the signal

bool Moves(const SamplerSettings::Jitter& jitter)
{
    return jitter.mean != 0 || jitter.random != 0 || jitter.uniform != 0 || jitter.sine != 0 ||
           jitter.alternating != 0;
}

}  // namespace

Sampler::Sampler(const SamplerSettings& settings, bool recovered)
    : settings_(settings),
      recovered_(recovered),
      moves_(Moves(settings.clock) || (recovered && Moves(settings.recovered))),
      noisy_(settings.gaussianNoise != 0 || settings.uniformNoise != 0),
      random_(settings.seed, kStream)
{
}

double Sampler::Late(const SamplerSettings::Jitter& jitter)
{
    double late = jitter.mean + (drawn_ % 2 == 0 ? jitter.alternating : -jitter.alternating);
    if (jitter.random != 0) late += jitter.random * random_.Normal();
    if (jitter.uniform != 0) late += jitter.uniform * (2 * random_.Uniform() - 1);
    if (jitter.sine != 0) late += jitter.sine * std::sin(2 * std::numbers::pi * random_.Uniform());
    return late;
}

Sampler::Draw Sampler::Next()
{
    Draw draw;
    if (moves_) {
        draw.late = Late(settings_.clock) + (recovered_ ? Late(settings_.recovered) : 0);
        draw.late = std::clamp(draw.late, -kFurthest, kFurthest);
    }
    if (noisy_) {
        draw.volts = std::clamp(settings_.gaussianNoise * random_.Normal() +
                                    settings_.uniformNoise * (2 * random_.Uniform() - 1),
                                -MostVolts(), MostVolts());
    }
    ++drawn_;
    return draw;
}

}  // namespace amisim
