#include "host/job/RunJob.hpp"

#include <fmt/format.h>

#include <iterator>
#include <string>
#include <utility>

#include "host/job/SegmentFolders.hpp"
#include "host/pages/WriteResults.hpp"
#include "host/results/BulkFile.hpp"
#include "host/results/WaveWriter.hpp"
#include "host/run/Buffers.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Writes what is too much to be held, block by block.
class BlockFiles : public BlockListener
{
public:
    BlockFiles(const RunOptions& options, OutputFolder& folder, BlockListener& next)
        : options_(options), folder_(folder), next_(next)
    {
    }

    void Start(std::int64_t bits) override
    {
        wave_.emplace(folder_, options_.saveWave, options_.signal.SampleInterval());
        clocks_.emplace(folder_, "clock.csv");
        clocks_->Write("time_s\n");
        next_.Start(bits);
    }

    void Take(const ModelProcess::Block& block) override
    {
        wave_->Add(block.output);
        text_.clear();
        for (const double time : block.clocks.times)
            fmt::format_to(std::back_inserter(text_), "{}\n", time);
        clocks_->Write(text_);
        next_.Take(block);
    }

    bool IsEnough(const std::optional<BitComparison>& soFar) override
    {
        return next_.IsEnough(soFar);
    }

private:
    const RunOptions& options_;
    OutputFolder& folder_;
    BlockListener& next_;
    std::optional<WaveWriter> wave_;
    std::optional<BulkFile> clocks_;
    std::string text_;
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
    BlockFiles files(options_, folder_, listener);
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
