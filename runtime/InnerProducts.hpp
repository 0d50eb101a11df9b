#pragma once

#include <cstddef>

namespace Vantor {

/// Outputs of a FIR filter for consecutive samples:
///
///     pOutputs[k] = sum over j < iTaps of pTaps[j] * pNewest[k - j],   k < iOutputs,
///
/// each sum started at 0 and added in the order of j, so that it is the same to the last bit as
/// one output computed alone; only the outputs stand side by side in the vector registers.
/// pNewest points at the sample that belongs to pOutputs[0] and is preceded by iTaps - 1 others.
using InnerProductsFunction = void (*)(const double* pTaps, size_t iTaps, const double* pNewest,
                                       double* pOutputs, size_t iOutputs);

/// The widest variant that this processor runs.
InnerProductsFunction SelectInnerProducts();

/// One variant of the kernel, for tests and benchmarks.
struct InnerProductsVariant
{
    const char* Name;
    InnerProductsFunction Function;
    bool (*IsSupported)();
};

/// Widest first; the last one runs everywhere.
inline constexpr size_t NumberOfInnerProductsVariants = 3;
extern const InnerProductsVariant InnerProductsVariants[NumberOfInnerProductsVariants];

}  // namespace Vantor
