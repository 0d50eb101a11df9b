#include "host/job/RunJob.hpp"

#include <fmt/format.h>

#include <deque>
#include <iterator>
#include <string>
#include <utility>

#include "host/job/SegmentFolders.hpp"
#include "host/pages/WriteResults.hpp"
#include "host/results/BulkFile.hpp"
#include "host/results/WaveWriter.hpp"
#include "host/run/Buffers.hpp"
#include "host/run/TrainingAgreement.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// What a segment's receiver returns, as waveform and clock times.
class SegmentFiles
{
public:
    SegmentFiles(const RunOptions& options, OutputFolder& folder)
        : wave_(folder, options.saveWave, options.signal.SampleInterval()),
          clocks_(folder, "clock.csv")
    {
        clocks_.Write("time_s\n");
    }

    void Add(const ModelProcess::Block& block)
    {
        wave_.Add(block.output);
        text_.clear();
        for (const double time : block.clocks.times)
            fmt::format_to(std::back_inserter(text_), "{}\n", time);
        clocks_.Write(text_);
    }

private:
    WaveWriter wave_;
    BulkFile clocks_;
    std::string text_;
};

/// Writes what is too much to be held, block by block.
class BlockFiles : public BlockListener
{
public:
    /// @param folders  of the segments, in the link's order
    BlockFiles(const RunOptions& options, std::vector<OutputFolder*> folders, BlockListener& next)
        : options_(options), folders_(std::move(folders)), next_(next)
    {
    }

    void Start(std::int64_t bits) override
    {
        for (OutputFolder* const folder : folders_) files_.emplace_back(options_, *folder);
        next_.Start(bits);
    }

    void Take(const ModelProcess::Block& block) override
    {
        files_.back().Add(block);
        next_.Take(block);
    }

    void TakeEarlier(std::size_t segment, const ModelProcess::Block& block) override
    {
        files_[segment].Add(block);
        next_.TakeEarlier(segment, block);
    }

    bool IsEnough(const std::optional<BitComparison>& soFar) override
    {
        return next_.IsEnough(soFar);
    }

private:
    const RunOptions& options_;
    std::vector<OutputFolder*> folders_;
    BlockListener& next_;
    std::deque<SegmentFiles> files_;  // as the folders
};

RunOptions Checked(RunOptions options)
{
    UseFarSides(options);
    options.Check();
    return options;
}

std::vector<SegmentModels> Named(std::vector<SegmentModels> models, const fs::path& out)
{
    NameInstances(models, out);
    return models;
}

/// With what the waveform and the models tell of the signal.
const RunOptions& Settled(RunOptions& options, std::vector<SegmentModels>& models,
                          const fs::path& worker, const std::function<bool()>& stopped)
{
    ResolveDependents(options, models, worker, stopped);
    UseBuffers(options, models);
    SettleSignals(options, models);
    AgreeOnTraining(options, models);
    return options;
}

}  // namespace

RunJob::RunJob(const RunOptions& options, const fs::path& worker,
               const std::function<bool()>& stopped)
    : options_(Checked(options)),
      models_(Named(ResolveModels(options_), options_.out)),
      folder_(options.out, RunFolder(), OutputFolder::Use::kAlone, InputFiles(options_, models_)),
      simulation_(Settled(options_, models_, worker, stopped), models_,
                  {worker, folder_.Path(), folder_.Path() / "model.log", folder_.Path() / "tx.log",
                   stopped})
{
}

RunResult RunJob::Run(BlockListener& listener)
{
    segmentFolders_ =
        MakeSegmentFolders(folder_.Path(), options_.earlier.size(), InputFiles(options_, models_));
    folder_.RemoveAll();
    ClaimLogs(folder_);
    std::vector<OutputFolder*> folders;
    for (const auto& folder : segmentFolders_) folders.push_back(folder.get());
    folders.push_back(&folder_);
    BlockFiles files(options_, std::move(folders), listener);
    return simulation_.Run(files);
}

void RunJob::Write(RunResult& result)
{
    for (std::size_t k = 0; k < segmentFolders_.size(); ++k) {
        WriteResults(result.earlier[k], OptionsOf(k), ModelOf(k), options_.pictures,
                     *segmentFolders_[k]);
    }
    WriteResults(result, options_, Model(), options_.pictures, folder_);
}

SimulationOptions RunJob::OptionsOf(std::size_t segment) const
{
    SimulationOptions own = options_;
    static_cast<SegmentOptions&>(own) = options_.earlier[segment];
    own.earlier.clear();
    return own;
}

}  // namespace amisim
