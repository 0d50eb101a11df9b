#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/channel/ChannelCurves.hpp"
#include "host/channel/ChannelNetwork.hpp"
#include "host/channel/ChannelResponse.hpp"
#include "host/signal/Deconvolution.hpp"
#include "host/signal/SignalOptions.hpp"
#include "host/signal/SignalSource.hpp"
#include "host/signal/SymbolHistory.hpp"
#include "host/signal/Transmitter.hpp"

namespace amisim {

class Convolver;

/// A transmitter and what carries its signal to the model's input.
struct Road
{
    Transmitter::Settings transmitter;
    std::vector<double> taps;  // of the channel, V/V
    std::string name;          // of an aggressor

    /// What a single edge, from the lowest level to the highest, does at the model's input: V from
    /// sample to sample, without jitter. Their running sum is the response to a step.
    std::vector<double> EdgeResponse() const;
};

/// The road of the signal up to the model's input, built from the options: transmitter, channel,
/// aggressors with theirs, and noise; or a waveform file.
///
/// A channel's delay is left out, since it only puts off the start: a model sees the same signal.
class SignalChain
{
public:
    using Symbols = std::function<std::unique_ptr<SymbolSource>()>;

    /// @param heldBits  that Sent() still knows, besides those made ahead for the channel
    /// @param symbols   makes sources of what is sent, each the same from its start, in place of
    ///                  the pattern of the options
    /// @throws Error (kInput) for a file, (kUsage) for options that do not fit together
    SignalChain(const SignalOptions& options, std::int64_t heldBits, const Symbols& symbols = {});

    /// Behind a redriver: what comes from the segment before goes through the channel, and the
    /// options' aggressors and noise are added. Output() is not there: Stimulus(0) is the wave.
    /// @param before  the chain of that segment, which outlives this one
    /// @param wave    its receiver's output
    SignalChain(const SignalOptions& options, const SignalChain& before, SignalSource& wave);

    /// Of a chain behind a redriver: by what has become of the signal in the segment before.
    /// @param returned  responses, as its receiver gave them back
    /// @param filter    by which that receiver changed them; of no taps: not at all
    /// @param known     these tell what the models there do
    void TakeBefore(const std::vector<std::vector<double>>& returned, const LeadingTaps& filter,
                    bool known);

    /// Impulses() tell what the signal at the model's input is.
    bool IsKnown() const { return known_; }

    bool IsBehindRedriver() const { return before_ != nullptr; }

    /// Of a chain behind a redriver, V/V.
    const std::vector<double>& ChannelTaps() const { return channelTaps_; }

    /// Columns, the first among them, that the wave before the channel brings along.
    std::size_t Brought() const { return brought_; }

    SignalChain(const SignalChain&) = delete;
    SignalChain& operator=(const SignalChain&) = delete;

    /// What the model receives.
    SignalSource& Output() const { return *output_; }

    bool HasNoise() const { return options_.noise > 0; }
    /// V rms of the noise behind a filter, that of segments before a redriver with it; of no taps:
    /// none.
    double NoiseThrough(const LeadingTaps& filter) const;

    double SampleInterval() const { return options_.SampleInterval(); }  // s

    std::int64_t Bits() const { return bits_; }  // of the whole run
    const SymbolHistory* Sent() const
    {
        return before_ ? before_->Sent() : sent_ ? &*sent_ : nullptr;
    }
    double SentUnitInterval() const { return sentUnitInterval_; }  // samples

    /// Impulse responses for AMI_Init, V/s, all of one length, kImpulseBits at least: the
    /// derivative of what an edge of the transmitter does at the model's input, its swing, rise
    /// time and de-emphasis included, then one from each aggressor with its own. For a waveform
    /// file, behind which nothing is known, that of a step of 1 V.
    const std::vector<std::vector<double>>& Impulses() const { return impulses_; }

    /// The signal's own road, then those of the aggressors; none for a waveform file.
    const std::vector<Road>& Roads() const { return roads_; }

    /// The signal as models are driven with it: from -0.5 to +0.5 V, square, its edges where the
    /// transmitter of this column (as of Impulses()) has them, jitter included; of a waveform file
    /// the waveform. Convolved with the column's response it is what Output() has of it.
    /// @param counts  whether Sent() is to know its symbols, in place of Output()'s
    SignalSource& Stimulus(std::size_t column, bool counts);

    /// Adds what a transmitter's model declares to the jitter of the stimuli of column 0 to come;
    /// in UI, and Hz.
    void UseJitter(const EdgeJitter::Declared& declared);

    /// What responses make of the signal: `through` convolved with the first, each aggressor's
    /// stimulus with its own, and noise.
    /// @param responses    as Impulses()
    /// @param noiseFilter  that the noise has passed; empty: none
    SignalSource& Through(SignalSource& through, const std::vector<std::vector<double>>& responses,
                          const LeadingTaps& noiseFilter);

    /// Whether what has been made by Through() takes its wave in large blocks, as it does at first;
    /// else no sample of it before it is needed.
    void ReadAhead(bool ahead);

    /// The channel as it is used; none for a waveform file.
    const std::optional<ChannelCurves>& Channel() const { return curves_; }

    /// Of the channel, where it comes from a file of S parameters.
    const std::optional<ChannelGrade>& Grade() const { return grade_; }

    const std::vector<std::string>& Notes() const { return notes_; }

    /// Models read so many bits of a response, however short it is.
    static constexpr std::size_t kImpulseBits = 512;

private:
    /// What makes a column's symbols, and when.
    struct Sender
    {
        Symbols symbols;
        Random random;
    };
    void UseWaveFile(const SignalOptions& options);
    void UseTransmitter(const SignalOptions& options, std::int64_t heldBits,
                        const Symbols& symbols);
    ChannelResponse TakeChannel(const SignalOptions& options,
                                const std::optional<ChannelNetwork>& network);
    void AddAggressors(const SignalOptions& options, const ChannelResponse& channel,
                       const std::optional<ChannelNetwork>& network);
    void KeepRoad(const Transmitter::Settings& transmitter, const ChannelResponse& channel,
                  const std::string& name);
    void PadImpulses(int samplesPerBit);
    template <typename Stage, typename... Arguments>
    SignalSource* Add(Arguments&&... arguments);
    SignalSource* AddNoise(SignalSource* signal, const LeadingTaps& filter);
    std::vector<double> TapsOf(std::size_t column, const std::vector<double>& response) const;

    SignalOptions options_;
    const SignalChain* before_ = nullptr;  // a redriver
    SignalSource* wave_ = nullptr;         // of the redriver
    LeadingTaps beforeFilter_;             // that the noise before it comes through
    std::vector<double> channelTaps_;
    std::size_t brought_ = 1;
    bool known_ = true;
    std::vector<Sender> senders_;  // of each column; none for a waveform file
    std::optional<SymbolHistory> sent_;
    std::vector<std::unique_ptr<SignalSource>> stages_;
    SignalSource* output_ = nullptr;   // one of them
    std::vector<Convolver*> through_;  // likewise, of the waves that Through() was given
    std::int64_t bits_ = 0;
    double sentUnitInterval_ = 0;
    std::vector<Road> roads_;                           // of each column, as senders_
    std::vector<std::vector<double>> taps_, impulses_;  // V; the same in V/s and padded
    std::optional<ChannelCurves> curves_;
    std::optional<ChannelGrade> grade_;
    std::vector<std::string> notes_;
};

}  // namespace amisim
