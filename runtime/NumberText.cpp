#include "runtime/NumberText.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "mathematics/Fraction.hpp"
#include "runtime/Decimal.hpp"

namespace Vantor {

namespace {

constexpr int iNoDigit = 16;

/// An exponent beyond which every number is zero or infinite, however many digits it has.
constexpr int iFar = 1 << 28;

char Lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

int DigitOf(char c)
{
    c = Lower(c);
    if (c >= '0' && c <= '9') return c - '0';
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : iNoDigit;
}

/// The text after a word, in letters of either size; null where it does not begin with it.
const char* AfterWord(const char* pText, const char* pWord)
{
    for (; *pWord != '\0'; ++pText, ++pWord)
        if (Lower(*pText) != *pWord) return nullptr;
    return pText;
}

/// Passes over the sign, if there is one.
bool TakeSign(const char*& pText)
{
    const bool bNegative = *pText == '-';
    if (bNegative || *pText == '+') ++pText;
    return bNegative;
}

/// Reads what stands behind a mantissa: the exponent after this letter, if there are digits.
int TakeExponent(const char*& pText, char cLetter)
{
    if (Lower(*pText) != cLetter) return 0;
    const char* p = pText + 1;
    const bool bNegative = TakeSign(p);
    if (DigitOf(*p) >= 10) return 0;
    int iExponent = 0;
    for (; DigitOf(*p) < 10; ++p) iExponent = std::min(iExponent * 10 + DigitOf(*p), iFar / 16);
    pText = p;
    return bNegative ? -iExponent : iExponent;
}

/// Hands each digit of a mantissa to take, with its place: above zero before the point. The text
/// after it, or null where there is no digit.
template <class Take>
const char* ReadMantissa(const char* pText, int iBase, Take take)
{
    bool bDigits = false, bPoint = false;
    for (;; ++pText) {
        if (*pText == '.' && !bPoint) {
            bPoint = true;
            continue;
        }
        const int iDigit = DigitOf(*pText);
        if (iDigit >= iBase) return bDigits ? pText : nullptr;
        bDigits = true;
        take(static_cast<unsigned>(iDigit), bPoint);
    }
}

const char* ReadHexadecimal(const char* pText, bool bNegative, double& dValue)
{
    std::uint64_t iMantissa = 0;
    bool bMore = false;
    int iExponent = 0;
    pText = ReadMantissa(pText, 16, [&](unsigned iDigit, bool bFraction) {
        const bool bFits = iMantissa >> 60 == 0;
        if (bFits)
            iMantissa = iMantissa << 4 | iDigit;
        else
            bMore |= iDigit != 0;
        iExponent = std::clamp(iExponent + (bFits ? 0 : 4) - (bFraction ? 4 : 0), -iFar, iFar);
    });
    if (!pText) return nullptr;
    iExponent += TakeExponent(pText, 'p');
    dValue = iMantissa == 0 ? std::copysign(0.0, bNegative ? -1.0 : 1.0)
                            : Mathematics::Round(Mathematics::MakeFraction(iMantissa, 0, bMore),
                                                 iExponent + 64, bNegative);
    return pText;
}

/// The double nearest to a decimal number.
double Nearest(Decimal number, bool bNegative)
{
    constexpr int iHighest = 310, iLowest = -345;  // beyond, all is infinite, or zero
    if (number.GetPoint() < iLowest || number.IsZero()) return bNegative ? -0.0 : 0.0;
    if (number.GetPoint() > iHighest) return bNegative ? -HUGE_VAL : HUGE_VAL;
    // Its power of two, or one more or less: ten is 2^3.32.
    const int iExponent = number.GetPoint() * 332 / 100;
    number.Scale(60 - iExponent);
    bool bMore = false;
    const std::uint64_t iWhole = number.GetWhole(bMore);
    return Mathematics::Round(Mathematics::MakeFraction(iWhole, 0, bMore), iExponent + 4,
                              bNegative);
}

const char* ReadDecimal(const char* pText, bool bNegative, double& dValue)
{
    Decimal number;
    int iPlaces = 0;
    pText = ReadMantissa(pText, 10, [&](unsigned iDigit, bool bFraction) {
        number.Append(iDigit);
        if (!bFraction && iPlaces < iFar) ++iPlaces;
    });
    if (!pText) return nullptr;
    number.MovePoint(iPlaces + TakeExponent(pText, 'e'));
    dValue = Nearest(number, bNegative);
    return pText;
}

/// The text after "(", letters, digits, underlines and ")"; pText where that is not there.
const char* AfterParentheses(const char* pText)
{
    if (*pText != '(') return pText;
    const char* p = pText + 1;
    while (DigitOf(*p) < 10 || (Lower(*p) >= 'a' && Lower(*p) <= 'z') || *p == '_') ++p;
    return *p == ')' ? p + 1 : pText;
}

const char* SkipSpace(const char* pText)
{
    while (IsSpace(*pText)) ++pText;
    return pText;
}

}  // namespace

const char* ReadNumber(const char* pText, double& dValue)
{
    const char* p = SkipSpace(pText);
    const bool bNegative = TakeSign(p);
    if (const char* pEnd = AfterWord(p, "inf")) {
        dValue = bNegative ? -HUGE_VAL : HUGE_VAL;
        const char* const pLonger = AfterWord(pEnd, "inity");
        return pLonger ? pLonger : pEnd;
    }
    if (const char* const pEnd = AfterWord(p, "nan")) {
        dValue = NAN;
        return AfterParentheses(pEnd);
    }
    if (const char* pEnd = AfterWord(p, "0x"))
        if ((pEnd = ReadHexadecimal(pEnd, bNegative, dValue))) return pEnd;
    const char* const pEnd = ReadDecimal(p, bNegative, dValue);
    return pEnd ? pEnd : pText;
}

const char* PassInteger(const char* pText)
{
    const char* p = SkipSpace(pText);
    TakeSign(p);
    if (DigitOf(*p) >= 10) return pText;
    while (DigitOf(*p) < 10) ++p;
    return p;
}

size_t WriteNumber(char (&text)[LongestNumberText], double dValue)
{
    constexpr size_t iSignificant = 6;
    char* p = text;
    const auto finish = [&](const char* pWord) {
        const size_t iLength = std::strlen(pWord);
        std::memcpy(p, pWord, iLength + 1);
        return static_cast<size_t>(p - text) + iLength;
    };
    if (std::signbit(dValue)) *p++ = '-';
    if (std::isnan(dValue)) return finish("nan");
    if (std::isinf(dValue)) return finish("inf");
    if (dValue == 0) return finish("0");

    int iPower = 0;
    const double dMantissa = std::frexp(std::fabs(dValue), &iPower);
    Decimal number(static_cast<std::uint64_t>(dMantissa * 0x1p53), iPower - 53);
    number.RoundTo(iSignificant);
    // Digits and, before all but the first of a fraction's, zeros; the point; an exponent.
    const int iExponent = number.GetPoint() - 1;
    const bool bFixed = iExponent >= -4 && iExponent < static_cast<int>(iSignificant);
    const int iPoint = bFixed ? number.GetPoint() : 1;
    const int iEnd = std::max(iPoint, static_cast<int>(number.GetSize()));
    for (int i = std::min(0, iPoint - 1); i < iEnd; ++i) {
        if (i == iPoint) *p++ = '.';
        *p++ = static_cast<char>('0' + (i < 0 ? 0 : number.GetDigit(static_cast<size_t>(i))));
    }
    if (bFixed) return finish("");
    *p++ = 'e';
    *p++ = iExponent < 0 ? '-' : '+';
    const int iMagnitude = iExponent < 0 ? -iExponent : iExponent;
    if (iMagnitude >= 100) *p++ = static_cast<char>('0' + iMagnitude / 100);
    *p++ = static_cast<char>('0' + iMagnitude / 10 % 10);
    *p++ = static_cast<char>('0' + iMagnitude % 10);
    return finish("");
}

}  // namespace Vantor
