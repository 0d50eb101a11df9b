#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Error.hpp"
#include "host/process/Box.hpp"
#include "host/process/Keeper.hpp"
#include "host/process/ModelLog.hpp"

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

/// The worker program, started to run a model's code: a process with a working folder of its own, a
/// socket and a piece of shared memory. Nothing that happens in it - crash, abort, exit, hang,
/// endless output - reaches further than an exception here, and nothing that it starts outlives it.
class WorkerProcess
{
public:
    struct Settings
    {
        std::filesystem::path workerProgram;  // amisim-worker
        std::filesystem::path folder;         // the worker's working folder
        std::filesystem::path logFile;        // what the model prints
        BoxRequest box;
        double callLimit = 60;  // most seconds for one answer
        std::optional<std::chrono::steady_clock::time_point> deadline;  // of the whole run
        std::function<bool()> interrupted = [] { return false; };       // asked while waiting
    };

    /// A text that is asked for only when the worker has failed.
    using Tell = std::function<std::string()>;

    /// @param entry   what the program is told to be: "model"
    /// @param memory  descriptor of the memory to be shared
    /// @param cause   what the worker noted about a fault: "ran out of stack and ", or nothing
    /// @throws std::system_error when the system refuses a process, Error (kInternal) where the
    /// program is not there
    WorkerProcess(std::string_view entry, int memory, Settings settings, Tell cause);
    WorkerProcess(const WorkerProcess&) = delete;
    WorkerProcess& operator=(const WorkerProcess&) = delete;
    ~WorkerProcess();

    void Send(const void* packet, std::size_t size);

    /// Waits for one packet of `least` to `most` bytes; a shorter one is none of the worker's own.
    ///  @throws ModelFailure in the phase told
    std::vector<char> Receive(std::size_t least, std::size_t most, const Tell& phase);

    /// Closes the connection and has the worker end by itself. @throws ModelFailure where it does
    /// not, or not in good order
    void End(const std::string& phase);

    const ModelLog& Log() const { return log_; }

    /// What stands between the worker and the rest of the system.
    const BoxState& Box() const { return box_; }
    /// Whether that is less than what the settings ask for.
    bool InsistedInVain() const { return settings_.box.insist != 0 && box_.Name() == "partial"; }

private:
    std::optional<int> WaitForEnd(double seconds);
    void WaitForPacket(const Tell& phase);
    [[noreturn]] void ReportDeath(const std::string& phase);
    void Kill();
    std::optional<BoxNews> ReadNews(double seconds);

    Settings settings_;
    Tell cause_;
    ModelLog log_;
    BoxState box_;
    int keeper_ = -1;  // the process that holds all that stem from the model
    int lifeline_ = -1;
    int socket_ = -1;
    int output_ = -1;
};

}  // namespace amisim
