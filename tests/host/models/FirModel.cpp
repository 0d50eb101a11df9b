// A filter of two taps a bit apart, in AMI_GetWave and, where its parameter Impulse is 1, in
// AMI_Init: (FirModel (First 0.8) (Second -0.2) (Impulse 1) (Fold 0)). With Fold, AMI_Init also
// takes that off the response (V/s) two bits after its largest value, for a bit, as one does that
// folds a decision feedback into it. It has no clock. What a file "tables/first.txt" in its folder
// says is the first tap.

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#define EXPORT extern "C" __attribute__((visibility("default")))

namespace {

struct Fir
{
    double first, second;
    std::size_t bit;           // samples
    std::vector<double> past;  // the last bit's
    double bend, later, tell;
    int calls = 0;
    char told[64] = "";
};

double Parameter(const char* text, const std::string& name)
{
    const char* const found = std::strstr(text, ("(" + name + " ").c_str());
    return found ? std::atof(found + name.size() + 2) : 0;
}

/// Each value takes its place among the past ones as the one before it leaves.
void Filter(Fir& fir, double* values, std::size_t size)
{
    for (std::size_t n = 0; n < size; ++n) {
        double& before = fir.past[n % fir.bit];
        const double made = fir.first * values[n] + fir.second * before;
        before = values[n];
        values[n] = made;
    }
    std::rotate(fir.past.begin(), fir.past.begin() + static_cast<std::ptrdiff_t>(size % fir.bit),
                fir.past.end());
}

}  // namespace

EXPORT long AMI_Init(double* impulse, long rows, long aggressors, double sampleInterval,
                     double bitTime, const char* parameters, char**, void** memory, char**)
{
    const auto bit = static_cast<std::size_t>(std::lround(bitTime / sampleInterval));
    auto* const fir = new Fir{Parameter(parameters, "First"),
                              Parameter(parameters, "Second"),
                              bit,
                              std::vector<double>(bit),
                              Parameter(parameters, "Bend"),
                              Parameter(parameters, "Later"),
                              Parameter(parameters, "Tell")};
    *memory = fir;
    if (std::strstr(parameters, "(Aggressors ")) std::printf("handed %ld aggressors\n", aggressors);
    if (std::FILE* const file = std::fopen("tables/first.txt", "r")) {
        if (std::fscanf(file, "%lf", &fir->first) != 1) return 0;
        std::fclose(file);
    }
    const auto size = static_cast<std::size_t>(rows);
    for (long column = 0; column <= aggressors && Parameter(parameters, "Impulse") != 0; ++column) {
        Fir own = *fir;
        Filter(own, impulse + column * rows, size);
    }
    double* const top = std::max_element(impulse, impulse + rows);
    for (std::size_t n = 2 * bit; n < 3 * bit; ++n) top[n] -= Parameter(parameters, "Fold");
    return 1;
}

EXPORT long AMI_Resolve(double bitTime, const char* parameters, char** out, void** memory,
                        char** message)
{
    static char text[256], said[] = "no such buffer";
    const char* const kind = std::strstr(parameters, "(Resolve \"");
    const auto is = [kind](const char* name) { return kind && std::strstr(kind, name); };
    if (is("refuse")) {
        *message = said;
        return 0;
    }
    if (is("abort")) std::abort();
    if (is("hang")) pause();
    std::snprintf(text, sizeof text, "(any (Rx_GaussianNoise %s))", is("word") ? "much" : "1e-3");
    if (!is("word")) {  // in proportion to the bit rate
        std::snprintf(text, sizeof text, "(any (Rx_GaussianNoise %g) (Other 1))", 1e-13 / bitTime);
    }
    if (is("garbage")) std::strcpy(text, "no ( list");
    *out = text;
    *memory = std::malloc(16);
    return 1;
}

EXPORT long AMI_Resolve_Close(void* memory)
{
    std::free(memory);
    return 1;
}

EXPORT long AMI_GetWave(double* wave, long size, double* clockTimes, char** parameters,
                        void* memory)
{
    Fir& fir = *static_cast<Fir*>(memory);
    if (++fir.calls == 9 && fir.later != 0) {
        fir.first = fir.later;
        if (fir.tell != 0) std::snprintf(fir.told, sizeof fir.told, "(rx (First %g))", fir.first);
    }
    *parameters = fir.told;
    Filter(fir, wave, static_cast<std::size_t>(size));
    for (long n = 0; n < size; ++n) wave[n] += fir.bend * wave[n] * wave[n] * wave[n];
    clockTimes[0] = -1;
    return 1;
}

EXPORT long AMI_Close(void* memory)
{
    delete static_cast<Fir*>(memory);
    return 1;
}
