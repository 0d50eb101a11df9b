#pragma once

#include <cstddef>
#include <memory>

namespace Vantor {

/// How far a filter's taps must be added before the rest cannot change a sum any more.
///
/// Adding d to a sum y leaves y as it is where |d| is less than a quarter of y's last place, which
/// for 2^e <= |y| < 2^(e+1) is 2^(e-52). If the largest tap of the rest times the largest sample,
/// rounded, is below that, so is every product, since rounding keeps order, and y stays what it is
/// to the end; likewise where it rounds to zero. A response that decays reaches this point well
/// before its last tap.
class TailBounds
{
public:
    /// Taps are looked at in groups of this many.
    static constexpr size_t Group = 8;

    /// Makes room for filters of iMostTaps taps. False when memory has run out.
    bool Initialize(size_t iMostTaps);

    /// Turns to the filter with these taps; cheap where it is the one before.
    void SetTaps(const double* pTaps, size_t iTaps);

    /// The number of taps, from iFrom (whole groups) on, after which sums of at least dLeast in
    /// magnitude are done, where no sample is larger than dLargest: whole groups, or all taps.
    /// An infinite dLargest means that anything may come.
    size_t GetNeeded(size_t iFrom, double dLargest, double dLeast) const;

    void Finalize();

private:
    std::unique_ptr<double[]> m_pBounds;  ///< largest tap from group i on
    const double* m_pTaps = nullptr;
    size_t m_iTaps = 0;
};

/// The least magnitude among numbers; NaN, which no addition changes, does not count.
double GetLeastMagnitude(const double* pNumbers, size_t iNumbers);

/// The largest magnitude among numbers and dLargest; infinite if one of them is not finite.
double GetLargestMagnitude(const double* pNumbers, size_t iNumbers, double dLargest);

}  // namespace Vantor
