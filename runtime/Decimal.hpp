#pragma once

#include <cstddef>
#include <cstdint>

namespace Vantor {

/// A number not below zero as decimal digits behind a point, 0.d1 d2 d3 ... times 10^Point, long
/// enough for every double; of what lies below the last digit it remembers only whether there is
/// something.
class Decimal
{
public:
    Decimal() = default;

    /// A mantissa times 2^iExponent.
    Decimal(std::uint64_t iMantissa, int iExponent);

    /// Takes a further digit, 0 to 9.
    void Append(unsigned iDigit);

    /// Times 2^iBy; negative numbers divide.
    void Scale(int iBy);

    /// Times 10^iBy.
    void MovePoint(int iBy) { m_iPoint += iBy; }

    /// Keeps this many digits, rounded to the nearest, the even one of two.
    void RoundTo(size_t iDigits);

    /// The whole part, which must be below 2^64; bMore tells whether a fraction is left out.
    std::uint64_t GetWhole(bool& bMore) const;

    bool IsZero() const { return m_iDigits == 0; }
    int GetPoint() const { return m_iPoint; }
    size_t GetSize() const { return m_iDigits; }

    /// The digit behind so many others; zero behind the last one.
    unsigned GetDigit(size_t i) const { return i < m_iDigits ? m_digits[i] : 0; }

private:
    static constexpr size_t Most = 800;       ///< the longest double has 767
    static constexpr int MostShift = 59;      ///< keeps ten times a remainder in 64 bits
    static constexpr size_t MostGrowth = 19;  ///< digits that one shift puts in front

    void Double(int iBy);
    void Halve(int iBy);
    void Put(size_t iAt, unsigned iDigit);
    void Trim();

    unsigned char m_digits[Most + MostGrowth] = {};
    size_t m_iDigits = 0;  ///< neither the first nor the last one is zero
    int m_iPoint = 0;
    bool m_bMore = false;
};

}  // namespace Vantor
