#pragma once

#include <memory>

#include "receiver/ServedBlocks.hpp"
#include "receiver/SymbolTiming.hpp"
#include "receiver/responses/TableOrder.hpp"
#include "runtime/Fork.hpp"
#include "runtime/TimeResponseFIR.hpp"

/// The continuous-time linear equaliser: 32 tabulated responses side by side and a selector that
/// passes the one of the current equalisation level.
class EqualiserBank : public SymbolTiming
{
public:
    static constexpr int Responses = ResponseCount;

    /// The response behind each selector input, that is, behind each equalisation level.
    static constexpr int ResponseOfLevel[Responses] = {8,  22, 28, 4,  7,  27, 14, 6,  9,  24, 30,
                                                       21, 3,  5,  1,  2,  26, 13, 31, 11, 12, 23,
                                                       29, 25, 0,  15, 16, 18, 20, 17, 10, 19};

    /// The number of the table that each response is made from.
    static constexpr int TableOfResponse[Responses] = {29, 28, 24, 20, 16, 12, 8,  4,  3,  25, 21,
                                                       17, 13, 9,  5,  2,  30, 26, 22, 18, 14, 10,
                                                       6,  1,  31, 27, 23, 19, 15, 11, 7,  32};

    Vantor::TimeResponseFIR EqResponse[Responses];
    Selector EqSelect;
    Vantor::Fork<Vantor::DoubleCircularBuffer> EqInputFork;

    /// The owner's word that it asks each response to ProvideTaps before it reads its output.
    bool TapsOnRequest = false;

    bool Setup();

    /// The longest response, in taps.
    size_t GetMostTaps() const;

    /// The response that the selector's control token asks for; null when it asks for none.
    Vantor::TimeResponseFIR* GetSelected()
    {
        const int iLevel = EqSelect.Control[0];
        return iLevel >= 0 && iLevel < Responses ? &EqResponse[ResponseOfLevel[iLevel]] : nullptr;
    }

    /// Frees the responses' copies of their tables.
    void DeleteArrayParameters();

private:
    bool CopyTables();

    std::unique_ptr<double[]> m_pdTables;
};
