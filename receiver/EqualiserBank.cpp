#include "receiver/EqualiserBank.hpp"

#include <algorithm>
#include <new>

#include "receiver/responses/ResponseTables.hpp"

namespace {

/// Both orders together must give each level the table that it means.
constexpr bool OrdersAgree()
{
    for (int i = 0; i < EqualiserBank::Responses; ++i)
        if (EqualiserBank::TableOfResponse[EqualiserBank::ResponseOfLevel[i]] != TableOfLevel[i])
            return false;
    return true;
}
static_assert(OrdersAgree());

const ResponseTable& TableOf(int iResponse)
{
    return g_ResponseTables[EqualiserBank::TableOfResponse[iResponse] - 1];
}

}  // namespace

bool EqualiserBank::Setup()
{
    RunEquations();
    bool bOk = CopyTables();
    if (!bOk) return false;
    for (Vantor::TimeResponseFIR& response : EqResponse) {
        response.ResponseType = 0;
        response.TapsOnRequest = TapsOnRequest;
        response.SampleRate = SymbolRate * SamplesPerSymbol;
        bOk &= response.Setup();
    }
    bOk &= EqSelect.Setup(Responses);
    bOk &= EqInputFork.Outputs.Initialize(Responses);
    return bOk;
}

bool EqualiserBank::CopyTables()
{
    size_t iValues = 0;
    for (int k = 0; k < Responses; ++k) iValues += 2 * static_cast<size_t>(TableOf(k).Size);
    m_pdTables.reset(new (std::nothrow) double[iValues]);
    if (!m_pdTables) return false;

    double* pValues = m_pdTables.get();
    for (int k = 0; k < Responses; ++k) {
        const ResponseTable& table = TableOf(k);
        Vantor::TimeResponseFIR& response = EqResponse[k];
        response.NumberOfResponseValues = response.NumberOfTimeStamps = table.Size;
        response.m_pdResponse = pValues;
        pValues = std::copy_n(table.Response, table.Size, pValues);
        response.m_pdTimeStamps = pValues;
        pValues = std::copy_n(table.TimeStamps, table.Size, pValues);
    }
    return true;
}

size_t EqualiserBank::GetMostTaps() const
{
    int iMost = 0;
    for (const Vantor::TimeResponseFIR& response : EqResponse)
        iMost = std::max(iMost, response.NumberOfTaps);
    return static_cast<size_t>(iMost);
}

void EqualiserBank::DeleteArrayParameters()
{
    for (Vantor::TimeResponseFIR& response : EqResponse)
        response.m_pdResponse = response.m_pdTimeStamps = nullptr;
    m_pdTables.reset();
}
