#include "host/signal/SignalChain.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "host/Error.hpp"
#include "host/analysis/BitComparer.hpp"
#include "host/channel/Convolver.hpp"
#include "host/channel/LossyLine.hpp"
#include "host/signal/NrzSource.hpp"
#include "host/signal/Random.hpp"
#include "host/signal/WaveFile.hpp"

namespace amisim {
namespace {

// Streams of random numbers, so that one random thing does not depend on whether another is used.
constexpr std::uint64_t kNoiseStream = 1;

}  // namespace

SignalChain::SignalChain(const SignalOptions& options, std::int64_t queuedBits)
    : sentUnitInterval_(options.samplesPerBit)
{
    if (options.wave.empty()) {
        UseTransmitter(options, queuedBits);
    } else {
        UseWaveFile(options);
    }
}

void SignalChain::UseWaveFile(const SignalOptions& options)
{
    auto file = std::make_unique<WaveFile>(options.wave, options.SampleInterval());
    if (file->HasTime() && std::abs(file->MeanStep() / options.SampleInterval() - 1) > 1e-6) {
        notes_.push_back(
            fmt::format("{}: resampled from steps of {:.6g} s on average to {:.6g} s ({} per bit)",
                        options.wave.string(), file->MeanStep(), options.SampleInterval(),
                        options.samplesPerBit));
    }
    const std::int64_t there = file->Samples() / options.samplesPerBit;
    if (there < 1) {
        throw Error(ExitCode::kInput,
                    fmt::format("{}: holds {} samples, less than one bit of {}",
                                options.wave.string(), file->Samples(), options.samplesPerBit));
    }
    bits_ = std::min(there, options.bits.value_or(there));
    if (options.bits.value_or(0) > there) {
        notes_.push_back(
            fmt::format("{}: holds {} bits, fewer than asked for", options.wave.string(), there));
    }
    stages_.push_back(std::move(file));
    impulse_ = {1 / options.SampleInterval()};
}

void SignalChain::UseTransmitter(const SignalOptions& options, std::int64_t queuedBits)
{
    bits_ = options.bits.value_or(SignalOptions::kDefaultBits);
    sentUnitInterval_ = options.samplesPerBit / (1 + options.ppm * 1e-6);

    const LossyLine line{options.lossDb, options.skinPart, options.bitRate / 2};
    const std::vector<double> weights = line.Impulse(options.SampleInterval());
    impulse_.reserve(weights.size());
    for (const double weight : weights) impulse_.push_back(weight / options.SampleInterval());

    // Bits are made as far ahead as the channel's blocks reach, and the model's queue.
    const std::size_t ahead = 8 * weights.size() / static_cast<std::size_t>(options.samplesPerBit) +
                              static_cast<std::size_t>(queuedBits);
    sent_.emplace(ahead + BitComparer::kLongestDelay + 4 * BitComparer::kWindow);

    NrzSource::Settings settings;
    settings.amplitude = options.amplitude;
    settings.start = options.phase * options.samplesPerBit;
    settings.unitInterval = sentUnitInterval_;
    settings.rampTime = options.riseTime * options.samplesPerBit / NrzSource::kRise2080;
    stages_.push_back(
        std::make_unique<NrzSource>(settings, Prbs(options.prbs, options.seed), *sent_));
    stages_.push_back(std::make_unique<Convolver>(*stages_.back(), weights));
    if (options.noise > 0) {
        stages_.push_back(std::make_unique<NoiseSource>(*stages_.back(), options.noise,
                                                        Random(options.seed, kNoiseStream)));
    }
}

}  // namespace amisim
