#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

namespace Mathematics {

// 64-bit machines multiply two words into this.
__extension__ using TwoWords = unsigned __int128;

/// A number from 0 to 1, in units of 2^-192. Sums, differences and shifts are taken modulo 1; what
/// lies below the last place is cut off. Whole numbers only: the same bits on every processor, in
/// every rounding mode, with and without fused operations.
struct Fraction
{
    static constexpr std::size_t Size = 3;
    static constexpr int Bits = 64 * Size;

    std::uint64_t Words[Size] = {};  ///< the lowest first

    constexpr bool operator==(const Fraction&) const = default;

    /// Zeros in front of the first one; Bits for zero.
    constexpr int GetLeadingZeros() const
    {
        int iZeros = 0;
        for (std::size_t i = Size; i-- > 0;) {
            if (Words[i] != 0) return iZeros + std::countl_zero(Words[i]);
            iZeros += 64;
        }
        return iZeros;
    }
};

/// Of three words, the highest first, as numbers are read.
constexpr Fraction MakeFraction(std::uint64_t iHigh, std::uint64_t iMiddle, std::uint64_t iLow)
{
    return {{iLow, iMiddle, iHigh}};
}

constexpr Fraction operator+(Fraction a, const Fraction& b)
{
    TwoWords sum = 0;
    for (std::size_t i = 0; i < Fraction::Size; ++i) {
        sum += TwoWords{a.Words[i]} + b.Words[i];
        a.Words[i] = static_cast<std::uint64_t>(sum);
        sum >>= 64;
    }
    return a;
}

constexpr Fraction operator-(Fraction a)
{
    for (std::uint64_t& iWord : a.Words) iWord = ~iWord;
    return a + Fraction{{1}};
}

constexpr Fraction operator-(const Fraction& a, const Fraction& b)
{
    Fraction difference;
    std::uint64_t iBorrow = 0;
    for (std::size_t i = 0; i < Fraction::Size; ++i) {
        const TwoWords word = TwoWords{a.Words[i]} - b.Words[i] - iBorrow;
        difference.Words[i] = static_cast<std::uint64_t>(word);
        iBorrow = static_cast<std::uint64_t>(word >> 64) & 1U;
    }
    return difference;
}

/// Up to a unit of the last place below the product: the words that hardly reach it are left out.
constexpr Fraction operator*(const Fraction& a, const Fraction& b)
{
    const auto product = [&](std::size_t i, std::size_t j) {
        return TwoWords{a.Words[i]} * b.Words[j];
    };
    const auto low = [](TwoWords words) { return TwoWords{static_cast<std::uint64_t>(words)}; };
    const auto high = [](TwoWords words) { return words >> 64; };

    const TwoWords p02 = product(0, 2), p11 = product(1, 1), p20 = product(2, 0);
    const TwoWords p12 = product(1, 2), p21 = product(2, 1);
    const TwoWords below =
        high(product(0, 1)) + high(product(1, 0)) + low(p02) + low(p11) + low(p20);
    const TwoWords lowest = high(below) + high(p02) + high(p11) + high(p20) + low(p12) + low(p21);
    const TwoWords upper = high(lowest) + high(p12) + high(p21) + product(2, 2);
    return MakeFraction(static_cast<std::uint64_t>(high(upper)), static_cast<std::uint64_t>(upper),
                        static_cast<std::uint64_t>(lowest));
}

constexpr Fraction operator*(Fraction a, std::uint64_t iFactor)
{
    TwoWords sum = 0;
    for (std::uint64_t& iWord : a.Words) {
        sum += TwoWords{iWord} * iFactor;
        iWord = static_cast<std::uint64_t>(sum);
        sum >>= 64;
    }
    return a;
}

constexpr Fraction operator/(Fraction a, std::uint64_t iDivisor)
{
    TwoWords rest = 0;
    for (std::size_t i = Fraction::Size; i-- > 0;) {
        rest = rest << 64 | a.Words[i];
        a.Words[i] = static_cast<std::uint64_t>(rest / iDivisor);
        rest %= iDivisor;
    }
    return a;
}

/// iWord times 2^iShift units of the last place; negative shifts cut off.
constexpr Fraction Place(std::uint64_t iWord, int iShift)
{
    Fraction placed;
    for (int i = 0; i < static_cast<int>(Fraction::Size); ++i) {
        const int iBy = iShift - 64 * i;
        if (iBy > -64 && iBy < 64)
            placed.Words[static_cast<std::size_t>(i)] = iBy < 0 ? iWord >> -iBy : iWord << iBy;
    }
    return placed;
}

/// a times 2^iShift, from -Bits to Bits.
constexpr Fraction Shift(const Fraction& a, int iShift)
{
    Fraction shifted;
    for (int i = 0; i < static_cast<int>(Fraction::Size); ++i)
        shifted = shifted + Place(a.Words[static_cast<std::size_t>(i)], 64 * i + iShift);
    return shifted;
}

/// The double nearest to a times 2^iExponent, the even one of two; a is not zero.
double Round(Fraction a, int iExponent, bool bNegative);

}  // namespace Mathematics
