#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

#include "host/analysis/Analyses.hpp"
#include "host/process/ModelProcess.hpp"
#include "host/process/ModelSource.hpp"
#include "host/run/ComputedEyes.hpp"
#include "host/run/ForwardedClock.hpp"
#include "host/run/Link.hpp"
#include "host/run/ModelSlicers.hpp"
#include "host/run/Retimer.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"
#include "host/run/Training.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {

/// The models at both ends of a segment.
struct SegmentModels
{
    ModelSource receiver;
    std::optional<ModelSource> transmitter;  // absent: the one that is built in
};

/// One segment of a link as it runs: a signal, perhaps a transmitter's model, the channel, the
/// receiver's model, and all that is looked at. The steps are to be taken in the order in which
/// they stand.
///
/// A segment that others follow is drawn from: its receiver goes on for as long as they need its
/// output, and what it does beyond the bits of the run is not looked at.
class Segment
{
public:
    using Clock = std::chrono::steady_clock;

    struct Surroundings
    {
        std::filesystem::path worker;               // the program that models run in
        std::filesystem::path folder;               // that they run in
        std::filesystem::path log, transmitterLog;  // for what they print
        std::function<bool()> stopped;              // asked often; true ends the run
        std::optional<Clock::time_point> deadline;
        /// Told of each block that is looked at; may be empty.
        std::function<void(const ModelProcess::Block&)> returned = {};
    };

    /// Where a segment stands in its link.
    struct Place
    {
        std::size_t number = 0, of = 1;  // from 0
        Segment* before = nullptr;
    };

    /// @param own  what is asked for of this segment
    /// @param run  and of all
    /// @throws Error (kInput) for a file of the signal, (kUsage) for options that do not fit
    /// together
    Segment(const SegmentOptions& own, const SimulationOptions& run, const SegmentModels& models,
            Surroundings surroundings, Place place);
    Segment(const Segment&) = delete;
    Segment& operator=(const Segment&) = delete;
    ~Segment();

    /// Of the whole run; of one that begins with a link training the bits of that besides.
    std::int64_t Bits() const
    {
        if (place_.before) return place_.before->Bits();
        return signal_.Bits() + (training_ ? training_->Findings().bits : 0);
    }

    /// The bits that both models together ask for; absent where the receiver's asks for none.
    std::optional<std::int64_t> IgnoredBits() const;

    /// Has everything looked at. @param ignoredBits  from the start on
    void StartAnalyses(std::int64_t ignoredBits);

    /// Has the models initialised. @throws ModelFailure, as ModelProcess
    void Start();

    /// The next block that the receiver has returned, valid until the next call; nothing at the end
    /// of the run. Blocks are made ahead, so that host and models work at the same time.
    /// @throws ModelFailure, Error (kUsage) for a retimer without a clock
    std::optional<ModelProcess::Block> Next();

    /// The decisions that count, so far, against what the link's first transmitter sent; absent
    /// when nothing is known of that.
    std::optional<BitComparison> EndToEnd() const
    {
        return place_.before ? analyses_->EndToEnd() : analyses_->Comparison();
    }

    /// Has no more input made: Next() returns what is under way.
    void End() { enough_ = true; }

    /// Ends the models, when all that was asked of them has come back. @throws ModelFailure
    void Close();

    /// What was found, failed or not. Ends the analyses.
    void Evaluate();

    RunResult& Result() { return result_; }

private:
    ModelStart StartOf(const ModelSource& model) const;
    ModelProcess::Settings ProcessSettings(const std::filesystem::path& log) const;
    void StartModels();
    void StartTransmitter();
    std::optional<ModelProcess::Block> FromModel();
    std::optional<ModelProcess::Block> FromResponse();
    bool Last() const { return place_.number + 1 == place_.of; }
    bool Ended() const { return Last() && (enough_ || made_ >= Bits() || surroundings_.stopped()); }
    bool IsTraining() const { return training_ && training_->IsUnderWay(); }
    void BeginTraining();
    void Train(const std::string& transmitter, const std::string& receiver, std::int64_t bits);
    SignalChain MakeSignal() const;
    SignalChain::Symbols SymbolsBefore() const;
    void TakeBefore();
    const std::vector<std::vector<double>>& Returned() const;
    const SymbolHistory* Origin() const;
    void ReadInput(std::span<double> samples);
    std::size_t NextSamples();
    void UseSampler();
    void UseSlicers();
    void Take(const ModelProcess::Block& block);
    void LookAt(const ModelProcess::Block& block, std::int64_t bits);
    void TakeParameters(const std::string& text, const std::string& call);
    void TakeTracks(const ParameterLog& log, const char* prefix);

    const SegmentOptions& own_;
    const SimulationOptions& run_;
    const ModelSource& receiver_;
    const ModelSource* transmitter_;
    Surroundings surroundings_;
    Place place_;
    std::optional<Training> training_;
    SignalChain signal_;
    Link link_;
    ModelSlicers slicers_;
    ComputedEyes computed_;
    std::unique_ptr<ForwardedClock> clock_;  // null: none is forwarded
    std::unique_ptr<Retimer> retimer_;
    class OutputWave;
    std::unique_ptr<OutputWave> wave_;  // of a redriver, for the segment behind it
    std::optional<Analyses> analyses_;
    ModelStart start_;                       // of the receiver
    std::unique_ptr<ModelProcess> process_;  // likewise
    ParameterLog parameters_;
    RunResult result_;
    bool enough_ = false;
    std::int64_t ignoredBits_ = 0;        // behind a training
    std::int64_t made_ = 0;               // bits of the input
    std::vector<double> input_, output_;  // of a receiver without AMI_GetWave
    std::int64_t blocks_ = 0, unterminated_ = 0, overruns_ = 0;
};

}  // namespace amisim
