#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/signal/BitHistory.hpp"
#include "host/signal/SignalOptions.hpp"
#include "host/signal/SignalSource.hpp"

namespace amisim {

/// The road of the signal up to the model's input, built from the options: transmitter, line and
/// noise, or a waveform file.
class SignalChain
{
public:
    /// @param queuedBits  most bits that are made ahead of those whose output is being looked at
    /// @throws Error (kInput) for the waveform file
    SignalChain(const SignalOptions& options, std::int64_t queuedBits);

    /// What the model receives.
    SignalSource& Output() const { return *stages_.back(); }

    std::int64_t Bits() const { return bits_; }  // of the whole run
    const BitHistory* Sent() const { return sent_ ? &*sent_ : nullptr; }
    double SentUnitInterval() const { return sentUnitInterval_; }  // samples

    /// The channel's impulse response for AMI_Init, 1/s.
    const std::vector<double>& Impulse() const { return impulse_; }

    const std::vector<std::string>& Notes() const { return notes_; }

private:
    void UseWaveFile(const SignalOptions& options);
    void UseTransmitter(const SignalOptions& options, std::int64_t queuedBits);

    std::optional<BitHistory> sent_;
    std::vector<std::unique_ptr<SignalSource>> stages_;
    std::int64_t bits_ = 0;
    double sentUnitInterval_ = 0;
    std::vector<double> impulse_;
    std::vector<std::string> notes_;
};

}  // namespace amisim
