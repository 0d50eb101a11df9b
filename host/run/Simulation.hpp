#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "host/run/Segment.hpp"

namespace amisim {

/// Is told of each block that a model has returned, while the simulation goes on.
class BlockListener
{
public:
    virtual ~BlockListener() = default;
    /// The model has been initialised, and so many bits are to come.
    virtual void Start(std::int64_t /*bits*/) {}
    virtual void Take(const ModelProcess::Block& block) = 0;
    /// The same of a segment before the last, from 0, as far as the bits of the run go.
    virtual void TakeEarlier(std::size_t /*segment*/, const ModelProcess::Block& /*block*/) {}
    /// Asked after each block. True ends the run as if it had no more bits.
    /// @param soFar  of the bits that count, against what the link's first transmitter sent;
    ///               absent when nothing is known of that
    virtual bool IsEnough(const std::optional<BitComparison>& /*soFar*/) { return false; }
};

/// Below a run's folder, for a segment that others follow. @param number  from 0
std::string SegmentFolder(std::size_t number);

/// A link driven with one signal, from its start to its result. Prints nothing, and writes nothing
/// but the models' own files and output where it is told to let them run.
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

    /// @param models  of each segment, as ResolveModels gives them
    /// @throws Error (kInput) for a file of the signal, (kUsage) for options that do not fit
    /// together
    Simulation(const SimulationOptions& options, const std::vector<SegmentModels>& models,
               const Surroundings& surroundings);

    /// To be called once. A model that fails is part of the result, as is a run that was stopped;
    /// what was found until then is there. @throws std::system_error when the system refuses a
    /// process or memory, Error (kUsage) when it refuses a box that is insisted on
    RunResult Run(BlockListener& listener);

private:
    std::int64_t IgnoredBits();
    void Drive(BlockListener& listener);
    RunResult Evaluate();

    const SimulationOptions& options_;
    std::function<bool()> stopped_;
    BlockListener* listener_ = nullptr;  // while it runs
    Segment::Clock::time_point begin_ = Segment::Clock::now();
    std::vector<std::unique_ptr<Segment>> segments_;  // in the link's order
    std::int64_t ignoredBits_;
};

}  // namespace amisim
