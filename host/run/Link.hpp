#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/process/ModelProcess.hpp"
#include "host/process/ParameterLog.hpp"
#include "host/run/Flow.hpp"
#include "host/signal/SignalChain.hpp"
#include "host/signal/SignalTee.hpp"

namespace amisim {

/// The signals at a receiver's input and, of one without AMI_GetWave, at its output: made of the
/// signal chain, of a transmitter's model if there is one, and of what AMI_Init has given back. The
/// steps are to be taken in the order in which they stand.
class Link
{
public:
    /// @param transmitter  null: the one that is built in
    Link(SignalChain& signal, const ModelSource* transmitter, const ModelSource& receiver);
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link();

    /// Has the transmitter's model initialised. @param notes  gets a sentence on the jitter that it
    /// declares. @throws ModelFailure, whose phase names the
    /// transmitter; as ModelProcess
    ModelProcess::InitResult StartTransmitter(const ModelStart& start,
                                              const ModelProcess::Settings& settings,
                                              std::vector<std::string>& notes);

    /// Behind a redriver: once its segment has started, and the signal's responses are known.
    void TakeSignal() { responses_ = signal_.Impulses(); }

    /// At the receiver's input: the signal's, then the aggressors'.
    const std::vector<std::vector<double>>& Responses() const { return responses_; }

    /// What of that the receiver's AMI_Init is handed: of the aggressors' the strongest, as many as
    /// it takes. @param notes  gets a sentence on those that are left out
    std::vector<std::vector<double>> Handed(std::vector<std::string>& notes);

    /// What it gave back, as many as Responses(): in the places of those that it was not handed
    /// what its filter would make of them.
    std::vector<std::vector<double>> Completed(std::vector<std::vector<double>> returned) const;

    /// @param returned  as the receiver's AMI_Init gave it back
    /// @param notes     gets a sentence on a receiver's filter that had to be found by division
    void Connect(const std::vector<std::vector<double>>& returned, std::vector<std::string>& notes);

    SignalSource& Input() const { return *input_; }
    /// Null where the receiver makes the output itself, or lets its input through as it is.
    SignalSource* Output() const { return output_; }

    /// How far the filter that was found by division is from the receiver's; absent without one.
    const std::optional<double>& Residual() const { return residual_; }

    /// Has the transmitter's AMI_GetWave called for so many samples at a time, and not before they
    /// are needed at the receiver's input; 0: ahead and in blocks, as it is at first. For a
    /// transmitter and a receiver that have AMI_GetWave, between whole blocks of the input.
    void GoInSteps(std::size_t samples);

    /// What the transmitter's AMI_GetWave gave back last, as parameters.
    const std::string& LastParameters() const;

    void Close();

    /// Of the edges, as the transmitter's model declares it; UI and Hz.
    const EdgeJitter::Declared& DeclaredJitter() const { return jitter_; }

    /// What the transmitter's model gave back, and the time spent in it.
    const ParameterLog& Parameters() const { return parameters_; }
    double ModelSeconds() const { return transmitter_ ? transmitter_->ModelSeconds() : 0; }

private:
    class WaveSource;
    SignalSource& Source(std::size_t which);
    std::vector<double> RoadBehindRedriver() const;
    void UseJitter(double bitTime, std::vector<std::string>& notes);
    LeadingTaps ReceiverFilter(const std::vector<std::vector<double>>& returned,
                               std::vector<std::string>& notes);

    SignalChain& signal_;
    const ModelSource* model_;  // of the transmitter
    const Flow& flow_;
    const ModelSource& receiver_;
    std::vector<std::vector<double>> responses_;
    std::vector<std::size_t> handed_;  // aggressors' columns, in their order
    std::unique_ptr<ModelProcess> transmitter_;
    std::unique_ptr<WaveSource> wave_;
    std::optional<SignalTee> tee_;
    bool separateOutput_ = false;  // made of the responses, not by the receiver from its input
    SignalSource* input_ = nullptr;
    SignalSource* output_ = nullptr;
    std::optional<double> residual_;
    EdgeJitter::Declared jitter_;
    ParameterLog parameters_;
};

}  // namespace amisim
