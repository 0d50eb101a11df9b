#include "runtime/Decimal.hpp"

#include <algorithm>

namespace Vantor {

Decimal::Decimal(std::uint64_t iMantissa, int iExponent)
{
    std::uint64_t iPower = 1;
    while (iMantissa / iPower >= 10) iPower *= 10;
    for (; iMantissa > 0 && iPower > 0; iPower /= 10) {
        Append(static_cast<unsigned>(iMantissa / iPower % 10));
        ++m_iPoint;
    }
    Trim();
    Scale(iExponent);
}

void Decimal::Append(unsigned iDigit)
{
    if (m_iDigits == 0 && iDigit == 0) {
        --m_iPoint;
        return;
    }
    if (m_iDigits < Most)
        m_digits[m_iDigits++] = static_cast<unsigned char>(iDigit);
    else
        m_bMore |= iDigit != 0;
}

void Decimal::Scale(int iBy)
{
    for (; iBy > 0; iBy -= std::min(iBy, MostShift)) Double(std::min(iBy, MostShift));
    for (; iBy < 0; iBy += std::min(-iBy, MostShift)) Halve(std::min(-iBy, MostShift));
}

void Decimal::Put(size_t iAt, unsigned iDigit)
{
    if (iAt < Most + MostGrowth)
        m_digits[iAt] = static_cast<unsigned char>(iDigit);
    else
        m_bMore |= iDigit != 0;
}

/// Multiplies from the last digit to the first, into the places where the product may reach to.
void Decimal::Double(int iBy)
{
    std::uint64_t iCarry = 0;
    for (size_t i = m_iDigits; i-- > 0;) {
        iCarry += std::uint64_t{m_digits[i]} << iBy;
        Put(i + MostGrowth, static_cast<unsigned>(iCarry % 10));
        iCarry /= 10;
    }
    for (size_t i = MostGrowth; i-- > 0; iCarry /= 10) Put(i, static_cast<unsigned>(iCarry % 10));
    m_iDigits += MostGrowth;
    m_iPoint += static_cast<int>(MostGrowth);
    Trim();
}

/// Divides as on paper, from the first digit to the last and on until nothing remains.
void Decimal::Halve(int iBy)
{
    const std::uint64_t iMask = (std::uint64_t{1} << iBy) - 1;
    std::uint64_t iRest = 0;
    size_t iTo = 0, iFrom = 0;
    while (iFrom < m_iDigits || iRest > 0) {
        iRest = iRest * 10 + GetDigit(iFrom++);
        const auto iDigit = static_cast<unsigned>(iRest >> iBy);
        iRest &= iMask;
        if (iTo == 0 && iDigit == 0)
            --m_iPoint;
        else
            Put(iTo++, iDigit);
    }
    m_iDigits = std::min(iTo, Most + MostGrowth);
    Trim();
}

/// Takes zeros off both ends, and digits beyond the room there is between two operations.
void Decimal::Trim()
{
    unsigned char* const pEnd = m_digits + m_iDigits;
    unsigned char* const pFirst =
        std::find_if(m_digits, pEnd, [](unsigned char c) { return c != 0; });
    m_iPoint -= static_cast<int>(pFirst - m_digits);
    std::copy(pFirst, pEnd, m_digits);
    m_iDigits = static_cast<size_t>(pEnd - pFirst);
    for (; m_iDigits > Most; --m_iDigits) m_bMore |= m_digits[m_iDigits - 1] != 0;
    while (m_iDigits > 0 && m_digits[m_iDigits - 1] == 0) --m_iDigits;
    if (m_iDigits == 0) m_iPoint = 0;
}

void Decimal::RoundTo(size_t iDigits)
{
    if (iDigits >= m_iDigits) return;
    const bool bTie = m_digits[iDigits] == 5 && iDigits + 1 == m_iDigits && !m_bMore;
    const bool bUp = bTie ? iDigits > 0 && m_digits[iDigits - 1] % 2 != 0 : m_digits[iDigits] >= 5;
    m_iDigits = iDigits;
    m_bMore = false;
    if (bUp) {
        while (m_iDigits > 0 && m_digits[m_iDigits - 1] == 9) --m_iDigits;
        if (m_iDigits == 0) {
            m_digits[m_iDigits++] = 1;
            ++m_iPoint;
        } else {
            ++m_digits[m_iDigits - 1];
        }
    }
    Trim();
}

std::uint64_t Decimal::GetWhole(bool& bMore) const
{
    std::uint64_t iWhole = 0;
    size_t i = 0;
    for (; static_cast<int>(i) < m_iPoint; ++i) iWhole = iWhole * 10 + GetDigit(i);
    bMore = i < m_iDigits || m_bMore;
    return iWhole;
}

}  // namespace Vantor
