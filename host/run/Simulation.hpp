#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>

#include "host/analysis/Analyses.hpp"
#include "host/process/ModelProcess.hpp"
#include "host/process/ModelSource.hpp"
#include "host/run/Link.hpp"
#include "host/run/RunResult.hpp"
#include "host/run/SimulationOptions.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {

/// Is told of each block that a model has returned, while the simulation goes on.
class BlockListener
{
public:
    virtual ~BlockListener() = default;
    /// The model has been initialised, and so many bits are to come.
    virtual void Start(std::int64_t /*bits*/) {}
    virtual void Take(const ModelProcess::Block& block) = 0;
};

/// One model driven with one signal, from its start to its result. Prints nothing, and writes
/// nothing but the model's own files and output where it is told to let it run.
class Simulation
{
public:
    struct Surroundings
    {
        std::filesystem::path worker;  // the program that the model runs in: amisim-worker
        std::filesystem::path folder;  // that the model runs in
        std::filesystem::path log;     // for what it prints
        std::filesystem::path transmitterLog;
        std::function<bool()> stopped = [] { return false; };  // asked often; true ends the run
    };

    /// @throws Error (kInput) for a file of the signal, (kUsage) for options that do not fit
    /// together
    /// @param transmitter  null: the one that is built in
    Simulation(const SimulationOptions& options, const ModelSource& model,
               const ModelSource* transmitter, Surroundings surroundings);

    /// To be called once. A model that fails is part of the result, as is a run that was stopped;
    /// what was found until then is there. @throws std::system_error when the system refuses a
    /// process or memory, Error (kUsage) when it refuses a box that is insisted on
    RunResult Run(BlockListener& listener);

private:
    using Clock = std::chrono::steady_clock;

    std::int64_t IgnoredBits();
    std::vector<double> ErrorRatios() const;
    std::optional<Clock::time_point> Deadline() const;
    void StartAnalyses();
    void Drive(BlockListener& listener);
    ModelStart StartOf(const ModelSource& model) const;
    ModelProcess::Settings ProcessSettings(const std::filesystem::path& log) const;
    void StartTransmitter();
    void RunThroughModel(ModelProcess& process, BlockListener& listener);
    void RunThroughResponse(BlockListener& listener);
    std::size_t SamplesOfBlock(std::int64_t made) const;
    void Take(const ModelProcess::Block& block);
    void UseSampler();
    void TakeParameters(const std::string& text, const std::string& call);
    void TakeTracks(const ParameterLog& log, const char* prefix);
    void ComputeEyes();
    void Evaluate();

    const SimulationOptions& options_;
    const ModelSource& model_;
    const ModelSource* transmitter_;
    Surroundings surroundings_;
    Clock::time_point begin_ = Clock::now();
    SignalChain signal_;
    Link link_;
    std::optional<Analyses> analyses_;
    ParameterLog parameters_;
    RunResult result_;
    std::int64_t blocks_ = 0, unterminated_ = 0, overruns_ = 0;
};

}  // namespace amisim
