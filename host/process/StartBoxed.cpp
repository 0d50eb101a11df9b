#include "host/process/StartBoxed.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <string_view>

#include "host/process/Keeper.hpp"

namespace amisim {
namespace {

/// What a host ignores or blocks, as interpreters do, is not for its models.
void ForgetSignals()
{
    for (const int number : {SIGPIPE, SIGXFSZ}) signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// In the child between its start and exec: system calls only.
[[noreturn]] void BecomeKeeper(const BoxedStart& start, char* const* arguments)
{
    ForgetSignals();
    setpgid(0, 0);  // Ctrl-C is for the host, which then ends the run in good order
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // What the host sends first means that this process is who it is to be.
    pollfd ready{start.lifeline, POLLIN, 0};
    poll(&ready, 1, -1);
    // Out of the way of the final numbers first, so that none overwrites a source.
    constexpr int kAway = 10;
    const int nothing = open("/dev/null", O_RDONLY);
    const std::array from = {nothing,      start.output, start.output,
                             start.socket, start.memory, start.lifeline};
    static_assert(kWorkerSocket == 3 && kWorkerMemory == 4 && kLifeline == from.size() - 1);
    std::array<int, from.size()> away;
    for (std::size_t i = 0; i < from.size(); ++i) away[i] = fcntl(from[i], F_DUPFD, kAway);
    bool placed = chdir(start.folder.c_str()) == 0;
    for (std::size_t i = 0; i < from.size(); ++i)
        placed = placed && dup2(away[i], static_cast<int>(i)) >= 0;
    // Nothing else that the host has open.
    if (syscall(SYS_close_range, kLifeline + 1, ~0u, 0) != 0) {
        for (const int descriptor : away) close(descriptor);
    }
    if (placed) execv(start.program.c_str(), arguments);
    _exit(127);
}

bool WriteFile(const std::string& path, std::string_view text)
{
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0) return false;
    const bool written = write(file, text.data(), text.size()) == std::ssize(text);
    close(file);
    return written;
}

/// Every number that this process knows as itself.
std::string Identity(const char* map)
{
    std::string lines;
    std::ifstream file(map);
    for (std::uint64_t inside = 0, outside = 0, count = 0; file >> inside >> outside >> count;)
        lines += fmt::format("{0} {0} {1}\n", inside, count);
    return lines;
}

/// Users and groups keep their numbers: all of them for root, who then may do to files what it may
/// do outside; else the user's own, which is what the kernel grants.
bool MapUsers(pid_t process)
{
    const std::string folder = fmt::format("/proc/{}/", process);
    if (WriteFile(folder + "uid_map", Identity("/proc/self/uid_map")))
        return WriteFile(folder + "gid_map", Identity("/proc/self/gid_map"));
    return WriteFile(folder + "uid_map", fmt::format("{0} {0} 1\n", geteuid())) &&
           WriteFile(folder + "setgroups", "deny") &&
           WriteFile(folder + "gid_map", fmt::format("{0} {0} 1\n", getegid()));
}

pid_t StartInNamespaces(const BoxedStart& start, char* const* arguments)
{
    const auto process =
        static_cast<pid_t>(syscall(SYS_clone, CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWIPC | SIGCHLD,
                                   nullptr, nullptr, nullptr, nullptr));
    if (process == 0) BecomeKeeper(start, arguments);
    if (process > 0 && !MapUsers(process)) {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
        return -1;
    }
    return process;
}

}  // namespace

pid_t StartBoxed(const BoxedStart& start, const BoxRequest& request)
{
    std::string name = start.program, entry = start.entry, with = kInNamespaces,
                without = kNotInNamespaces;
    char* const inNamespaces[] = {name.data(), entry.data(), with.data(), nullptr};
    char* const elsewhere[] = {name.data(), entry.data(), without.data(), nullptr};
    pid_t keeper = -1;
    if (request.kind == BoxKind::kFull) keeper = StartInNamespaces(start, inNamespaces);
    if (keeper < 0) keeper = fork();
    if (keeper == 0) BecomeKeeper(start, elsewhere);
    if (keeper > 0) (void)send(start.hostLifeline, &request, sizeof request, MSG_NOSIGNAL);
    return keeper;
}

}  // namespace amisim
