#include "host/process/FaultHandler.hpp"

#include <ucontext.h>

#include <csignal>
#include <cstddef>
#include <cstdint>

namespace amisim {
namespace {

FaultNote g_note = nullptr;

void Handle(int signal, siginfo_t* info, void* context)
{
    constexpr std::uintptr_t kNear = 1 << 16;
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    const auto stack = static_cast<std::uintptr_t>(
        static_cast<const ucontext_t*>(context)->uc_mcontext.gregs[REG_RSP]);
    g_note(info->si_addr, address + kNear > stack && address < stack + kNear);
    std::signal(signal, SIG_DFL);  // the instruction is tried again and ends the process
}

}  // namespace

void NoteFaults(FaultNote note)
{
    g_note = note;
    static std::byte room[1 << 16];
    const stack_t stack{room, 0, sizeof room};
    sigaltstack(&stack, nullptr);
    struct sigaction action
    {
    };
    action.sa_sigaction = Handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGBUS, &action, nullptr);
}

}  // namespace amisim
