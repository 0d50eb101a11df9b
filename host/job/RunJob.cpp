#include "host/job/RunJob.hpp"

#include <fmt/format.h>

#include <iterator>
#include <string>
#include <utility>

#include "host/pages/WriteResults.hpp"
#include "host/results/BulkFile.hpp"
#include "host/results/WaveWriter.hpp"
#include "host/run/Agreement.hpp"

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
    options.Check();
    return options;
}

std::optional<ModelSource> TransmitterOf(const RunOptions& options)
{
    if (options.transmitter.empty()) return std::nullopt;
    return ResolveModelSource(options.transmitter, options.transmitterName,
                              options.transmitterParameters, ibis::End::Transmitter);
}

/// With what the waveform and the models tell of the signal.
const RunOptions& Settled(RunOptions& options, const ModelSource& model,
                          const std::optional<ModelSource>& transmitter)
{
    options.signal.FindBitRate();
    AgreeOnModulation(options.signal, model, transmitter ? &*transmitter : nullptr);
    return options;
}

}  // namespace

RunJob::RunJob(const RunOptions& options, const fs::path& worker, std::function<bool()> stopped)
    : options_(Checked(options)),
      model_(ResolveModelSource(options.model, options.modelName, options.parameters)),
      transmitter_(TransmitterOf(options)),
      folder_(options.out, RunFolder(), OutputFolder::Use::kAlone, Inputs()),
      simulation_(Settled(options_, model_, transmitter_), model_,
                  transmitter_ ? &*transmitter_ : nullptr,
                  {worker, folder_.Path(), folder_.Path() / "model.log", folder_.Path() / "tx.log",
                   std::move(stopped)})
{
}

/// What is read and so must not be written over.
std::vector<fs::path> RunJob::Inputs() const
{
    std::vector<fs::path> inputs = options_.signal.Files();
    inputs.insert(inputs.end(), model_.files.begin(), model_.files.end());
    if (transmitter_)
        inputs.insert(inputs.end(), transmitter_->files.begin(), transmitter_->files.end());
    return inputs;
}

RunResult RunJob::Run(BlockListener& listener)
{
    folder_.RemoveAll();
    // The model may write these at any time. Where there is no room even for the list, the numbers
    // are still to be told.
    for (const char* name : {"result.json", "model.log", "tx.log", "Adapt.txt", "EOM.txt"})
        folder_.Claim(name);
    BlockFiles files(options_, folder_, listener);
    return simulation_.Run(files);
}

void RunJob::Write(RunResult& result)
{
    WriteResults(result, options_, model_, options_.pictures, folder_);
}

}  // namespace amisim
