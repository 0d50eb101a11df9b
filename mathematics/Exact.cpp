#include "mathematics/Exact.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

#include "mathematics/Fraction.hpp"

namespace Mathematics::Exact {

namespace {

constexpr Fraction QuarterPi =
    MakeFraction(0xc90fdaa22168c234, 0xc4c6628b80dc1cd1, 0x29024e088a67cc74);
constexpr Fraction Ln2 = MakeFraction(0xb17217f7d1cf79ab, 0xc9e3b39803f2f6af, 0x40f343267298b62d);
constexpr Fraction Half = MakeFraction(std::uint64_t{1} << 63, 0, 0);

/// A finite double as Mantissa times 2^Exponent.
struct Parts
{
    explicit Parts(double x)
    {
        const auto iBits = std::bit_cast<std::uint64_t>(x);
        const int iField = static_cast<int>(iBits >> 52 & 0x7ffU);
        Negative = iBits >> 63 != 0;
        Mantissa = (iBits & 0xfffffffffffff) | std::uint64_t{iField != 0} << 52;
        Exponent = (iField != 0 ? iField : 1) - 1075;
    }

    bool Negative;
    std::uint64_t Mantissa;
    int Exponent;
};

/// A power series: the coefficients of z^0, z^1, ...
template <std::size_t Terms>
using Series = std::array<Fraction, Terms>;

/// Its sum at z; the signs of the terms alternate where Alternating.
template <bool Alternating>
Fraction Evaluate(std::span<const Fraction> series, const Fraction& z)
{
    Fraction sum = series.back();
    for (std::size_t k = series.size() - 1; k-- > 0;)
        sum = Alternating ? series[k] - sum * z : series[k] + sum * z;
    return sum;
}

/// Half of 1/(iFirst)!, 1/(iFirst + 2)!, ...: cos(t) / 2 in powers of t^2, and sin(t) / 2t.
template <std::size_t Terms>
constexpr Series<Terms> MakeTrigonometricSeries(std::uint64_t iFirst)
{
    Series<Terms> series;
    series[0] = Half;
    for (std::size_t k = 1; k < Terms; ++k) {
        const std::uint64_t n = 2 * k + iFirst;
        series[k] = series[k - 1] / ((n - 1) * n);
    }
    return series;
}

/// A quarter of 1/k!: exp(t) / 4.
template <std::size_t Terms>
constexpr Series<Terms> MakeExponentialSeries()
{
    Series<Terms> series;
    series[0] = Half / 2;
    for (std::size_t k = 1; k < Terms; ++k) series[k] = series[k - 1] / k;
    return series;
}

/// asin(t) / 2t in powers of t^2: half of 1 3 5 .. (2k - 1) / (2 4 6 .. 2k (2k + 1)).
template <std::size_t Terms>
constexpr Series<Terms> MakeArcsineSeries()
{
    Series<Terms> series;
    Fraction ratio = Half;
    for (std::size_t k = 0; k < Terms; ++k) {
        if (k > 0) ratio = ratio / (2 * k) * (2 * k - 1);
        series[k] = ratio / (2 * k + 1);
    }
    return series;
}

// For t up to pi/4, ln 2 and 1/2 what is left out stays below 2^-140.
constexpr auto SineSeries = MakeTrigonometricSeries<18>(1);
constexpr auto CosineSeries = MakeTrigonometricSeries<19>(0);
constexpr auto ExponentialSeries = MakeExponentialSeries<34>();
constexpr auto ArcsineSeries = MakeArcsineSeries<71>();

/// An angle as a whole number of quarter turns and up to half a one more or less.
struct Angle
{
    unsigned Quarters;
    bool Less;
    Fraction Rest;  ///< radians over 2^Exponent, without leading zeros but for one
    int Exponent;
};

/// 2/pi has a word for each 64 bits of the largest double's exponent, and what the result needs.
/// Before it stand the zeros that small arguments begin with.
constexpr std::uint64_t TwoOverPi[] = {0,
                                       0,
                                       0xa2f9836e4e441529,
                                       0xfc2757d1f534ddc0,
                                       0xdb6295993c439041,
                                       0xfe5163abdebbc561,
                                       0xb7246e3a424dd2e0,
                                       0x06492eea09d1921c,
                                       0xfe1deb1cb129a73e,
                                       0xe88235f52ebb4484,
                                       0xe99c7026b45f7e41,
                                       0x3991d639835339f4,
                                       0x9c845f8bbdf9283b,
                                       0x1ff897ffde05980f,
                                       0xef2f118b5a0a6d1f,
                                       0x6d367ecf27cb09b7,
                                       0x4f463f669e5fea2d,
                                       0x7527bac7ebe5f17b,
                                       0x3d0739f78a5292ea,
                                       0x6bfb5fb11f8d5d08,
                                       0x56033046fc7b6bab,
                                       0xf0cfbc209af4361d,
                                       0xa9e391615ee61b08};

/// The angle of a double of at least 2^-27. Its mantissa is multiplied with those bits of 2/pi that
/// make neither whole turns nor less than 2^-265 quarter turns, in whole numbers; no double comes
/// closer to a multiple of a quarter turn than 2^-62 times itself.
Angle GetAngle(const Parts& x)
{
    constexpr int iZeroWords = 2, iWindow = 5;
    const int iFirstBit = 64 * iZeroWords + x.Exponent - 2;  // of weight two in the product
    std::uint64_t product[iWindow];
    std::uint64_t iCarry = 0;
    for (int i = iWindow - 1; i >= 0; --i) {
        const int iWord = iFirstBit / 64 + i, iBit = iFirstBit % 64;
        // From word 0 for 2^-27 to the last one for the largest double.
        // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult)
        std::uint64_t iFactor = TwoOverPi[iWord] << iBit;
        if (iBit > 0) iFactor |= TwoOverPi[iWord + 1] >> (64 - iBit);
        const TwoWords sum = TwoWords{x.Mantissa} * iFactor + iCarry;
        product[i] = static_cast<std::uint64_t>(sum);
        iCarry = static_cast<std::uint64_t>(sum >> 64);
    }

    Angle angle;
    angle.Quarters = static_cast<unsigned>(product[0] >> 62);
    angle.Less = (product[0] >> 61 & 1U) != 0;
    product[0] = product[0] << 2 >> 2;
    if (angle.Less) {
        ++angle.Quarters;
        // Less than a unit in the last place away from the negative number.
        for (std::uint64_t& iWord : product) iWord = ~iWord;
        product[0] = product[0] << 2 >> 2;
    }
    const Fraction upper = MakeFraction(product[0], product[1], product[2]);
    const int iZeros = upper.GetLeadingZeros();  // no more than 66: the next two words suffice
    const Fraction rest =
        Shift(upper, iZeros) + Place(product[3], iZeros - 64) + Place(product[4], iZeros - 128);
    angle.Rest = rest * QuarterPi;
    angle.Exponent = 3 - iZeros;
    return angle;
}

/// The sine of so many quarter turns more than x.
double GetSine(const Parts& x, unsigned iMoreQuarters)
{
    const Angle angle = GetAngle(x);
    const unsigned iQuarters = (x.Negative ? 0U - angle.Quarters : angle.Quarters) + iMoreQuarters;
    const bool bNegativeRest = angle.Less != x.Negative;
    const bool bLowerHalf = (iQuarters & 2U) != 0;
    const Fraction t = Shift(angle.Rest, angle.Exponent);
    const Fraction z = t * t;
    if (iQuarters % 2 == 0)
        return Round(angle.Rest * Evaluate<true>(SineSeries, z), angle.Exponent + 1,
                     bNegativeRest != bLowerHalf);
    return Round(Evaluate<true>(CosineSeries, z), 1, bLowerHalf);
}

/// The root of a number from 1/4 to 1, by Newton's method for half of the root's inverse, h:
/// h' = 2 h (3/4 - w h^2).
Fraction GetRoot(const Fraction& w, double dNumber)
{
    constexpr Fraction ThreeQuarters = MakeFraction(std::uint64_t{3} << 62, 0, 0);
    const Parts start(0.5 / std::sqrt(dNumber) * (1 - 0x1p-50));  // below 1 in any case
    Fraction h = Place(start.Mantissa, Fraction::Bits + start.Exponent);
    for (int i = 0; i < 2; ++i) h = Shift(h * (ThreeQuarters - w * (h * h)), 1);
    return Shift(w * h, 1);
}

/// asin(t) / 2t, given t^2 of at most 1/4.
Fraction GetArcsineOver2t(const Fraction& z)
{
    const int iTerms = 140 / z.GetLeadingZeros() + 1;
    const std::span<const Fraction> series = ArcsineSeries;
    return Evaluate<false>(series.first(std::min(static_cast<std::size_t>(iTerms), series.size())),
                           z);
}

}  // namespace

double Cos(double x)
{
    if (!std::isfinite(x)) return NAN;
    if (std::fabs(x) < 0x1p-27) return 1.0;
    return GetSine(Parts(x), 1);
}

double Sin(double x)
{
    if (!std::isfinite(x)) return NAN;
    if (std::fabs(x) < 0x1p-27) return x;
    return GetSine(Parts(x), 0);
}

double Asin(double x)
{
    const double dMagnitude = std::fabs(x);
    if (!(dMagnitude <= 1.0)) return NAN;
    if (dMagnitude < 0x1p-27) return x;
    const Parts parts(x);
    if (dMagnitude < 0.5) {
        const Fraction t = Place(parts.Mantissa, Fraction::Bits + parts.Exponent);
        const int iZeros = t.GetLeadingZeros();
        return Round(Shift(t, iZeros) * GetArcsineOver2t(t * t), 1 - iZeros, parts.Negative);
    }
    if (dMagnitude == 1.0) return Round(QuarterPi, 1, parts.Negative);

    // asin(x) = pi/2 - 2 asin(root of (1 - x)/2), whose difference and half are exact.
    const double dSquare = (1.0 - dMagnitude) / 2;
    const Parts square(dSquare);
    const Fraction z = Place(square.Mantissa, Fraction::Bits + square.Exponent);
    const int iHalfShift = z.GetLeadingZeros() / 2;
    const Fraction root =
        Shift(GetRoot(Shift(z, 2 * iHalfShift), std::ldexp(dSquare, 2 * iHalfShift)), -iHalfShift);
    const Fraction halfArcsine = root * GetArcsineOver2t(z);
    return Round(QuarterPi - Shift(halfArcsine, 1), 1, parts.Negative);
}

double Exp(double x)
{
    if (std::isnan(x)) return x;
    if (x > 710.0) return HUGE_VAL;
    if (x < -746.0) return 0.0;
    if (std::fabs(x) < 0x1p-54) return 1.0;
    // x = k ln 2 + t with t from 0 to ln 2 or a trifle more; all modulo 1.
    const int k = static_cast<int>(std::floor(x * 1.4426950408889634 - 0x1p-30));
    const Parts parts(x);
    const Fraction magnitude = Place(parts.Mantissa, Fraction::Bits + parts.Exponent);
    const Fraction multiple = Ln2 * static_cast<std::uint64_t>(k < 0 ? -k : k);
    const Fraction t = (parts.Negative ? -magnitude : magnitude) - (k < 0 ? -multiple : multiple);
    return Round(Evaluate<false>(ExponentialSeries, t), k + 2, false);
}

}  // namespace Mathematics::Exact
