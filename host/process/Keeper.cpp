#include "host/process/Keeper.hpp"

#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "host/process/Confinement.hpp"

namespace amisim {
namespace {

/// The children of this process, which are told by nothing that they could change.
std::vector<pid_t> Children()
{
    std::vector<pid_t> children;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        if (!std::isdigit(static_cast<unsigned char>(name[0]))) continue;
        std::ifstream file(entry.path() / "stat");
        std::string text;
        std::getline(file, text, '\0');
        // "pid (name) state parent ...", where the name may hold anything.
        std::istringstream behind(text.substr(text.rfind(')') + 1));
        char state = 0;
        pid_t parent = 0;
        if (behind >> state >> parent && parent == getpid()) children.push_back(std::stoi(name));
    }
    return children;
}

/// Ends all that stem from this process, whose orphans come to it.
void EndDescendants()
{
    constexpr int kMostRounds = 2000;  // a process may make another in the moment before its end
    for (int round = 0; round < kMostRounds; ++round) {
        pid_t ended = 0;
        while ((ended = waitpid(-1, nullptr, WNOHANG)) > 0) continue;
        if (ended < 0 && errno == ECHILD) return;
        for (const pid_t child : Children()) kill(child, SIGKILL);
        usleep(100);
    }
}

/// The worker's status when it ends, or nothing when the host wants no more of it.
std::optional<int> AwaitEnd(pid_t worker, int signals)
{
    pollfd waits[2] = {{signals, POLLIN, 0}, {kLifeline, POLLIN, 0}};
    while (true) {
        if (poll(waits, 2, -1) < 0 && errno != EINTR) return std::nullopt;
        if (waits[1].revents) return std::nullopt;
        signalfd_siginfo ignored;
        (void)!read(signals, &ignored, sizeof ignored);
        // Several signals may have become one; and what the worker has left behind ends here too.
        int status = 0;
        pid_t ended = 0;
        while ((ended = waitpid(-1, &status, WNOHANG)) > 0) {
            if (ended == worker) return status;
        }
    }
}

[[noreturn]] void Keep(pid_t worker, int signals, bool namespaces)
{
    prctl(PR_SET_NAME, "amisim-keeper");
    prctl(PR_SET_DUMPABLE, 0);  // so that the model cannot trace it
    for (int i = 0; i < kLifeline; ++i) close(i);
    if (const auto status = AwaitEnd(worker, signals)) {
        const BoxNews news{BoxNews::Kind::kEnded, *status, {}};
        (void)send(kLifeline, &news, sizeof news, MSG_NOSIGNAL);
    }
    // With the first of a process namespace all the others end.
    if (!namespaces) EndDescendants();
    _exit(0);
}

}  // namespace

void EnterBox(bool namespaces)
{
    BoxRequest request;
    if (recv(kLifeline, &request, sizeof request, 0) != sizeof request) _exit(127);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    // Outside of namespaces the keeper outlives its host for as long as it takes to end the rest.
    if (!namespaces) prctl(PR_SET_PDEATHSIG, 0);
    sigset_t mask, before;
    sigemptyset(&mask);
    sigaddset(&mask, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &mask, &before);
    const int signals = signalfd(-1, &mask, SFD_CLOEXEC | SFD_NONBLOCK);
    const pid_t worker = fork();
    if (worker < 0) _exit(127);
    if (worker > 0) Keep(worker, signals, namespaces);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    close(signals);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    const BoxNews news{BoxNews::Kind::kEntered, 0, Confine(request, namespaces)};
    (void)send(kLifeline, &news, sizeof news, MSG_NOSIGNAL);
    close(kLifeline);
}

}  // namespace amisim
