// A model that hands its input on, with an ideal clock half a bit before the bits' centres. Its
// parameter Mode picks a fault instead, or another output: "init KIND" and "close KIND" are faults
// in these calls, "KIND" alone in the third AMI_GetWave; see the tests for the list. A fault while
// it is loaded comes from the environment variable TEST_MODEL_LOAD=KIND.

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <thread>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

char g_mode[32] = "";
double g_interval, g_bit, g_clock;
long g_calls, g_samples;

bool Is(const char* mode)
{
    return std::strcmp(g_mode, mode) == 0;
}

// Deep enough for any stack, and not to be turned into a loop.
int Recurse(volatile char* above)
{
    volatile char room[4096];
    room[0] = above ? above[0] : '\0';
    return Recurse(room) + room[0];
}

void Fault(const char* kind)
{
    const auto is = [kind](const char* name) { return std::strcmp(kind, name) == 0; };
    if (is("abort")) {
        std::printf("printed before\n");
        std::fprintf(stderr, "assertion that failed: a > b\x1b[2J\n");
        std::abort();
    }
    if (is("segv")) {
        std::signal(SIGSEGV, SIG_DFL);  // a sanitizer's handler would print a report
        std::raise(SIGSEGV);
    }
    if (is("exit")) std::exit(3);
    if (is("hang")) {
        for (;;) pause();
    }
    if (is("endless")) {
        for (;;) std::printf("there is no end to what this model has to say\n");
    }
    if (is("stack")) std::exit(Recurse(nullptr));
    if (is("throw")) throw std::runtime_error("thrown by the model");
    if (is("kill")) std::raise(SIGKILL);
    if (is("kill parent")) kill(getppid(), SIGKILL);
    if (is("orphan abort")) {
        if (fork() == 0) {
            for (;;) pause();
        }
        std::abort();
    }
    if (is("forge")) send(3, std::string(64, '\0').data(), 40, 0);
    if (is("shrink") && ftruncate(4, 0) != 0) std::printf("cannot\n");
    if (is("descriptors")) {
        for (int i = 0; i < 64; ++i) close(i);
        for (;;) pause();
    }
}

__attribute__((constructor)) void Load()
{
    if (const char* kind = std::getenv("TEST_MODEL_LOAD")) Fault(kind);
}

/// What a host must not mind. Whatever is left of it in the end holds the lock of the file "alive".
void MeddleWithTheProcess()
{
    const int alive = open("alive", O_CREAT | O_RDWR, 0600);
    if (flock(alive, LOCK_EX) != 0 || chdir("/") != 0 || !std::setlocale(LC_ALL, "C.UTF-8"))
        std::abort();
    for (int signal = 1; signal < 32; ++signal) std::signal(signal, SIG_IGN);
    std::thread([] {
        for (;;) pause();
    }).detach();
    if (fork() != 0) {
        std::fprintf(stderr, "left a child\n");
        return;
    }
    setsid();
    char name[] = "sleep", time[] = "1000";
    char *arguments[] = {name, time, nullptr}, *environment[] = {nullptr};
    if (fork() == 0) execve("/bin/sleep", arguments, environment);
    for (;;) pause();
}

/// Has a child of its own stop this process.
void BeTraced()
{
    prctl(PR_SET_PTRACER, PR_SET_PTRACER_ANY);
    if (fork() == 0) {
        ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr);
        for (;;) pause();
    }
    for (;;) pause();
}

