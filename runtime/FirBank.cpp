#include "runtime/FirBank.hpp"

#include <algorithm>
#include <cstring>
#include <new>

namespace Vantor {

bool FirBank::Initialize(size_t iMostTaps)
{
    Finalize();
    m_iHistory = iMostTaps;
    m_pWindow.reset(new (std::nothrow) double[m_iHistory + Slack + Stretch]);
    m_pOutputs.reset(new (std::nothrow) double[Stretch]);
    if (!m_pWindow || !m_pOutputs) return false;
    std::fill_n(m_pWindow.get(), m_iHistory, 0.0);
    m_iNewest = m_iHistory - 1;
    m_iKnown = m_iHistory;
    m_pInnerProducts = SelectInnerProducts();
    return true;
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
    if (m_iKnown + Stretch > m_iHistory + Slack + Stretch) {
        double* const pWindow = m_pWindow.get();
        std::memmove(pWindow, pWindow + m_iKnown - m_iHistory, m_iHistory * sizeof(double));
        m_iNewest = m_iHistory - 1;
        m_iKnown = m_iHistory;
    }
    m_iComputed = 0;
    const size_t iAhead = std::min(m_iAnnounced, Stretch);
    if (iAhead == 0) {
        m_pWindow[m_iKnown++] = dSample;
        return;
    }
    std::memcpy(m_pWindow.get() + m_iKnown, m_pAnnounced, iAhead * sizeof(double));
    m_iKnown += iAhead;
    m_pAnnounced += iAhead;
    m_iAnnounced -= iAhead;
}

double FirBank::Compute(const double* pTaps, size_t iTaps)
{
    m_pComputedTaps = pTaps;
    m_iComputedFrom = m_iNewest;
    m_iComputed = std::min(m_iKnown - m_iNewest, Stretch);
    m_pInnerProducts(pTaps, iTaps, m_pWindow.get() + m_iNewest, m_pOutputs.get(), m_iComputed);
    return m_pOutputs[0];
}

void FirBank::Finalize()
{
    m_pWindow.reset();
    m_pOutputs.reset();
    Announce(nullptr, 0);
    m_pComputedTaps = nullptr;
}

}  // namespace Vantor
