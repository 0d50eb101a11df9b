#include "runtime/InnerProducts.hpp"

namespace Vantor {

namespace {

// The compiler turns the loop over k into vectors; instantiated once per instruction set.
template <size_t Side>
[[gnu::always_inline]] inline void SideBySide(const double* pTaps, size_t iTaps,
                                              const double* pNewest, double* pOutputs)
{
    double sums[Side] = {};
    for (size_t j = 0; j < iTaps; ++j)
        for (size_t k = 0; k < Side; ++k) sums[k] += pTaps[j] * *(pNewest + k - j);
    for (size_t k = 0; k < Side; ++k) pOutputs[k] = sums[k];
}

[[gnu::always_inline]] inline void AllOutputs(const double* pTaps, size_t iTaps,
                                              const double* pNewest, double* pOutputs,
                                              size_t iOutputs)
{
    size_t k = 0;
    for (; k + 32 <= iOutputs; k += 32) SideBySide<32>(pTaps, iTaps, pNewest + k, pOutputs + k);
    for (; k + 8 <= iOutputs; k += 8) SideBySide<8>(pTaps, iTaps, pNewest + k, pOutputs + k);
    for (; k < iOutputs; ++k) SideBySide<1>(pTaps, iTaps, pNewest + k, pOutputs + k);
}

[[gnu::target("arch=x86-64-v4,prefer-vector-width=512")]] void Avx512(
    const double* pTaps, size_t iTaps, const double* pNewest, double* pOutputs, size_t iOutputs)
{
    AllOutputs(pTaps, iTaps, pNewest, pOutputs, iOutputs);
}

[[gnu::target("arch=x86-64-v3")]] void Avx2(const double* pTaps, size_t iTaps,
                                            const double* pNewest, double* pOutputs,
                                            size_t iOutputs)
{
    AllOutputs(pTaps, iTaps, pNewest, pOutputs, iOutputs);
}

void Baseline(const double* pTaps, size_t iTaps, const double* pNewest, double* pOutputs,
              size_t iOutputs)
{
    AllOutputs(pTaps, iTaps, pNewest, pOutputs, iOutputs);
}

bool HasAvx512()
{
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx2");
}

bool HasAvx2()
{
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") &&
           __builtin_cpu_supports("bmi2") && __builtin_cpu_supports("fma");
}

bool Always()
{
    return true;
}

}  // namespace

const InnerProductsVariant InnerProductsVariants[NumberOfInnerProductsVariants] = {
    {"AVX-512", Avx512, HasAvx512}, {"AVX2", Avx2, HasAvx2}, {"x86-64", Baseline, Always}};

InnerProductsFunction SelectInnerProducts()
{
    __builtin_cpu_init();
    for (const InnerProductsVariant& variant : InnerProductsVariants)
        if (variant.IsSupported()) return variant.Function;
    return Baseline;
}

}  // namespace Vantor
