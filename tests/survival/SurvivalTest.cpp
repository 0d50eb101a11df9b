// The library in other people's processes: whatever the host cuts, limits, closes or changes, the
// same comes back.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xmmintrin.h>

#include <cfenv>
#include <clocale>
#include <cmath>
#include <functional>
#include <random>
#include <thread>

#include "tests/TemporaryFolder.hpp"
#include "tests/survival/Model.hpp"

namespace {

enum : int { Ran = 0, Different = 75, HostChanged = 76, Impossible = 77 };

/// Runs action in a process of its own; its exit code, or less than zero for the signal that ended
/// it.
int InChild(const std::function<void()>& action)
{
    const pid_t child = fork();
    if (child == 0) {
        alarm(Sanitized ? 300 : 120);
        action();
        _exit(Ran);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void Limit(int resource, rlim_t most)
{
    const rlimit limit = {most, most};
    if (setrlimit(static_cast<__rlimit_resource>(resource), &limit) != 0) _exit(Impossible);
}

void SmallFileSystem()
{
    if (unshare(CLONE_NEWNS) != 0 ||
        mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("none", ".", "tmpfs", 0, "size=64k") != 0)
        _exit(Impossible);
    const std::string here = std::filesystem::current_path();
    if (chdir("/") != 0 || chdir(here.c_str()) != 0) _exit(Impossible);
}

/// What a host does before it makes an instance, and whether the logs are to be complete then.
struct Circumstance
{
    const char* Name;
    std::function<void()> Prepare;
    bool Complete = false;
};

const Circumstance circumstances[] = {
    {"an empty folder", [] {}, true},
    {"FIFOs that nobody reads", [] { mkfifo("Adapt.txt", 0600), mkfifo("EOM.txt", 0600); }},
    {"FIFOs that somebody reads slowly",
     [] {
         for (const char* log : {"Adapt.txt", "EOM.txt"}) {
             mkfifo(log, 0600);
             if (open(log, O_RDONLY | O_NONBLOCK) < 0) _exit(Impossible);
         }
     }},
    {"directories", [] { mkdir("Adapt.txt", 0700), mkdir("EOM.txt", 0700); }},
    {"a loop of links",
     [] {
         if (symlink("Adapt.txt", "EOM.txt") + symlink("EOM.txt", "Adapt.txt") != 0)
             _exit(Impossible);
     }},
    {"a full device",
     [] {
         if (symlink("/dev/full", "EOM.txt") + symlink("/dev/full", "Adapt.txt") != 0)
             _exit(Impossible);
     }},
    {"a folder that may not be written",
     [] {
         if (chmod(".", 0500) != 0 || (geteuid() == 0 && seteuid(65534) != 0)) _exit(Impossible);
     }},
    {"a deleted folder", [] { std::filesystem::remove_all(std::filesystem::current_path()); }},
    {"a file system of 64 KiB", SmallFileSystem},
    {"files of 1000 bytes at most", [] { Limit(RLIMIT_FSIZE, 1000); }},
    {"files of 1000 bytes at most, the signal held back by the host",
     [] {
         Limit(RLIMIT_FSIZE, 1000);
         sigset_t held;
         sigemptyset(&held);
         sigaddset(&held, SIGXFSZ);
         sigprocmask(SIG_BLOCK, &held, nullptr);
     }},
    {"four descriptors", [] { closefrom(3), Limit(RLIMIT_NOFILE, 4); }, true},
    {"no descriptor", [] { closefrom(3), Limit(RLIMIT_NOFILE, 3); }},
    {"closed standard streams", [] { close(0), close(1), close(2); }, true},
    {"a comma in numbers",
     [] {
         uselocale(LC_GLOBAL_LOCALE);  // whatever earlier calls of the library have left behind
         if (std::system("localedef -i de_DE -f UTF-8 ./de_DE.UTF-8 >/dev/null 2>&1") != 0 ||
             setenv("LOCPATH", ".", 1) != 0 || !std::setlocale(LC_ALL, "de_DE.UTF-8") ||
             std::strtod("1,5", nullptr) != 1.5)
             _exit(Impossible);
     },
     true},
    {"rounding up, denormal numbers flushed and read as zero, traps",
     [] { std::fesetround(FE_UPWARD), _mm_setcsr((_mm_getcsr() | 0x8040U) & ~0x0280U); }, true},
};

TEST(Survival, WhateverSurroundsIt)
{
    std::vector<double> wave = Data();
    for (size_t i = 0; i < wave.size() / 4; ++i) wave.push_back(wave[i] * 1e-309);
    const Whole whole = RunAlone(Parameters(), wave);
    ASSERT_NE(whole.Wave.back(), 0.0);
    const Library library;
    for (const Circumstance& row : circumstances) {
        const TemporaryFolder folder;
        const int result = InChild([&] {
            row.Prepare();
            const std::string point = std::localeconv()->decimal_point;
            const unsigned arithmetic = _mm_getcsr();
            if (Session(library, Parameters()).Run(wave).Hash() != whole.Hash) _exit(Different);
            if (_mm_getcsr() != arithmetic || std::localeconv()->decimal_point != point)
                _exit(HostChanged);
        });
        if (result == Impossible) {
            std::printf("cannot be made here: %s\n", row.Name);
            continue;
        }
        EXPECT_EQ(result, Ran) << row.Name;
        if (row.Complete) {
            EXPECT_TRUE(Logs() == whole.Logs) << row.Name;
        }
    }
}

TEST(Survival, AnyNumberOfSamplesPerBit)
{
    const Library library;
    const TemporaryFolder folder;
    // Up to 1e6 it runs in 3 GiB of address space; beyond, it need only end as documented.
    for (const double samplesPerBit : {1e3, 1e5, 1e6, 1e7, 4e7, 9e7, 1e9}) {
        if (Sanitized && samplesPerBit > 1e5) break;
        EXPECT_EQ(InChild([&] {
                      if (!Sanitized) Limit(RLIMIT_AS, 3UL << 30);
                      Session session(library, Parameters(), samplesPerBit);
                      const long made = session.Result;
                      session.Run({0.1, 0.2});
                      const bool runs = session.Result == 1 || samplesPerBit > 1e6;
                      if (!runs || session.Message.empty() != (made == 1) || session.Close() != 1)
                          _exit(1);
                  }),
                  Ran)
            << samplesPerBit;
    }
}

TEST(Survival, TenThousandLoads)
{
    const TemporaryFolder folder;
    const std::vector<double> wave = Data(20);
    const auto pages = [] {
        long size = 0, resident = 0;
        std::ifstream("/proc/self/statm") >> size >> resident;
        return resident;
    };
    const std::uint64_t expected = Session(Library(), Parameters()).Run(wave).Hash();
    long before = 0;
    const size_t cycles = Sanitized ? 200 : 10000;
    for (size_t i = 0; i < cycles; ++i) {
        {
            const Library library;
            ASSERT_NE(Contents("/proc/self/maps").find("Retimer_RX_RT.so"), std::string::npos);
            ASSERT_EQ(Session(library, Parameters()).Run(wave).Hash(), expected);
        }
        ASSERT_EQ(Contents("/proc/self/maps").find("Retimer_RX_RT.so"), std::string::npos) << i;
        if (i == 20) before = pages();
    }
    const long grown = pages() - before;
    std::printf("%zu cycles: %ld pages more\n", cycles, grown);
    if (!Sanitized) {
        EXPECT_LT(grown, 100);
    }
}

TEST(Survival, DocumentedAborts)
{
    const TemporaryFolder folder;
    const Library library;
    const std::string blanks(120, ' ');
    EXPECT_EQ(Session(library, "(Retimer_RX_RT" + blanks + "(RX_Config" + blanks + "2))").Result,
              1);
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            Session(library, "(Retimer_RX_RT " + blanks + "(RX_Config 2))");
        },
        testing::KilledBySignal(SIGABRT), "ParserHelpers.cpp:[0-9]+:assertion failed\\.");
    EXPECT_EXIT(
        {
            Session session(library, Parameters(), 0.0);
            session.Result = 1;
            session.Run({0.1});
        },
        testing::KilledBySignal(SIGABRT),
        "CircularBuffer.*Assertion `iNumberItems <= m_iSize && "
        "iNumberItems <= pDestination->GetSize\\(\\)' failed");
}

}  // namespace
