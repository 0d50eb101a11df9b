#pragma once

#include <cstddef>

namespace Vantor {

/// Outputs of a FIR filter for consecutive samples:
///
///     pOutputs[k] += sum over j < iTaps of pTaps[j] * x[iFirst + k - j],   k < iOutputs,
///
/// each product added to pOutputs[k] in the order of j, so that it is the same to the last bit as
/// one output computed alone: only the outputs stand side by side in the lanes of vector registers.
///
/// The samples come in as many copies as a register has lanes. Copy r is moved by r samples,
/// pSamples[r * iStride + i] = x[i - r], so that whatever the tap one of them holds the samples it
/// meets on a register's boundary: a load that straddles two cache lines costs twice.
///
/// pSamples and pOutputs are aligned to a register; iStride, iFirst and iOutputs are multiples of
/// its lanes.
using InnerProductsFunction = void (*)(const double* pTaps, size_t iTaps, const double* pSamples,
                                       size_t iStride, size_t iFirst, double* pOutputs,
                                       size_t iOutputs);

/// One build of the kernel.
struct InnerProductsVariant
{
    const char* Name;
    size_t Lanes;
    size_t Tile;  ///< outputs that it works on at a time, where there are enough
    InnerProductsFunction Function;
    bool (*IsSupported)();
};

/// Widest first; the last one runs everywhere.
#ifdef __x86_64__
inline constexpr size_t NumberOfInnerProductsVariants = 3;
#else
inline constexpr size_t NumberOfInnerProductsVariants = 1;
#endif
inline constexpr size_t MostInnerProductsLanes = 8;
extern const InnerProductsVariant InnerProductsVariants[NumberOfInnerProductsVariants];

/// The fastest variant that this processor runs: the widest, with one exception.
const InnerProductsVariant& SelectInnerProducts();

}  // namespace Vantor
