// A model that hands symbols of four levels on, with an ideal clock at their edges, and tells where
// it decides: (PamModel (Swing 0.8) (Halve 9) (Tell "PAM4")). From call number Halve of AMI_GetWave
// on its output and what it tells are half as large. Tell: PAM4 for PAM4_LowerThreshold and its
// kin, LATE for these and eye offsets of a tenth of a unit interval (outer eyes, to either side),
// LIST for PAM_Thresholds, SOME for all but one, and nothing for anything else.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

double g_swing, g_bit, g_interval, g_clock;
long g_halve, g_calls, g_samples;
char g_tell[16];

double Number(const char* text, const char* name)
{
    const char* const found = std::strstr(text, (std::string("(") + name + " ").c_str());
    return found ? std::atof(found + std::strlen(name) + 2) : 0;
}

char* Told(double outer)
{
    static char text[512];
    const auto is = [](const char* what) { return std::strcmp(g_tell, what) == 0; };
    if (is("LIST")) {
        std::sprintf(text, "(PamModel (PAM_Thresholds \"%g 0 %g\"))", -outer, outer);
    } else if (is("PAM4") || is("LATE") || is("SOME")) {
        int size = std::sprintf(text, "(PamModel (PAM4_UpperThreshold %g)", outer);
        if (!is("SOME")) size += std::sprintf(text + size, "(PAM4_CenterThreshold 0)");
        if (is("LATE")) {
            size += std::sprintf(text + size, "(PAM4_UpperEyeOffset %g)(PAM4_LowerEyeOffset %g)",
                                 0.1 * g_bit, -0.1 * g_bit);
        }
        std::sprintf(text + size, "(PAM4_LowerThreshold %g))", -outer);
    } else {
        return nullptr;
    }
    return text;
}

}  // namespace

EXPORT long AMI_Init(double*, long, long, double sampleInterval, double bitTime,
                     const char* parameters, char** out, void** memory, char**)
{
    g_interval = sampleInterval;
    g_bit = bitTime;
    g_swing = Number(parameters, "Swing");
    g_halve = static_cast<long>(Number(parameters, "Halve"));
    if (const char* tell = std::strstr(parameters, "(Tell \""))
        std::sscanf(tell, "(Tell \"%15[^\"]", g_tell);
    *memory = g_tell;
    *out = Told(g_swing / 3);
    return 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char** out, void*)
{
    const double scale = g_halve > 0 && ++g_calls >= g_halve ? 0.5 : 1;
    for (long i = 0; i < size; ++i) wave[i] *= scale;
    *out = Told(scale * g_swing / 3);
    const double end = static_cast<double>(g_samples += size) * g_interval;
    long count = 0;
    for (static long n = 0; g_clock < end; g_clock = g_bit * static_cast<double>(++n))
        clockTimes[count++] = g_clock;
    clockTimes[count] = -1;
    return 1;
}

EXPORT long AMI_Close(void*)
{
    return 1;
}
