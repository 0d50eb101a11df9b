#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <span>

#include "runtime/InnerProducts.hpp"
#include "runtime/TailBounds.hpp"

namespace Vantor {

/// Answers for a bank of FIR filters that share one input and of which one at a time is read: one
/// history for all, and an inner product for the filter that is read only. Where the samples to
/// come are known, their outputs are computed ahead, many side by side; another filter being read
/// discards what was computed ahead for the last one.
class FirBank
{
public:
    /// Starts from a history of zeros, long enough for filters of iMostTaps taps. False when memory
    /// has run out.
    bool Initialize(size_t iMostTaps, const InnerProductsVariant& kernel);

    /// Tells which samples the next calls of Push will bring; replaces what was told before. The
    /// samples are copied a stretch at a time, the stretch that holds a sample before that sample
    /// is pushed; those already pushed may be overwritten.
    void Announce(const double* pSamples, size_t iSamples);

    /// Takes the next input sample.
    void Push(double dSample)
    {
        if (m_iNewest + 1 == m_iKnown) Extend(dSample);
        ++m_iNewest;
    }

    /// The output, at the newest sample, of the filter with these taps (at most iMostTaps). A
    /// filter is known by where its taps stand: they must not change while it is in use.
    double Output(const double* pTaps, size_t iTaps)
    {
        if (pTaps != m_pComputedTaps || m_iNewest >= m_iComputed) Compute(pTaps, iTaps);
        return m_pOutputs.get()[m_iNewest - m_iComputedFrom];
    }

    /// The outputs of this filter that are computed already, those of the samples to come.
    std::span<const double> GetAhead(const double* pTaps) const
    {
        if (pTaps != m_pComputedTaps || m_iNewest >= m_iComputed) return {};
        return {m_pOutputs.get() + (m_iNewest + 1 - m_iComputedFrom), m_iComputed - m_iNewest - 1};
    }

    /// Takes this many of the samples that GetAhead has given outputs for.
    void Skip(size_t iSamples) { m_iNewest += iSamples; }

    void Finalize();

private:
    static constexpr size_t Stretch = 1024;  ///< most samples known, and outputs computed, ahead
    static constexpr size_t Slack = 3072;    ///< samples taken in before the window is moved back

    /// An array aligned to the widest register.
    class Doubles
    {
    public:
        /// All zero, and not touched: what stays zero of a very long history costs no memory. False
        /// when memory has run out.
        bool Allocate(size_t iDoubles);
        double* get() const { return m_pAligned; }
        void reset();

    private:
        struct Freed
        {
            void operator()(double* pMemory) const { std::free(pMemory); }
        };
        std::unique_ptr<double[], Freed> m_pMemory;
        double* m_pAligned = nullptr;
    };

    void Extend(double dSample);
    void Append(const double* pSamples, size_t iSamples);
    void Compute(const double* pTaps, size_t iTaps);
    void ComputeTile(const double* pTaps, size_t iFirst, double* pOutputs, size_t iOutputs);

    const InnerProductsVariant* m_pKernel = nullptr;
    Doubles m_pWindow;      ///< history, newest sample and samples known ahead, a copy per lane
    Doubles m_pOutputs;     ///< outputs computed ahead
    size_t m_iStride = 0;   ///< from copy to copy
    size_t m_iHistory = 0;  ///< samples that must stay before the newest
    size_t m_iNewest = 0;   ///< where in the window the newest sample stands
    size_t m_iKnown = 0;    ///< where the known samples end
    const double* m_pAnnounced = nullptr;  ///< samples announced and not yet copied
    size_t m_iAnnounced = 0;
    const double* m_pComputedTaps = nullptr;
    size_t m_iComputedFrom = 0;
    size_t m_iComputed = 0;  ///< where in the window the computed outputs end
    TailBounds m_tail;
    double m_dLargest =
        0.0;  ///< no sample in the window is larger; infinite where one is not finite
};

}  // namespace Vantor
