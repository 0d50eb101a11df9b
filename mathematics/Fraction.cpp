#include "mathematics/Fraction.hpp"

#include <cmath>

namespace Mathematics {

double Round(Fraction a, int iExponent, bool bNegative)
{
    constexpr int iSignificant = 53, iLeastExponent = -1074, iMostExponent = 1024;
    const int iZeros = a.GetLeadingZeros();
    a = Shift(a, iZeros);
    iExponent -= iZeros;

    // A number below the least normal one has fewer digits, and perhaps none.
    const int iDigits =
        iExponent - iLeastExponent < iSignificant ? iExponent - iLeastExponent : iSignificant;
    std::uint64_t iNumber = 0;
    if (iDigits >= 0) {
        iNumber = iDigits > 0 ? a.Words[2] >> (64 - iDigits) : 0;
        const Fraction rest = Shift(a, iDigits), half = MakeFraction(std::uint64_t{1} << 63, 0, 0);
        const bool bAbove = rest.Words[2] >> 63 != 0 && rest != half;
        if (bAbove || (rest == half && iNumber % 2 != 0)) ++iNumber;
    }
    // The number's own leading digit adds one to the exponent's place; what rounding carries over
    // does so too.
    std::uint64_t iBits = iNumber;
    if (iExponent > iMostExponent) {
        iBits = std::bit_cast<std::uint64_t>(HUGE_VAL);
    } else if (iDigits == iSignificant) {
        const auto iPlace = static_cast<std::uint64_t>(iExponent - iLeastExponent - iSignificant);
        iBits += iPlace << (iSignificant - 1);
    }
    return std::bit_cast<double>(iBits | std::uint64_t{bNegative} << 63);
}

}  // namespace Mathematics
