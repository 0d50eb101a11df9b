#include "host/cli/Run.hpp"

#include <fmt/format.h>

#include <iterator>
#include <optional>

#include "host/cli/PrintResults.hpp"
#include "host/cli/Progress.hpp"
#include "host/pages/WriteResults.hpp"
#include "host/results/BulkFile.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/run/Simulation.hpp"

namespace amisim {
namespace {

namespace fs = std::filesystem;

/// Writes what is too much to be held, block by block, and shows how far the run is.
class RunFiles : public BlockListener
{
public:
    RunFiles(const RunOptions& options, OutputFolder& folder) : options_(options), folder_(folder)
    {
    }

    void Start(std::int64_t bits) override
    {
        wave_.emplace(folder_, options_.saveWave, options_.signal.SampleInterval());
        clocks_.emplace(folder_, "clock.csv");
        clocks_->Write("time_s\n");
        progress_.emplace(bits);
    }

    void Take(const ModelProcess::Block& block) override
    {
        wave_->Add(block.output);
        text_.clear();
        for (const double time : block.clocks.times)
            fmt::format_to(std::back_inserter(text_), "{}\n", time);
        clocks_->Write(text_);
        samples_ += std::ssize(block.output);
        progress_->Update(samples_ / options_.signal.samplesPerBit);
    }

    void Close()
    {
        wave_.reset();
        clocks_.reset();
        progress_.reset();
    }

private:
    const RunOptions& options_;
    OutputFolder& folder_;
    std::optional<WaveWriter> wave_;
    std::optional<BulkFile> clocks_;
    std::optional<Progress> progress_;
    std::int64_t samples_ = 0;
    std::string text_;
};

}  // namespace

ExitCode Run(const RunOptions& options, const fs::path& worker, const std::atomic<bool>& stop)
{
    options.Check();
    const ModelSource model =
        ResolveModelSource(options.model, options.modelName, options.parameters);
    std::optional<ModelSource> transmitter;
    if (!options.transmitter.empty()) {
        transmitter = ResolveModelSource(options.transmitter, options.transmitterName,
                                         options.transmitterParameters, ibis::End::Transmitter);
    }
    std::vector<fs::path> inputs = options.signal.Files();
    inputs.insert(inputs.end(), model.files.begin(), model.files.end());
    if (transmitter)
        inputs.insert(inputs.end(), transmitter->files.begin(), transmitter->files.end());
    OutputFolder folder(options.out, RunFolder(), OutputFolder::Use::kAlone, inputs);
    RunOptions known = options;
    known.signal.FindBitRate();
    Simulation simulation(known, model, transmitter ? &*transmitter : nullptr,
                          {worker, folder.Path(), folder.Path() / "model.log",
                           folder.Path() / "tx.log", [&stop] { return stop.load(); }});
    folder.RemoveAll();
    // The model may write these at any time. Where there is no room even for the list, the numbers
    // are still to be printed.
    for (const char* name : {"result.json", "model.log", "tx.log", "Adapt.txt", "EOM.txt"})
        folder.Claim(name);
    RunFiles files(known, folder);
    RunResult result = simulation.Run(files);
    files.Close();

    PrintResults(result, known, model);
    WriteResults(result, known, model, known.pictures, folder);
    PrintEnding(result, folder);
    if (result.failure) return result.failure->code;
    return folder.Dropped().empty() ? ExitCode::kOk : ExitCode::kInput;
}

}  // namespace amisim
