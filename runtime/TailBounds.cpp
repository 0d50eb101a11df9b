#include "runtime/TailBounds.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <new>

namespace Vantor {

bool TailBounds::Initialize(size_t iMostTaps)
{
    Finalize();
    m_pBounds.reset(new (std::nothrow) double[iMostTaps / Group + 1]);
    return m_pBounds != nullptr;
}

void TailBounds::SetTaps(const double* pTaps, size_t iTaps)
{
    if (pTaps == m_pTaps) return;
    m_pTaps = pTaps;
    m_iTaps = iTaps;
    double dLargest = 0.0;
    for (size_t iEnd = iTaps; iEnd > 0;) {
        const size_t iGroup = (iEnd - 1) / Group, iStart = iGroup * Group;
        dLargest = GetLargestMagnitude(pTaps + iStart, iEnd - iStart, dLargest);
        m_pBounds[iGroup] = dLargest;
        iEnd = iStart;
    }
}

size_t TailBounds::GetNeeded(size_t iFrom, double dLargest, double dLeast) const
{
    constexpr std::uint64_t iExponent = 0x7ff0000000000000;
    const auto dPower = std::bit_cast<double>(std::bit_cast<std::uint64_t>(dLeast) & iExponent);
    const double dQuarter = dPower * 0x1p-54;
    const double* const pBounds = m_pBounds.get();
    const double* const pEnd = pBounds + (m_iTaps + Group - 1) / Group;
    const double* const pFirst = std::partition_point(pBounds + iFrom / Group, pEnd, [&](double d) {
        const double dProduct = d * dLargest;
        return !(dProduct < dQuarter || dProduct == 0.0);
    });
    return std::min(static_cast<size_t>(pFirst - pBounds) * Group, m_iTaps);
}

void TailBounds::Finalize()
{
    m_pBounds.reset();
    m_pTaps = nullptr;
    m_iTaps = 0;
}

double GetLeastMagnitude(const double* pNumbers, size_t iNumbers)
{
    // Pairs: a register's worth on any processor.
    double dLeast = HUGE_VAL, dOther = HUGE_VAL;
    for (size_t i = 0; i < iNumbers / 2 * 2; i += 2) {
        const double dFirst = std::fabs(pNumbers[i]), dSecond = std::fabs(pNumbers[i + 1]);
        dLeast = dFirst < dLeast ? dFirst : dLeast;
        dOther = dSecond < dOther ? dSecond : dOther;
    }
    if (iNumbers % 2 != 0) dLeast = std::fmin(dLeast, std::fabs(pNumbers[iNumbers - 1]));
    return std::min(dLeast, dOther);
}

double GetLargestMagnitude(const double* pNumbers, size_t iNumbers, double dLargest)
{
    for (size_t i = 0; i < iNumbers; ++i) {
        const double dNumber = std::fabs(pNumbers[i]);
        if (!(dNumber <= dLargest)) dLargest = std::isfinite(dNumber) ? dNumber : HUGE_VAL;
    }
    return dLargest;
}

}  // namespace Vantor