/// Tries what reaches out of a box and tells how each went; TEST_MODEL_REACH names a folder and a
/// process outside.
void Reach()
{
    const char* const outside = std::getenv("TEST_MODEL_REACH");
    const std::string folder(outside, std::strchr(outside, ':'));
    const auto process = static_cast<pid_t>(std::atoi(std::strchr(outside, ':') + 1));
    const auto tell = [](const char* what, bool done) {
        std::printf("%s %s\n", what, done ? "done" : "refused");
    };
    std::signal(SIGXFSZ, SIG_IGN);
    const std::string file = folder + "/file";
    const int here = open("here", O_CREAT | O_RDWR | O_TRUNC, 0600);
    tell("write here", here >= 0 && write(here, "x", 1) == 1);
    tell("write elsewhere", open((folder + "/new").c_str(), O_CREAT | O_RDWR, 0600) >= 0);
    tell("change elsewhere", open(file.c_str(), O_WRONLY) >= 0);
    tell("remove elsewhere", unlink((folder + "/removed").c_str()) == 0);
    tell("move there", link("here", (folder + "/here").c_str()) == 0);
    tell("change mode", chmod(file.c_str(), 0640) == 0);
    tell("socket", socket(AF_UNIX, SOCK_STREAM, 0) >= 0);
    tell("signal", kill(process, 0) == 0);
    tell("memory", open(("/proc/" + std::to_string(process) + "/mem").c_str(), O_RDWR) >= 0);
    tell("session", getsid(0) != getpid());
    void* const two = mmap(nullptr, 2'000'000'000, PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    tell("much memory", two != MAP_FAILED);
    tell("large file", ftruncate(here, 2'000'000'000) == 0);
    int pair[2];
    tell("pair", socketpair(AF_UNIX, SOCK_STREAM, 0, pair) == 0);
}

std::atomic<bool> g_closed{false};
std::thread g_scribbler;

/// Writes the wave on and on, also when it is the host's turn, until AMI_Close: what it writes to
/// is not there any longer after that.
void Scribble(double* wave, long size)
{
    g_scribbler = std::thread([wave, size] {
        for (double value = 1; !g_closed; value = value > 1e300 ? 1 : value * 1e10) {
            for (long i = 0; i < size; ++i) static_cast<volatile double*>(wave)[i] = value;
        }
    });
}

/// Puts FIFOs, or links to something else, where the host will write or look for a log.
void Plant(const char* what)
{
    const std::string target = what[0] == '/' ? what : std::string("../") + what;
    for (const char* name :
         {"report.html", "eye.png", "tie.csv", "wave.npy", "clock.csv", "model.log", "result.json",
          "result.json.tmp", "Adapt.txt", "EOM.txt"}) {
        unlink(name);
        if ((target == "../fifo" ? mkfifo(name, 0600) : symlink(target.c_str(), name)) != 0)
            std::abort();
    }
    std::printf("planted\n");
}

/// What is given back as parameters: "out KIND".
char* ParametersOut()
{
    static char text[1 << 20];
    if (Is("out wild")) return reinterpret_cast<char*>(16);
    if (Is("out garbage")) std::strcpy(text, "no ( list");
    if (Is("out long")) std::memset(text, '(', sizeof text - 1);
    if (Is("out taps")) {  // settled with the fifth block
        std::sprintf(text, "(TestModel (gain %g) (dfe (1 -0.1) (taps 1 %ld)) (Mode \"0.5\"))",
                     g_calls < 5 ? 0.687 - 0.05 * static_cast<double>(g_calls) : 0.36, g_calls);
    }
    return std::strncmp(g_mode, "out ", 4) == 0 ? text : nullptr;
}

}  // namespace

EXPORT long AMI_Init(double* impulse, long, long, double sampleInterval, double bitTime,
                     const char* parameters, char** out, void** memory, char** message)
{
    if (const char* mode = std::strstr(parameters, "(Mode \""))
        std::sscanf(mode, "(Mode \"%31[^\"]", g_mode);
    static char text[] = "hello from the model";
    *message = text;
    *memory = g_mode;
    g_interval = sampleInterval;
    g_bit = bitTime;
    if (std::strncmp(g_mode, "init ", 5) == 0) Fault(g_mode + 5);
    if (Is("log")) {
        if (std::FILE* log = std::fopen("Adapt.txt", "a"))
            std::fputs("a line\n", log), std::fclose(log);
    }
    if (std::strncmp(g_mode, "plant ", 6) == 0) Plant(g_mode + 6);
    if (Is("init overrun")) {
        for (long i = 0; i < 1 << 24; ++i) impulse[i] = 0;
    }
    if (Is("halve")) impulse[20] /= 2;
    *out = ParametersOut();
    if (Is("reach")) Reach();
    if (Is("meddle") || Is("meddle hang")) MeddleWithTheProcess();
    return Is("init 0") ? 0 : 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char** out, void*)
{
    ++g_calls;
    *out = ParametersOut();
    if (g_calls == 3) {
        Fault(Is("meddle hang") ? "hang" : g_mode);
        if (Is("wave 0")) return 0;
        if (Is("nan")) wave[5] = std::numeric_limits<double>::quiet_NaN();
        if (double volts; std::sscanf(g_mode, "wild %lf", &volts) == 1) wave[5] = volts;
        if (Is("trace")) BeTraced();
        if (Is("scribble")) Scribble(wave, size);
        if (Is("wave overrun")) {
            for (long i = 0; i < 1 << 24; ++i) wave[i] = 0;
        }
        if (Is("far overrun")) {
            for (long i = 0; i < 1 << 24; ++i) clockTimes[i] = 0;
        }
    }
    if (Is("chatter")) {
        for (int i = 0; i < 3000; ++i)
            std::printf("line %d of a model that talks too much, and then some\n", i);
    }
    if (Is("keep clock")) return 1;  // of a host that hands one over
    if (Is("clock to wave")) {
        std::copy_n(clockTimes, size, wave);
        *clockTimes = -1;
        return 1;
    }
    const double end = static_cast<double>(g_samples += size) * g_interval;
    // "drop": a list that is short of every 50th clock; "fast": a clock at another rate, which
    // slips.
    const double step = Is("fast") ? g_bit * 0.9995 : Is("clock twice") ? g_bit / 2 : g_bit;
    long count = 0;
    if (double time; g_calls == 1 && std::sscanf(g_mode, "clock %lf", &time) == 1) {
        clockTimes[count++] = time;
        clockTimes[count++] = 2 * time;
    }
    for (static long n = 0; g_clock < end; ++n, g_clock = step * static_cast<double>(n)) {
        if (Is("drop") && n % 50 == 49) continue;
        clockTimes[count++] = g_clock;
    }
    if (Is("overrun")) {
        for (long i = 0; i < 2 * size / 64 + 100; ++i) clockTimes[i] = 0;
    }
    if (Is("no clock") || (Is("clock ends") && end > 512 * g_bit)) count = 0;
    for (long i = 0; i < count; ++i) {
        double& time = clockTimes[i];
        if (Is("clock in samples")) time /= g_interval;
        if (Is("clock in ps")) time *= 1e12;
        if (Is("clock by block")) time -= end - static_cast<double>(size) * g_interval;
        if (Is("clock far ahead")) time += 1800 * g_bit;
        if (Is("clock early")) time += 0.7 * g_bit;
        if (Is("clock between")) time += g_bit / 2;
    }
    if (!Is("no terminator") && !Is("overrun")) clockTimes[count] = -1;
    for (long i = 0; i < size; ++i) {
        if (Is("invert")) wave[i] = -wave[i];
        if (Is("zeros")) wave[i] = 0;
        if (Is("louder") && g_samples > 3000 * 64) wave[i] *= 50;  // from the middle on
        if (Is("constant")) wave[i] = 0.25;
        if (Is("offset")) wave[i] += 1;
        if (Is("slice")) {  // decides where data are sampled and holds the decision
            static double decision;
            if ((g_samples - size + i) % 64 == 32) decision = wave[i] > 0 ? 1 : -1;
            wave[i] = decision;
        }
    }
    return 1;
}

EXPORT long AMI_Close(void*)
{
    g_closed = true;
    if (g_scribbler.joinable()) g_scribbler.join();
    if (std::strncmp(g_mode, "close ", 6) == 0) Fault(g_mode + 6);
    return Is("close 0") ? 0 : 1;
}
