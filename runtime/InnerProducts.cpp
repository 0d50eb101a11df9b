#include "runtime/InnerProducts.hpp"

namespace Vantor {

#define DECLARE_KERNEL(name)                                                             \
    void name(const double* pTaps, size_t iTaps, const double* pSamples, size_t iStride, \
              size_t iFirst, double* pOutputs, size_t iOutputs)
DECLARE_KERNEL(InnerProductsBaseline);
#ifdef __x86_64__
DECLARE_KERNEL(InnerProductsAvx512);
DECLARE_KERNEL(InnerProductsAvx2);
#endif
#undef DECLARE_KERNEL

namespace {

bool Always()
{
    return true;
}

}  // namespace

#ifdef __x86_64__

namespace {

// All that the compiler may use when it builds for x86-64-v4 and x86-64-v3.
bool HasAvx2()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
}

bool HasAvx512()
{
    return HasAvx2() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}

}  // namespace

const InnerProductsVariant InnerProductsVariants[NumberOfInnerProductsVariants] = {
    {"AVX-512", 8, 128, InnerProductsAvx512, HasAvx512},
    {"AVX2", 4, 32, InnerProductsAvx2, HasAvx2},
    {"x86-64", 2, 16, InnerProductsBaseline, Always},
};

const InnerProductsVariant& SelectInnerProducts()
{
    __builtin_cpu_init();
    const InnerProductsVariant* variant = InnerProductsVariants;
    while (!variant->IsSupported()) ++variant;
    // Where 512 bits go through the processor in two halves they gain nothing, and the smaller
    // tile's sums are done sooner.
    if (variant->Lanes == 8 && __builtin_cpu_is("amdfam19h")) ++variant;
    return *variant;
}

#else

const InnerProductsVariant InnerProductsVariants[NumberOfInnerProductsVariants] = {
    {"NEON", 2, 32, InnerProductsBaseline, Always},
};

const InnerProductsVariant& SelectInnerProducts()
{
    return InnerProductsVariants[0];
}

#endif

}  // namespace Vantor
