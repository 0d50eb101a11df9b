#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <vector>

#include "host/options/RunOptions.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/run/Models.hpp"
#include "host/run/Simulation.hpp"

namespace amisim {

/// A run with the folder that it leaves its results in, from options to files: what `amisim run`
/// and the Python module have in common. Prints nothing.
class RunJob
{
public:
    /// Makes the folder; nothing in it has been changed yet.
    /// @param worker   amisim-worker, for the model
    /// @param stopped  asked often, in the thread that calls Run; true ends the run
    /// @throws Error for what keeps it from being begun
    RunJob(const RunOptions& options, const std::filesystem::path& worker,
           const std::function<bool()>& stopped);
    RunJob(const RunJob&) = delete;
    RunJob& operator=(const RunJob&) = delete;

    /// To be called once. What is too much to be held is written as the run goes.
    /// @param listener  is told of each block besides
    RunResult Run(BlockListener& listener);

    /// Writes the rest. What cannot be written is among Folder().Dropped().
    void Write(RunResult& result);

    /// With the bit rate, where it was to be found.
    const RunOptions& Options() const { return options_; }
    const ModelSource& Model() const { return models_.back().receiver; }
    /// A segment that others follow, from 0, as a run of its own.
    SimulationOptions OptionsOf(std::size_t segment) const;
    const ModelSource& ModelOf(std::size_t segment) const { return models_[segment].receiver; }
    const OutputFolder& Folder() const { return folder_; }

private:
    RunOptions options_;
    std::vector<SegmentModels> models_;  // in the link's order
    OutputFolder folder_;
    std::vector<std::unique_ptr<OutputFolder>> segmentFolders_;  // of those before the last
    Simulation simulation_;
};

}  // namespace amisim
