#include "host/process/WorkerProcess.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include "host/process/StartBoxed.hpp"

namespace amisim {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kStartSeconds = 20;
constexpr auto kPatience = std::chrono::seconds(5);  // for a keeper to end all it keeps

[[noreturn]] void ThrowErrno(const char* what)
{
    throw std::system_error(errno, std::generic_category(), what);
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

WorkerProcess::WorkerProcess(std::string_view entry, int memory, Settings settings, Tell cause)
    : settings_(std::move(settings)), cause_(std::move(cause)), log_(settings_.logFile)
{
    if (access(settings_.workerProgram.c_str(), X_OK) != 0) {
        throw Error(settings_.workerProgram,
                    "expected the program that runs models, which belongs beside amisim",
                    ExitCode::kInternal);
    }
    int sockets[2], lifelines[2], pipes[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0 ||
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, lifelines) != 0)
        ThrowErrno("socketpair");
    if (pipe2(pipes, O_CLOEXEC) != 0) ThrowErrno("pipe");
    socket_ = sockets[0];
    lifeline_ = lifelines[0];
    output_ = pipes[0];
    fcntl(output_, F_SETFL, O_NONBLOCK);
    keeper_ = StartBoxed({settings_.workerProgram, std::string(entry), settings_.folder, sockets[1],
                          memory, pipes[1], lifelines[1], lifelines[0]},
                         settings_.box);
    const int error = errno;
    for (const int descriptor : {sockets[1], lifelines[1], pipes[1]}) close(descriptor);
    errno = error;
    if (keeper_ < 0) ThrowErrno("fork");
    // Where there is no such news the worker has ended, which is told where its answer is awaited.
    if (const auto news = ReadNews(kStartSeconds); news && news->kind == BoxNews::Kind::kEntered)
        box_ = news->box;
}

WorkerProcess::~WorkerProcess()
{
    Kill();
    for (const int descriptor : {socket_, lifeline_, output_}) {
        if (descriptor >= 0) close(descriptor);
    }
}

void WorkerProcess::Kill()
{
    if (keeper_ <= 0) return;
    // With the first of a process namespace all others end; else it ends them when it is let go.
    if (box_.namespaces) kill(keeper_, SIGKILL);
    shutdown(lifeline_, SHUT_RDWR);
    const auto end = Clock::now() + kPatience;
    bool killed = false;
    while (waitpid(keeper_, nullptr, WNOHANG) == 0) {
        if (Clock::now() > end) {
            if (std::exchange(killed, true)) break;  // something holds it that nothing can end
            kill(keeper_, SIGKILL);
        }
        usleep(100);
    }
    keeper_ = -1;
}

std::optional<BoxNews> WorkerProcess::ReadNews(double seconds)
{
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    pollfd wait{lifeline_, POLLIN, 0};
    while (poll(&wait, 1, 1) <= 0 && Clock::now() < end) log_.Drain(output_);
    BoxNews news;
    if (recv(lifeline_, &news, sizeof news, MSG_DONTWAIT) != sizeof news) return std::nullopt;
    return news;
}

void WorkerProcess::Send(const void* packet, std::size_t size)
{
    // A worker that has died is noticed when its answer is awaited.
    (void)send(socket_, packet, size, MSG_NOSIGNAL);
}

std::optional<int> WorkerProcess::WaitForEnd(double seconds)
{
    const auto news = ReadNews(seconds);
    Kill();
    log_.Drain(output_);
    return news ? std::optional(news->status) : std::nullopt;
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
        pollfd waits[3] = {
            {socket_, POLLIN, 0}, {outputOpen ? output_ : -1, POLLIN, 0}, {lifeline_, POLLIN, 0}};
        // Short naps, so that an interrupt is seen soon even if the signal reached another thread.
        const int nap = static_cast<int>(std::clamp(left.count() * 1000, 0.0, 200.0));
        if (poll(waits, 3, nap) < 0 && errno != EINTR) ThrowErrno("poll");
        if (waits[1].revents) outputOpen = log_.Drain(output_);
        // The worker has ended, or has answered. What it started may still hold its connection.
        const bool news = waits[0].revents || waits[2].revents;
        if (news && !(wholeRun && left.count() <= 0)) return;
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
    ssize_t size = recv(socket_, packet.data(), packet.size(), MSG_DONTWAIT);
    // A worker that died with requests unread resets the connection; its answers are still there
    // behind that.
    if (size < 0 && errno == ECONNRESET)
        size = recv(socket_, packet.data(), packet.size(), MSG_DONTWAIT);
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
