#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/channel/ChannelResponse.hpp"
#include "host/signal/SignalOptions.hpp"
#include "host/signal/SignalSource.hpp"
#include "host/signal/SymbolHistory.hpp"

namespace amisim {

/// The road of the signal up to the model's input, built from the options: transmitter, channel,
/// aggressors with theirs, and noise; or a waveform file.
///
/// A channel's delay is left out, since it only puts off the start: a model sees the same signal.
class SignalChain
{
public:
    /// @param heldBits  that Sent() still knows, besides those made ahead for the channel
    /// @throws Error (kInput) for a file, (kUsage) for options that do not fit together
    SignalChain(const SignalOptions& options, std::int64_t heldBits);

    /// What the model receives.
    SignalSource& Output() const { return *output_; }

    std::int64_t Bits() const { return bits_; }  // of the whole run
    const SymbolHistory* Sent() const { return sent_ ? &*sent_ : nullptr; }
    double SentUnitInterval() const { return sentUnitInterval_; }  // samples

    /// Impulse responses for AMI_Init, V/s, all of one length, kImpulseBits at least: the
    /// derivative of what an edge of the transmitter does at the model's input, its swing, rise
    /// time and de-emphasis included, then one from each aggressor with its own. For a waveform
    /// file, behind which nothing is known, that of a step of 1 V.
    const std::vector<std::vector<double>>& Impulses() const { return impulses_; }

    /// Of the channel, where it comes from a file of S parameters.
    const std::optional<ChannelGrade>& Grade() const { return grade_; }

    const std::vector<std::string>& Notes() const { return notes_; }

    /// Models read so many bits of a response, however short it is.
    static constexpr std::size_t kImpulseBits = 512;

private:
    void UseWaveFile(const SignalOptions& options);
    void UseTransmitter(const SignalOptions& options, std::int64_t heldBits);
    void AddAggressors(const SignalOptions& options, const ChannelResponse& channel);
    void KeepImpulse(const Transmitter::Settings& transmitter, const ChannelResponse& channel);
    void PadImpulses(int samplesPerBit);
    template <typename Stage, typename... Arguments>
    SignalSource* Add(Arguments&&... arguments);

    std::optional<SymbolHistory> sent_;
    std::vector<std::unique_ptr<SignalSource>> stages_;
    SignalSource* output_ = nullptr;  // one of them
    std::int64_t bits_ = 0;
    double sentUnitInterval_ = 0;
    std::vector<std::vector<double>> impulses_;
    std::optional<ChannelGrade> grade_;
    std::vector<std::string> notes_;
};

}  // namespace amisim
