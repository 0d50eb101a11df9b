#include "host/analysis/RatioLimits.hpp"

#include <cmath>
#include <initializer_list>

namespace amisim {
namespace {

/// The continued fraction of the incomplete beta function by Lentz's method; it converges fast
/// where x < (a + 1) / (a + b + 2) (Abramowitz and Stegun, "Handbook of mathematical functions",
/// 26.5.8).
double BetaFraction(double a, double b, double x)
{
    constexpr double kTiny = 1e-300, kEnough = 1e-14;
    constexpr int kMost = 100'000;  // of some sqrt(max(a, b)) terms
    const auto apart = [](double v) { return std::abs(v) < kTiny ? kTiny : v; };
    double c = 1, d = 1 / apart(1 - (a + b) * x / (a + 1)), fraction = d;
    for (int m = 1; m < kMost; ++m) {
        double step = 1;
        const double even = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m));
        const double odd = -(a + m) * (a + b + m) * x / ((a + 2 * m) * (a + 2 * m + 1));
        for (const double term : {even, odd}) {
            d = 1 / apart(1 + term * d);
            c = apart(1 + term / c);
            step = c * d;
            fraction *= step;
        }
        if (std::abs(step - 1) < kEnough) break;
    }
    return fraction;
}

/// Where the probability of a beta distribution is this, to a few digits less than a double has.
double BetaQuantile(double a, double b, double probability)
{
    double low = 0, high = 1;
    // By the ratio rather than by the difference where it is small.
    for (double least = 1e-18; high - low > 1e-12 * high;) {
        const double middle = high > 4 * std::fmax(low, least)
                                  ? std::sqrt(std::fmax(low, least) * high)
                                  : (low + high) / 2;
        if (high <= least || middle <= low || middle >= high) break;
        (IncompleteBeta(a, b, middle) < probability ? low : high) = middle;
    }
    return (low + high) / 2;
}

}  // namespace

double IncompleteBeta(double a, double b, double x)
{
    if (x <= 0) return 0;
    if (x >= 1) return 1;
    // Of many trials these are large numbers whose difference is small.
    const auto logGamma = [](long double v) { return std::lgamma(v); };
    const long double logBeta = logGamma(a) + logGamma(b) - logGamma(0.0L + a + b);
    const double front =
        std::exp(a * std::log(x) + b * std::log1p(-x) - static_cast<double>(logBeta));
    if (x < (a + 1) / (a + b + 2)) return front * BetaFraction(a, b, x) / a;
    return 1 - front * BetaFraction(b, a, 1 - x) / b;
}

RatioLimits ClopperPearson(std::int64_t events, std::int64_t trials, double confidence)
{
    const auto k = static_cast<double>(events), n = static_cast<double>(trials);
    RatioLimits limits;
    if (events > 0) limits.low = BetaQuantile(k, n - k + 1, 1 - confidence);
    if (events < trials) limits.high = BetaQuantile(k + 1, n - k, confidence);
    return limits;
}

}  // namespace amisim
