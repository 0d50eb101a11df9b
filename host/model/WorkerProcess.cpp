#include "host/model/WorkerProcess.hpp"

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

[[noreturn]] void ThrowErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

/// In the child between fork and exec: system calls only.
[[noreturn]] void BecomeWorker(const char* program, char* entry, const char* folder, int socket,
                               int memory, int output, char** environment)
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
        dup2(s, WorkerProcess::kSocket) >= 0 && dup2(m, WorkerProcess::kMemory) >= 0) {
        close(s), close(m), close(o);
        if (nothing > WorkerProcess::kMemory) close(nothing);
        char name[] = "amisim";
        char* const arguments[] = {name, entry, nullptr};
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

WorkerProcess::WorkerProcess(std::string entry, int memory, Settings settings, Tell cause)
    : settings_(std::move(settings)), cause_(std::move(cause)), log_(settings_.logFile)
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
    std::string mark = fmt::format("{}={}", kMarkName, mark_);
    std::vector<char*> environment;
    for (char** at = environ; *at != nullptr; ++at) environment.push_back(*at);
    environment.push_back(mark.data());
    environment.push_back(nullptr);
    AdoptOrphans();
    pid_ = fork();
    if (pid_ == 0) {
        BecomeWorker(program.c_str(), entry.data(), folder.c_str(), sockets[1], memory, pipes[1],
                     environment.data());
    }
    close(sockets[1]);
    close(pipes[1]);
    if (pid_ < 0) ThrowErrno("fork");
}

WorkerProcess::~WorkerProcess()
{
    Kill();
    EndDescendants(mark_);
    if (socket_ >= 0) close(socket_);
    if (output_ >= 0) close(output_);
}

void WorkerProcess::Kill()
{
    if (pid_ <= 0) return;
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

void WorkerProcess::Send(const void* packet, std::size_t size)
{
    // A worker that has died is noticed when its answer is awaited.
    (void)send(socket_, packet, size, MSG_NOSIGNAL);
}

std::optional<int> WorkerProcess::WaitForEnd(double seconds)
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

void WorkerProcess::ReportDeath(const std::string& phase)
{
    const auto status = WaitForEnd(2);
    std::string how = cause_() + (status ? Describe(*status) : "closed its connection to the host");
    if (phase == "load" && status && WIFSIGNALED(*status) && WTERMSIG(*status) == SIGBUS)
        how += ", as if its file had been cut off,";
    throw ModelFailure(ExitCode::kModelCrash, phase, how, log_.Tail());
}

void WorkerProcess::WaitForPacket(const Tell& phase)
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
        if (waits[0].revents && !(wholeRun && left.count() <= 0)) return;
        stopping = stopping || settings_.interrupted();
        if (left.count() > 0) continue;
        Kill();
        log_.Drain(output_);
        if (stopping)
            throw ModelFailure(ExitCode::kInterrupted, phase(), "was interrupted", log_.Tail());
        const std::string reason =
            wholeRun
                ? "was stopped by the time limit of the run"
                : fmt::format("did not return within {} s and was stopped", settings_.callLimit);
        throw ModelFailure(ExitCode::kTimeLimit, phase(), reason, log_.Tail());
    }
}

std::vector<char> WorkerProcess::Receive(std::size_t least, std::size_t most, const Tell& phase)
{
    WaitForPacket(phase);
    std::vector<char> packet(most);
    ssize_t size = recv(socket_, packet.data(), packet.size(), 0);
    // A worker that died with requests unread resets the connection; its answers are still there
    // behind that.
    if (size < 0 && errno == ECONNRESET) size = recv(socket_, packet.data(), packet.size(), 0);
    if (size < static_cast<ssize_t>(least)) ReportDeath(phase());
    packet.resize(static_cast<std::size_t>(size));
    return packet;
}

void WorkerProcess::End(const std::string& phase)
{
    close(socket_);
    socket_ = -1;
    const auto status = WaitForEnd(std::min(settings_.callLimit, 5.0));
    if (!status)
        throw ModelFailure(ExitCode::kTimeLimit, phase, "did not end its process", log_.Tail());
    if (*status != 0)
        throw ModelFailure(ExitCode::kModelCrash, phase, Describe(*status), log_.Tail());
}

}  // namespace amisim
