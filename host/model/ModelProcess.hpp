#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "host/Error.hpp"
#include "host/model/ModelLog.hpp"
#include "host/model/Protocol.hpp"
#include "host/model/SharedBlocks.hpp"

namespace amisim {

/// The model failed: which call it was in ("load", "AMI_Init", "AMI_GetWave 3", "AMI_Close") and
/// how.
class ModelFailure : public Error
{
public:
    ModelFailure(ExitCode code, std::string where, std::string how, std::string said)
        : Error(code, "the model " + how + " in " + where + (said.empty() ? "" : ":\n" + said)),
          phase(std::move(where)),
          reason(std::move(how)),
          printed(std::move(said))
    {
    }
    std::string phase, reason, printed;
};

/// A model that runs in a process of its own: the host starts its own program anew as the worker,
/// in the folder where the model's logs shall appear, and hands it blocks through shared memory.
/// Nothing that the model does - crash, abort, exit, hang, endless output - reaches further than an
/// exception here.
///
/// Blocks are submitted and come back in order; several may be under way, so that host and model
/// work at the same time.
class ModelProcess
{
public:
    struct Settings
    {
        std::filesystem::path workerProgram;  // amisim itself
        std::filesystem::path folder;         // the worker's working folder
        std::filesystem::path logFile;        // what the model prints
        double callLimit = 60;                // most seconds for one call
        std::optional<std::chrono::steady_clock::time_point> deadline;  // of the whole run
        std::function<bool()> interrupted = [] { return false; };       // asked while waiting
    };

    /// Starts the worker. @throws std::system_error when the system refuses a process or memory
    ModelProcess(const ModelStart& start, Settings settings);
    ModelProcess(const ModelProcess&) = delete;
    ModelProcess& operator=(const ModelProcess&) = delete;
    ~ModelProcess();

    struct InitResult
    {
        std::string message, parametersOut;
    };
    /// Loads the library and calls AMI_Init. @throws ModelFailure
    InitResult Init();

    std::size_t Slots() const { return blocks_.Slots(); }
    bool SlotFree() const { return submitted_ - returned_ < blocks_.Slots(); }
    bool Busy() const { return submitted_ > returned_; }

    /// Where the next block to be submitted is to be written.
    std::span<double> NextInput() const { return blocks_.Input(submitted_ % blocks_.Slots()); }
    void Submit(std::size_t samples);

    struct Block
    {
        std::span<const double> input, output;
        SharedBlocks::ClockList clocks;
    };
    /// Waits for the oldest block under way. The spans are valid until its slot is submitted again.
    ///  @throws ModelFailure, also when AMI_GetWave returned 0
    Block Wait();

    /// Calls AMI_Close and ends the worker. @throws ModelFailure
    void Close();

    /// Seconds spent inside AMI_GetWave so far.
    double ModelSeconds() const { return modelSeconds_; }

private:
    struct Answer
    {
        Reply reply;
        std::string message, parameters;
    };
    void Send(const Request& request);
    Answer Receive(const std::string& phase);
    std::string GetWavePhase() const;
    std::optional<int> WaitForEnd(double seconds);
    [[noreturn]] void ReportDeath(const std::string& phase);
    void Kill();

    SharedBlocks blocks_;
    Settings settings_;
    ModelLog log_;
    int pid_ = -1;
    std::string mark_;  // of every process that stems from the model
    int socket_ = -1;
    int output_ = -1;
    std::uint64_t submitted_ = 0, returned_ = 0;
    std::vector<std::size_t> sizes_;
    double modelSeconds_ = 0;
};

}  // namespace amisim
