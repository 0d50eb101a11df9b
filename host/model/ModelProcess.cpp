#include "host/model/ModelProcess.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <system_error>

#include "host/model/Descendants.hpp"

namespace amisim {
namespace {

using Clock = std::chrono::steady_clock;

// The worker finds its end of the socket and the shared memory under these numbers.
constexpr int kWorkerSocket = 3;
constexpr int kWorkerMemory = 4;

[[noreturn]] void ThrowErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/// In the child between fork and exec: system calls only.
[[noreturn]] void BecomeWorker(const char* program, const char* folder, int socket, int memory,
                               int output, char** environment)
{
    setpgid(0, 0);  // Ctrl-C is for the host, which then ends the run in good order
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    const int nothing = open("/dev/null", O_RDONLY);
    // Out of the way of the final numbers first, so that no dup2 overwrites a source.
    const int s = fcntl(socket, F_DUPFD, 10), m = fcntl(memory, F_DUPFD, 10),
              o = fcntl(output, F_DUPFD, 10);
    if (chdir(folder) == 0 && dup2(nothing, 0) >= 0 && dup2(o, 1) >= 0 && dup2(o, 2) >= 0 &&
        dup2(s, kWorkerSocket) >= 0 && dup2(m, kWorkerMemory) >= 0) {
        close(s), close(m), close(o);
        if (nothing > kWorkerMemory) close(nothing);
        char name[] = "amisim", argument[] = "_model-worker";
        char* const arguments[] = {name, argument, nullptr};
        execve(program, arguments, environment);
    }
    _exit(127);
}

std::string Describe(int status)
{
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        const char* name = sigabbrev_np(number);
        const std::string signal =
            name ? fmt::format("SIG{}", name) : fmt::format("signal {}", number);
        return fmt::format("{} ({})", number == SIGABRT ? "aborted" : "crashed", signal);
    }
    return fmt::format("ended its process (exit code {})", WEXITSTATUS(status));
}

}  // namespace

ModelProcess::ModelProcess(const ModelStart& start, Settings settings)
    : blocks_(start), settings_(std::move(settings)), log_(settings_.logFile), sizes_(start.slots)
{
    int sockets[2], pipes[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0)
        ThrowErrno("socketpair");
    if (pipe2(pipes, O_CLOEXEC) != 0) ThrowErrno("pipe");
    socket_ = sockets[0];
    output_ = pipes[0];
    fcntl(output_, F_SETFL, O_NONBLOCK);

    const std::string program = settings_.workerProgram, folder = settings_.folder;
    static std::atomic<int> count = 0;
    mark_ = fmt::format("{}.{}", getpid(), ++count);
    std::string entry = fmt::format("{}={}", kMarkName, mark_);
    std::vector<char*> environment;
    for (char** at = environ; *at != nullptr; ++at) environment.push_back(*at);
    environment.push_back(entry.data());
    environment.push_back(nullptr);
    AdoptOrphans();
    pid_ = fork();
    if (pid_ == 0) {
        BecomeWorker(program.c_str(), folder.c_str(), sockets[1], blocks_.Descriptor(), pipes[1],
                     environment.data());
    }
    close(sockets[1]);
    close(pipes[1]);
    if (pid_ < 0) ThrowErrno("fork");
}

ModelProcess::~ModelProcess()
{
    Kill();
    EndDescendants(mark_);
    if (socket_ >= 0) close(socket_);
    if (output_ >= 0) close(output_);
}

