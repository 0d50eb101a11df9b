// Built once per instruction set, with KERNEL_NAME, KERNEL_LANES and KERNEL_REGISTERS, so that
// vectors are as wide as the registers. It includes nothing that has code: no function built for a
// newer processor can stand in for a common one.

#include <cstddef>

namespace Vantor {

namespace {

using Lanes [[gnu::vector_size(KERNEL_LANES * sizeof(double)), gnu::may_alias]] = double;

/// Registers registers full of outputs side by side.
template <size_t Registers>
[[gnu::always_inline]] inline void SideBySide(const double* pTaps, size_t iTaps,
                                              const double* pSamples, size_t iStride,
                                              double* pOutputs)
{
    Lanes sums[Registers];
    for (size_t k = 0; k < Registers; ++k) sums[k] = reinterpret_cast<Lanes*>(pOutputs)[k];
    for (size_t j = 0; j < iTaps; j += KERNEL_LANES) {
        const size_t iRest = iTaps - j < KERNEL_LANES ? iTaps - j : KERNEL_LANES;
        for (size_t r = 0; r < iRest; ++r) {
            const auto* x = reinterpret_cast<const Lanes*>(pSamples + r * iStride - j);
            const double dTap = pTaps[j + r];
#pragma GCC unroll 16
            for (size_t k = 0; k < Registers; ++k) sums[k] += dTap * x[k];
        }
    }
    for (size_t k = 0; k < Registers; ++k) reinterpret_cast<Lanes*>(pOutputs)[k] = sums[k];
}

/// As often as Registers registers fill; then the rest, half as many at a time.
template <size_t Registers>
[[gnu::always_inline]] inline void AllOutputs(const double* pTaps, size_t iTaps,
                                              const double* pSamples, size_t iStride,
                                              double* pOutputs, size_t iOutputs)
{
    constexpr size_t iStep = Registers * KERNEL_LANES;
    while (iOutputs >= iStep) {
        SideBySide<Registers>(pTaps, iTaps, pSamples, iStride, pOutputs);
        pSamples += iStep;
        pOutputs += iStep;
        iOutputs -= iStep;
    }
    if constexpr (Registers > 1)
        AllOutputs<Registers / 2>(pTaps, iTaps, pSamples, iStride, pOutputs, iOutputs);
}

}  // namespace

void KERNEL_NAME(const double* pTaps, size_t iTaps, const double* pSamples, size_t iStride,
                 size_t iFirst, double* pOutputs, size_t iOutputs);

void KERNEL_NAME(const double* pTaps, size_t iTaps, const double* pSamples, size_t iStride,
                 size_t iFirst, double* pOutputs, size_t iOutputs)
{
    // Half the registers there are: the other half is for the products.
    AllOutputs<KERNEL_REGISTERS>(pTaps, iTaps, pSamples + iFirst, iStride, pOutputs, iOutputs);
}

}  // namespace Vantor
