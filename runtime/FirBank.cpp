#include "runtime/FirBank.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace Vantor {

namespace {

constexpr size_t iMostLanes = MostInnerProductsLanes;

size_t RoundUp(size_t n)
{
    return (n + iMostLanes - 1) / iMostLanes * iMostLanes;
}

}  // namespace

bool FirBank::Doubles::Allocate(size_t iDoubles)
{
    m_pMemory.reset(static_cast<double*>(std::calloc(iDoubles + iMostLanes, sizeof(double))));
    // calloc aligns to a double at least: the next boundary is a whole number of them away.
    const size_t iAt = reinterpret_cast<std::uintptr_t>(m_pMemory.get()) / sizeof(double);
    m_pAligned = m_pMemory ? m_pMemory.get() + (RoundUp(iAt) - iAt) : nullptr;
    return m_pAligned;
}

void FirBank::Doubles::reset()
{
    m_pMemory.reset();
    m_pAligned = nullptr;
}

bool FirBank::Initialize(size_t iMostTaps, const InnerProductsVariant& kernel)
{
    Finalize();
    m_pKernel = &kernel;
    // Outputs are computed from a register's boundary on, up to a register before the newest.
    m_iHistory = RoundUp(iMostTaps + iMostLanes);
    m_iStride = m_iHistory + Slack + Stretch + 2 * iMostLanes;
    m_iNewest = m_iHistory - 1;
    m_iKnown = m_iHistory;
    m_dLargest = 0.0;
    return m_tail.Initialize(iMostTaps) && m_pWindow.Allocate(kernel.Lanes * m_iStride) &&
           m_pOutputs.Allocate(Stretch + 2 * iMostLanes);
}

void FirBank::Announce(const double* pSamples, size_t iSamples)
{
    // Samples known ahead from an earlier announcement that were never pushed are forgotten.
    m_iKnown = m_iNewest + 1;
    m_iComputed = 0;
    m_pAnnounced = pSamples;
    m_iAnnounced = iSamples;
}

void FirBank::Extend(double dSample)
{
    if (m_iKnown > m_iHistory + Slack) {
        const size_t iMoved = m_iKnown - m_iHistory;
        for (size_t r = 0; r < m_pKernel->Lanes; ++r) {
            double* const pCopy = m_pWindow.get() + r * m_iStride;
            std::memmove(pCopy, pCopy + iMoved, (m_iHistory + iMostLanes) * sizeof(double));
        }
        m_iNewest -= iMoved;
        m_iKnown -= iMoved;
        m_dLargest = GetLargestMagnitude(m_pWindow.get(), m_iKnown, 0.0);
    }
    m_iComputed = 0;
    const size_t iAhead = std::min(m_iAnnounced, Stretch);
    if (iAhead == 0) {
        Append(&dSample, 1);
        return;
    }
    Append(m_pAnnounced, iAhead);
    m_pAnnounced += iAhead;
    m_iAnnounced -= iAhead;
}

void FirBank::Append(const double* pSamples, size_t iSamples)
{
    for (size_t r = 0; r < m_pKernel->Lanes; ++r)
        std::copy_n(pSamples, iSamples, m_pWindow.get() + r * m_iStride + m_iKnown + r);
    m_iKnown += iSamples;
    m_dLargest = GetLargestMagnitude(pSamples, iSamples, m_dLargest);
}

void FirBank::Compute(const double* pTaps, size_t iTaps)
{
    const size_t iLanes = m_pKernel->Lanes;
    m_pComputedTaps = pTaps;
    m_iComputedFrom = m_iNewest / iLanes * iLanes;
    m_iComputed = std::min(m_iKnown, m_iNewest + Stretch);
    const size_t iOutputs = (m_iComputed - m_iComputedFrom + iLanes - 1) / iLanes * iLanes;
    m_tail.SetTaps(pTaps, iTaps);
    for (size_t i = 0; i < iOutputs; i += m_pKernel->Tile)
        ComputeTile(pTaps, m_iComputedFrom + i, m_pOutputs.get() + i,
                    std::min(m_pKernel->Tile, iOutputs - i));
}

void FirBank::ComputeTile(const double* pTaps, size_t iFirst, double* pOutputs, size_t iOutputs)
{
    std::fill_n(pOutputs, iOutputs, 0.0);
    // At first as if the outputs were as large as the samples, then as far as they need.
    size_t iDone = 0, iNeeded = m_tail.GetNeeded(0, m_dLargest, m_dLargest);
    while (iDone < iNeeded) {
        m_pKernel->Function(pTaps + iDone, iNeeded - iDone, m_pWindow.get(), m_iStride,
                            iFirst - iDone, pOutputs, iOutputs);
        iDone = iNeeded;
        iNeeded = m_tail.GetNeeded(iDone, m_dLargest, GetLeastMagnitude(pOutputs, iOutputs));
    }
}

void FirBank::Finalize()
{
    m_pWindow.reset();
    m_pOutputs.reset();
    m_tail.Finalize();
    Announce(nullptr, 0);
    m_pComputedTaps = nullptr;
}

}  // namespace Vantor