void ModelProcess::Kill()
{
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

void ModelProcess::Send(const Request& request)
{
    // A worker that has died is noticed when its answer is awaited.
    (void)send(socket_, &request, sizeof request, MSG_NOSIGNAL);
}

std::string ModelProcess::GetWavePhase() const
{
    return fmt::format("AMI_GetWave {}", returned_ + 1);
}

std::optional<int> ModelProcess::WaitForEnd(double seconds)
{
    int status = 0;
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    pid_t ended = 0;
    while ((ended = waitpid(pid_, &status, WNOHANG)) == 0 && Clock::now() < end) {
        log_.Drain(output_);
        usleep(500);
    }
    if (ended != 0) pid_ = -1;
    Kill();
    log_.Drain(output_);
    return ended != 0 ? std::optional(status) : std::nullopt;
}

void ModelProcess::ReportDeath(const std::string& phase)
{
    const auto status = WaitForEnd(2);
    std::string how = status ? Describe(*status) : "closed its connection to the host";
    if (blocks_.Noted() == SharedBlocks::Fault::kClockList)
        how = "wrote past the end of the clock list and " + how;
    if (blocks_.Noted() == SharedBlocks::Fault::kStack) how = "ran out of stack and " + how;
    if (phase == "load" && status && WIFSIGNALED(*status) && WTERMSIG(*status) == SIGBUS)
        how += ", as if its file had been cut off,";
    throw ModelFailure(ExitCode::kModelCrash, phase, how, log_.Tail());
}

ModelProcess::Answer ModelProcess::Receive(const std::string& phase)
{
    const auto begin = Clock::now();
    bool outputOpen = true;
    bool stopping = false;
    while (true) {
        const auto callEnd =
            begin + std::chrono::duration<double>(stopping ? 2 : settings_.callLimit);
        const bool wholeRun = settings_.deadline && *settings_.deadline < callEnd;
        const auto now = Clock::now();
        const auto left =
            std::chrono::duration<double>(wholeRun ? *settings_.deadline - now : callEnd - now);
        pollfd waits[2] = {{socket_, POLLIN, 0}, {outputOpen ? output_ : -1, POLLIN, 0}};
        // Short naps, so that an interrupt is seen soon even if the signal reached another thread.
        const int nap = static_cast<int>(std::clamp(left.count() * 1000, 0.0, 200.0));
        if (poll(waits, 2, nap) < 0 && errno != EINTR) ThrowErrno("poll");
        if (waits[1].revents) outputOpen = log_.Drain(output_);
        if (waits[0].revents && !(wholeRun && left.count() <= 0)) break;
        stopping = stopping || settings_.interrupted();
        if (left.count() > 0) continue;
        Kill();
        log_.Drain(output_);
        if (stopping)
            throw ModelFailure(ExitCode::kInterrupted, phase, "was interrupted", log_.Tail());
        const std::string reason =
            wholeRun
                ? "was stopped by the time limit of the run"
                : fmt::format("did not return within {} s and was stopped", settings_.callLimit);
        throw ModelFailure(ExitCode::kTimeLimit, phase, reason, log_.Tail());
    }
    std::vector<char> packet(sizeof(Reply) + 2 * kLongestText);
    ssize_t size = recv(socket_, packet.data(), packet.size(), 0);
    // A worker that died with requests unread resets the connection; its answers are still there
    // behind that.
    if (size < 0 && errno == ECONNRESET) size = recv(socket_, packet.data(), packet.size(), 0);
    if (size < static_cast<ssize_t>(sizeof(Reply))) ReportDeath(phase);
    Answer answer;
    std::memcpy(&answer.reply, packet.data(), sizeof(Reply));
    const std::string texts(packet.data() + sizeof(Reply),
                            static_cast<std::size_t>(size) - sizeof(Reply));
    answer.message = texts.substr(0, answer.reply.messageLength);
    answer.parameters = texts.substr(answer.message.size());
    return answer;
}

ModelProcess::InitResult ModelProcess::Init()
{
    Send({Call::kLoad, 0, 0});
    const Answer load = Receive("load");
    if (load.reply.result == 0) throw Error(ExitCode::kModelLoad, load.message);
    Send({Call::kInit, 0, 0});
    const Answer init = Receive("AMI_Init");
    if (init.reply.result == 0) {
        const std::string said = init.message.empty() ? log_.Tail() : init.message;
        throw ModelFailure(ExitCode::kModelRefused, "AMI_Init", "returned 0", said);
    }
    return {init.message, init.parameters};
}

void ModelProcess::Submit(std::size_t samples)
{
    const std::size_t slot = submitted_ % Slots();
    sizes_[slot] = samples;
    Send({Call::kGetWave, static_cast<std::uint32_t>(slot), samples});
    ++submitted_;
}

ModelProcess::Block ModelProcess::Wait()
{
    const Answer answer = Receive(GetWavePhase());
    modelSeconds_ += answer.reply.seconds;
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, GetWavePhase(), "returned 0", log_.Tail());
    }
    const std::size_t slot = returned_++ % Slots();
    return {blocks_.Input(slot).first(sizes_[slot]), blocks_.Output(slot).first(sizes_[slot]),
            blocks_.Clocks(slot)};
}

void ModelProcess::Close()
{
    Send({Call::kClose, 0, 0});
    const Answer answer = Receive("AMI_Close");
    close(socket_);
    socket_ = -1;
    // The worker ends by itself now; a model that crashes or hangs in its last destructors is told
    // too.
    const auto status = WaitForEnd(std::min(settings_.callLimit, 5.0));
    if (!status) {
        throw ModelFailure(ExitCode::kTimeLimit, "AMI_Close", "did not end its process",
                           log_.Tail());
    }
    if (*status != 0)
        throw ModelFailure(ExitCode::kModelCrash, "AMI_Close", Describe(*status), log_.Tail());
    if (answer.reply.result == 0) {
        throw ModelFailure(ExitCode::kModelRefused, "AMI_Close", "returned 0", log_.Tail());
    }
}

}  // namespace amisim
