// A receiver that hands its input on and recovers the clock as an ideal loop does: of the first
// order with a corner frequency in Hz ("Corner"), or following no faster than a slope in UI/s
// ("Slope"). With neither its clock stands still.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

struct Loop
{
    double samplesPerBit, interval, bit;
    double pull = 0;  // of the distance, each unit interval: first order
    double step = 0;  // UI each unit interval: slope limited
    double before = 0, sample = 0;
    double seen = 0;   // where the last crossing lay against the even grid, UI
    double phase = 0;  // where the clock lies against it
    double tick = 0;   // number of the next

    void TakeCrossing(double at)
    {
        // From one crossing to the next jitter moves little, however far the clock is behind.
        const double off = at - seen;
        seen += off - std::round(off);
    }
    double Next()
    {
        const double distance = seen - phase;
        phase += pull * distance + std::clamp(distance, -step, step);
        return (tick++ + phase) * bit;
    }
};

double Parameter(const char* parameters, const char* name)
{
    const char* const at = std::strstr(parameters, name);
    double value = 0;
    return at && std::sscanf(at + std::strlen(name), "%lf", &value) == 1 ? value : 0;
}

}  // namespace

/// A decision a tenth of a unit interval early and late in turn, of a clock that follows at all.
EXPORT long AMI_Resolve(double bitTime, const char* parameters, char** out, void** memory, char**)
{
    static char text[64];
    std::snprintf(text, sizeof text, "(clock (Rx_DCD %g))", 0.1 * bitTime);
    *out = text;
    *memory = text;
    return Parameter(parameters, "(Corner ") > 0 ? 1 : 0;
}

EXPORT long AMI_Resolve_Close(void*)
{
    return 1;
}

EXPORT long AMI_Init(double*, long, long, double sampleInterval, double bitTime,
                     const char* parameters, char** out, void** memory, char** message)
{
    static char nothing[] = "";
    auto* const loop = new Loop{bitTime / sampleInterval, sampleInterval, bitTime};
    loop->pull = 1 - std::exp(-2 * std::numbers::pi * Parameter(parameters, "(Corner ") * bitTime);
    loop->step = Parameter(parameters, "(Slope ") * bitTime;
    *out = *message = nothing;
    *memory = loop;
    return 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char**, void* memory)
{
    Loop& loop = *static_cast<Loop*>(memory);
    for (long i = 0; i < size; ++i, loop.sample += 1) {
        if ((wave[i] > 0) != (loop.before > 0)) {
            const double part = wave[i] / (wave[i] - loop.before);
            loop.TakeCrossing((loop.sample - part) / loop.samplesPerBit);
        }
        loop.before = wave[i];
        // A unit interval late, when its crossing has been seen.
        while (loop.tick + loop.phase < loop.sample / loop.samplesPerBit - 1)
            *clockTimes++ = loop.Next();
    }
    *clockTimes = -1;
    return 1;
}

EXPORT long AMI_Close(void* memory)
{
    delete static_cast<Loop*>(memory);
    return 1;
}
