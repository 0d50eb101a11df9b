#include <fpu_control.h>
#include <immintrin.h>

#include <clocale>
#include <csignal>
#include <filesystem>
#include <utility>
#include <vector>

#include "host/contract/Clauses.hpp"
#include "host/contract/Recording.hpp"

namespace amisim::contract {
namespace {

/// Some part of the process's state, in words: what, and how it stands.
using State = std::vector<std::pair<std::string, std::string>>;

void Compare(const State& before, const State& after, const char* function)
{
    for (std::size_t i = 0; i < before.size(); ++i) {
        const auto& [what, value] = before[i];
        const std::string& now = after[i].second;
        Require(now == value, function, "changed {} from {} to {}", what, value, now);
    }
}

/// Makes each call once, and looks behind each.
Verdict Keeps(Bench& bench, State (*look)())
{
    const State before = look();
    bench.Module();
    Compare(before, look(), "library");
    Instance instance(bench, Defaults(bench));
    instance.Init();
    Compare(before, look(), "AMI_Init");
    if (bench.GetTask().HasGetWave()) {
        for (int block = 0; block < 3; ++block) {
            instance.GetWave(MakeWave(bench, 20, instance.GetStart().samplesPerBit));
            Compare(before, look(), "AMI_GetWave");
        }
    }
    instance.Close();
    Compare(before, look(), "AMI_Close");
    return Passed();
}

State LookAtFolder()
{
    std::error_code error;
    return {{"the working folder", std::filesystem::current_path(error).string()}};
}

State LookAtLocale()
{
    return {{"the locale", std::setlocale(LC_ALL, nullptr)},
            {"the decimal point", std::localeconv()->decimal_point}};
}

State LookAtSignals()
{
    State state;
    sigset_t blocked;
    sigprocmask(SIG_SETMASK, nullptr, &blocked);
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action
        {
        };
        if (sigaction(signal, nullptr, &action) != 0) continue;
        const char* const name = sigabbrev_np(signal);
        const std::string what =
            name ? fmt::format("SIG{}", name) : fmt::format("signal {}", signal);
        const std::string handling =
            action.sa_handler == SIG_DFL ? "the default"
            : action.sa_handler == SIG_IGN
                ? "being ignored"
                : fmt::format("a handler at {}", reinterpret_cast<const void*>(action.sa_handler));
        state.emplace_back("the handling of " + what, handling);
        state.emplace_back("the mask of " + what,
                           sigismember(&blocked, signal) == 1 ? "blocked" : "open");
    }
    return state;
}

State LookAtRounding()
{
    const unsigned control = _mm_getcsr();
    fpu_control_t x87;
    _FPU_GETCW(x87);
    const auto flag = [control](unsigned bit) { return (control & bit) != 0 ? "on" : "off"; };
    return {
        {"the rounding mode", std::to_string((control & _MM_ROUND_MASK) >> 13)},
        {"flush-to-zero", flag(_MM_FLUSH_ZERO_ON)},
        {"denormals-are-zero", flag(0x0040)},
        {"the mask of floating-point exceptions", fmt::format("{:#x}", control & _MM_MASK_MASK)},
        {"the control word of the x87", fmt::format("{:#x}", x87)}};
}

}  // namespace

Verdict WorkingFolder(Bench& bench)
{
    return Keeps(bench, LookAtFolder);
}

Verdict Locale(Bench& bench)
{
    return Keeps(bench, LookAtLocale);
}

Verdict Signals(Bench& bench)
{
    return Keeps(bench, LookAtSignals);
}

Verdict RoundingMode(Bench& bench)
{
    return Keeps(bench, LookAtRounding);
}

}  // namespace amisim::contract
