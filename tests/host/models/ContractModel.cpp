// A receiver that keeps the whole contract: a gain, a filter of one pole, an ideal clock and one
// output parameter. The environment variable CONTRACT_FAULT names one fault for it to have instead;
// tests/host/ContractTest.cpp lists what each breaks.

#include <unistd.h>
#include <xmmintrin.h>

#include <cfenv>
#include <clocale>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

struct Receiver
{
    double gain = 2, interval = 0, bit = 0, state = 0, clock = 0;
    long samples = 0, clocks = 0;
    bool failed = false;
    char message[32] = "ready", outputs[64] = "";
};

double g_carried = 0;  // what a faulty Close leaves to the next Init
double g_shared = 0;   // the state of all instances at once

bool Is(const char* fault)
{
    static const char* const name = std::getenv("CONTRACT_FAULT");
    return name && std::strcmp(name, fault) == 0;
}

bool StartsWith(const char* text, const char* begin)
{
    return std::strncmp(text, begin, std::strlen(begin)) == 0;
}

/// The value of (Gain 3), as any host may write it.
double ReadGain(const char* text, double otherwise)
{
    const char* at = std::strstr(text, "(Gain");
    if (!at) return otherwise;
    at += 5;
    if (Is("white-space") && std::strpbrk(text, "\t\r\n")) return otherwise;
    if (Is("unknown") && std::strstr(text, "(Unknown_Branch")) return otherwise;
    at += std::strspn(at, Is("quoted") ? " \t\r\n" : " \t\r\n\"");
    char* end = nullptr;
    const double gain = std::strtod(at, &end);
    if (end == at || (Is("decimal") && std::memchr(at, '.', static_cast<size_t>(end - at))))
        return otherwise;
    return gain;
}

void FaultsOfString(const char* text)
{
    if (Is("empty") && *text == '\0') std::abort();
    if (Is("garbage") && *text != '\0' && !StartsWith(text, "(Contract")) std::abort();
    if (Is("missing") && std::strcmp(text, "(Contract)") == 0) std::abort();
    if (Is("string")) const_cast<char*>(text)[std::strlen(text) - 1] = ' ';
    if (Is("string end")) const_cast<char*>(text)[std::strlen(text) + 1] = ' ';
}

void FaultsOfImpulse(double* impulse, long values)
{
    if (Is("impulse touched")) impulse[0] = impulse[0] * 0.5 + 1;
    if (Is("impulse overrun")) impulse[values] = 0;
    if (Is("impulse underrun")) impulse[-1] = 0;
}

void FaultsOfSurroundings(const char* call)
{
    const auto is = [call](const char* fault, const char* where) {
        return Is(fault) && std::strcmp(call, where) == 0;
    };
    if (is("folder", "load") && chdir("/") != 0) std::abort();
    if (is("locale", "AMI_GetWave")) std::setlocale(LC_ALL, "C.UTF-8");
    if (is("signal", "AMI_Close")) std::signal(SIGINT, SIG_IGN);
    if (is("rounding", "AMI_Init")) std::fesetround(FE_UPWARD);
    if (is("flush", "AMI_GetWave")) _mm_setcsr(_mm_getcsr() | 0x8000);
    if (is("denormals", "AMI_GetWave")) _mm_setcsr(_mm_getcsr() | 0x0040);
    if (is("mask", "AMI_Init")) {
        sigset_t all;
        sigfillset(&all);
        sigprocmask(SIG_BLOCK, &all, nullptr);
    }
}

__attribute__((constructor)) void Load()
{
    if (Is("load")) std::abort();
    FaultsOfSurroundings("load");
}

struct Last
{
    ~Last()
    {
        if (Is("destructor")) std::abort();
    }
} g_last;

void WriteOutputs(Receiver& receiver, char** parametersOut)
{
    const char* const format = Is("no tree")      ? "(Contract (Level %.1f"
                               : Is("wrong root") ? "(Contrac (Level %.1f))"
                               : Is("surplus")    ? "(Contract (Level %.1f) (Depth 1))"
                               : Is("no output")  ? "(Contract)"
                                                  : "(Contract (Level %.1f))";
    std::snprintf(receiver.outputs, sizeof receiver.outputs, format, receiver.gain);
    *parametersOut = receiver.outputs;
}

