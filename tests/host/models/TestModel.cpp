// A model that hands its input on, with an ideal clock half a bit before the bits' centres. Its
// parameter Mode picks a fault instead, or another output; see the tests for the list.

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

char g_mode[32] = "";
double g_interval, g_bit, g_clock;
long g_calls, g_samples;

bool Is(const char* mode)
{
    return std::strcmp(g_mode, mode) == 0;
}

}  // namespace

EXPORT long AMI_Init(double*, long, long, double sampleInterval, double bitTime,
                     const char* parameters, char**, void** memory, char** message)
{
    if (const char* mode = std::strstr(parameters, "(Mode \""))
        std::sscanf(mode, "(Mode \"%31[^\"]", g_mode);
    static char text[] = "hello from the model";
    *message = text;
    *memory = g_mode;
    g_interval = sampleInterval;
    g_bit = bitTime;
    if (Is("init abort")) {
        std::fprintf(stderr, "assertion that failed: a > b\n");
        std::abort();
    }
    return Is("init 0") ? 0 : 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char**, void*)
{
    ++g_calls;
    if (g_calls == 3) {
        if (Is("abort")) {
            std::printf("printed before\n");
            std::fprintf(stderr, "assertion that failed: c < d\n");
            std::abort();
        }
        if (Is("segv")) {
            std::signal(SIGSEGV, SIG_DFL);  // a sanitizer's handler would print a report
            std::raise(SIGSEGV);
        }
        if (Is("exit")) std::exit(3);
        if (Is("hang")) {
            for (;;) pause();
        }
        if (Is("wave 0")) return 0;
        if (Is("nan")) wave[5] = std::numeric_limits<double>::quiet_NaN();
    }
    if (Is("chatter")) {
        for (int i = 0; i < 3000; ++i)
            std::printf("line %d of a model that talks too much, and then some\n", i);
    }
    const double end = static_cast<double>(g_samples += size) * g_interval;
    // "drop": a list that is short of every 50th clock; "fast": a clock at another rate, which
    // slips.
    const double step = Is("fast") ? g_bit * 0.9995 : g_bit;
    long count = 0;
    for (static long n = 0; g_clock < end; ++n, g_clock = step * static_cast<double>(n)) {
        if (Is("drop") && n % 50 == 49) continue;
        clockTimes[count++] = g_clock;
    }
    if (Is("overrun")) {
        for (long i = 0; i < 2 * size / 64 + 100; ++i) clockTimes[i] = 0;
    }
    if (!Is("no terminator") && !Is("overrun")) clockTimes[count] = -1;
    for (long i = 0; i < size; ++i) {
        if (Is("invert")) wave[i] = -wave[i];
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
    if (Is("close abort")) {
        std::fprintf(stderr, "assertion that failed: e == f\n");
        std::abort();
    }
    return Is("close 0") ? 0 : 1;
}
