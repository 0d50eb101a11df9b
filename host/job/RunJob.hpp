#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "host/options/RunOptions.hpp"
#include "host/process/ModelSource.hpp"
#include "host/results/OutputFolder.hpp"
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
           std::function<bool()> stopped);
    RunJob(const RunJob&) = delete;
    RunJob& operator=(const RunJob&) = delete;

    /// To be called once. What is too much to be held is written as the run goes.
    /// @param listener  is told of each block besides
    RunResult Run(BlockListener& listener);

    /// Writes the rest. What cannot be written is among Folder().Dropped().
    void Write(RunResult& result);

    /// With the bit rate, where it was to be found.
    const RunOptions& Options() const { return options_; }
    const ModelSource& Model() const { return model_; }
    const OutputFolder& Folder() const { return folder_; }

private:
    std::vector<std::filesystem::path> Inputs() const;

    RunOptions options_;
    ModelSource model_;
    std::optional<ModelSource> transmitter_;
    OutputFolder folder_;
    Simulation simulation_;
};

}  // namespace amisim
