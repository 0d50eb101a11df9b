#include "host/cli/Run.hpp"

#include <optional>

#include "host/cli/PrintResults.hpp"
#include "host/cli/Progress.hpp"
#include "host/job/RunJob.hpp"

namespace amisim {
namespace {

/// Shows how far the run is.
class ShownProgress : public BlockListener
{
public:
    explicit ShownProgress(const RunOptions& options) : options_(options) {}

    void Start(std::int64_t bits) override { progress_.emplace(bits); }

    void Take(const ModelProcess::Block& block) override
    {
        samples_ += std::ssize(block.output);
        progress_->Update(samples_ / options_.signal.samplesPerBit);
    }

private:
    const RunOptions& options_;
    std::optional<Progress> progress_;
    std::int64_t samples_ = 0;
};

RunResult RunAndShow(RunJob& job)
{
    ShownProgress progress(job.Options());
    return job.Run(progress);
}

}  // namespace

ExitCode Run(const RunOptions& options, const std::filesystem::path& worker,
             const std::atomic<bool>& stop)
{
    RunJob job(options, worker, [&stop] { return stop.load(); });
    RunResult result = RunAndShow(job);
    PrintResults(result, job.Options(), job.Model());
    job.Write(result);
    PrintEnding(result, job.Folder());
    if (result.failure) return result.failure->code;
    if (!job.Folder().Dropped().empty()) return ExitCode::kInput;
    return result.mask && !result.mask->Passed() ? ExitCode::kMaskMissed : ExitCode::kOk;
}

}  // namespace amisim
