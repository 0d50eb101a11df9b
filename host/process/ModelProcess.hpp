#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/process/Protocol.hpp"
#include "host/process/SharedBlocks.hpp"
#include "host/process/WorkerProcess.hpp"

namespace amisim {

/// A model that runs in a process of its own, in the folder where the model's logs shall appear; it
/// is handed blocks through shared memory.
///
/// Blocks are submitted and come back in order; several may be under way, so that host and model
/// work at the same time.
class ModelProcess
{
public:
    using Settings = WorkerProcess::Settings;

    /// Starts the worker. @throws std::system_error when the system refuses a process or memory,
    /// Error (kUsage) when it refuses a box that is insisted on
    ModelProcess(const ModelStart& start, Settings settings);
    ModelProcess(const ModelProcess&) = delete;
    ModelProcess& operator=(const ModelProcess&) = delete;

    /// Loads the library, has AMI_Resolve tell its parameters, calls AMI_Resolve_Close and ends the
    /// worker. @throws ModelFailure
    std::string Resolve();

    struct InitResult
    {
        std::string message, parametersOut;
        std::vector<std::vector<double>> impulses;  // as the model left them, each by itself
    };
    /// Loads the library and calls AMI_Init. @throws ModelFailure
    InitResult Init();

    std::size_t Slots() const { return blocks_.Slots(); }
    bool SlotFree() const { return submitted_ - returned_ < blocks_.Slots(); }
    bool Busy() const { return submitted_ > returned_; }

    /// Where the next block to be submitted is to be written.
    std::span<double> NextInput() { return inputs_[submitted_ % Slots()]; }
    /// @param clocks  that the model finds in its clock list, which has room for them
    void Submit(std::size_t samples, std::span<const double> clocks = {});

    struct Block
    {
        std::span<const double> input, output;
        SharedBlocks::ClockList clocks;
        std::string parametersOut;
    };
    /// Waits for the oldest block under way. The spans are valid until the next call.
    ///  @throws ModelFailure, also when AMI_GetWave returned 0
    Block Wait();

    /// Calls AMI_Close and ends the worker. @throws ModelFailure
    void Close();

    /// Seconds spent inside AMI_GetWave so far.
    double ModelSeconds() const { return modelSeconds_; }

    const BoxState& Box() const { return worker_.Box(); }

private:
    struct Answer
    {
        Reply reply;
        std::string message, parameters;
    };
    void Send(const Request& request);
    void Load();
    Answer CallOnce(const std::string& phase, Call call);
    Answer Receive(const std::string& phase, Call call, std::size_t slot = 0);
    std::string GetWavePhase() const;

    SharedBlocks blocks_;
    LinkedFiles links_;
    WorkerProcess worker_;
    std::uint64_t submitted_ = 0, returned_ = 0;
    std::vector<std::vector<double>> inputs_;  // of each slot, as they were before the model's turn
    std::vector<std::size_t> sizes_;
    std::vector<double> output_;
    double modelSeconds_ = 0;
};

}  // namespace amisim