/// Room for clock times as hosts give it, without the terminator.
long MostClocks(const Receiver& receiver, long size)
{
    return static_cast<long>(
               std::ceil(static_cast<double>(size) * receiver.interval / receiver.bit)) +
           1;
}

double ClockTime(const Receiver& receiver, long n)
{
    const double rate = Is("clock rate") ? 1.02 : 1;
    if (Is("clock nan") && n == 100) return NAN;
    if (Is("clock falls") && n == 100) return 98.5 * receiver.bit;
    return (static_cast<double>(n) + 0.25) * rate * receiver.bit;
}

void WriteClocks(Receiver& receiver, long size, double* times)
{
    const double begin = static_cast<double>(receiver.samples) * receiver.interval;
    const double end = static_cast<double>(receiver.samples + size) * receiver.interval;
    long count = 0;
    for (; (static_cast<double>(receiver.clocks) + 0.25) * receiver.bit < end; ++receiver.clocks) {
        if (Is("clock lost") && count == 0 && size < 64) continue;
        times[count++] = ClockTime(receiver, receiver.clocks) - (Is("clock restarts") ? begin : 0);
    }
    const long most = MostClocks(receiver, size);
    if (Is("clock count") && size == 2131) {
        for (; count <= most; ++count) times[count] = times[count - 1] + 1e-15;
        return;
    }
    if (!Is("no terminator")) times[count] = Is("wrong terminator") ? -2 : -1;
    if (Is("clock overrun")) times[most + 1] = 0;
    if (Is("clock underrun")) times[-1] = 0;
}

}  // namespace

EXPORT long AMI_Init(double* impulse, long rows, long aggressors, double sampleInterval,
                     double bitTime, const char* parameters, char** parametersOut, void** memory,
                     char** message)
{
    FaultsOfSurroundings("AMI_Init");
    auto* receiver = new Receiver;
    *memory = receiver;
    *message = Is("bad message") ? reinterpret_cast<char*>(16) : receiver->message;
    receiver->gain = ReadGain(parameters, receiver->gain);
    receiver->interval = sampleInterval;
    receiver->bit = bitTime;
    receiver->state = g_carried;
    g_shared = 0;
    FaultsOfString(parameters);
    FaultsOfImpulse(impulse, rows * (aggressors + 1));
    if (Is("leak per instance") && !std::malloc(5000)) return 0;
    WriteOutputs(*receiver, parametersOut);
    receiver->failed = !(bitTime > sampleInterval);
    const bool refused = Is("init 0") || (Is("rows") && rows == 2) ||
                         (Is("aggressors") && aggressors == 2) ||
                         (Is("samples per bit") && std::lround(bitTime / sampleInterval) == 12);
    if (refused) std::strcpy(receiver->message, "refused");
    return refused || receiver->failed ? 0 : 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char** parametersOut,
                        void* memory)
{
    Receiver& receiver = *static_cast<Receiver*>(memory);
    FaultsOfSurroundings("AMI_GetWave");
    if (Is("wave 0")) return 0;
    if (Is("hang")) {
        for (;;) pause();
    }
    if (Is("far overrun")) wave[size + 40000] = 0;
    if (Is("leak per block") && !std::malloc(1000)) return 0;
    if (Is("block edge")) receiver.state = 0;
    double& state = Is("shared") ? g_shared : receiver.state;
    for (long i = 0; i < size; ++i) wave[i] = state = receiver.gain * wave[i] + 0.5 * state;
    static const double random = static_cast<double>(std::time(nullptr) % 1000);
    if (Is("random") && receiver.samples == 0) wave[0] += 1e-3 * random;
    if (Is("nan") && receiver.samples > 45000) wave[0] = NAN;
    if (Is("range end") && std::lround(receiver.gain) == 1) wave[0] = NAN;
    if (Is("wave overrun")) wave[size] = 0;
    if (Is("wave underrun")) wave[-1] = 0;
    if (!Is("no clock")) WriteClocks(receiver, size, clockTimes);
    receiver.samples += size;
    WriteOutputs(receiver, parametersOut);
    return 1;
}

EXPORT long AMI_Close(void* memory)
{
    const auto* const receiver = static_cast<Receiver*>(memory);
    FaultsOfSurroundings("AMI_Close");
    if (Is("failed close") && receiver->failed) std::abort();
    if (Is("carried over") && receiver->samples > 15000) g_carried = receiver->state;
    delete receiver;
    return Is("close 0") ? 0 : 1;
}
