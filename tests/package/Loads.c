/* Loads a model as a simulator does, runs data through it while it adapts, and prints a hash of all
   that came back and of both logs: Loads LIBRARY. To be built and run on systems of any age. */

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>

enum { SamplesPerBit = 32, Bits = 6000, Block = 4096 };

static unsigned long hash = 14695981039346656037u;

static void Mix(const void* data, size_t bytes)
{
    const unsigned char* p = data;
    while (bytes-- > 0) hash = (hash ^ *p++) * 1099511628211u;
}

static void* Need(void* pointer)
{
    if (pointer) return pointer;
    fprintf(stderr, "%s\n", dlerror());
    exit(1);
}

int main(int argc, char** argv)
{
    typedef long Init(double*, long, long, double, double, char*, char**, void**, char**);
    typedef long GetWave(double*, long, double*, char**, void*);
    typedef long Close(void*);
    static double wave[Block], clocks[Block];
    char parameters[] = "(Retimer_RX_RT (RX_Config 2)(Factor 1)(VCO_Sensitivity 8.5e8)"
                        "(EQ_Level 0)(CTLEAdapt 1)(EOMNbits 200))";
    const double ui = 96.96e-12;
    double level = 0.4, y = 0, phase = 0;
    unsigned shift = 0x5a5a;
    void *library, *model;
    char* message = 0;
    long i, n = 0;

    library = Need(dlopen(argc > 1 ? argv[1] : "", RTLD_NOW | RTLD_LOCAL));
    if (((Init*)Need(dlsym(library, "AMI_Init")))(0, 0, 0, ui / SamplesPerBit, ui, parameters, 0, &model, &message) != 1)
        return 1;
    for (; n < (long)Bits * SamplesPerBit; n += Block) {
        for (i = 0; i < Block; ++i) {
            phase += 1.0002 / SamplesPerBit;
            if (phase >= 1) {
                phase -= 1;
                shift = (shift >> 1) | (((shift ^ (shift >> 1)) & 1) << 14);
                level = shift & 1 ? 0.4 : -0.4;
            }
            wave[i] = y += 0.11 * (level - y);
        }
        if (((GetWave*)Need(dlsym(library, "AMI_GetWave")))(wave, Block, clocks, 0, model) != 1) return 1;
        Mix(wave, sizeof wave);
        for (i = 0; clocks[i] != -1; ++i) Mix(&clocks[i], sizeof *clocks);
    }
    if (((Close*)Need(dlsym(library, "AMI_Close")))(model) != 1) return 1;
    for (i = 0; i < 2; ++i) {
        FILE* log = Need(fopen(i ? "Adapt.txt" : "EOM.txt", "r"));
        int c;
        while ((c = getc(log)) != EOF) Mix(&c, 1);
        fclose(log);
    }
    printf("%016lx\n", hash);
    return dlclose(library);
}
