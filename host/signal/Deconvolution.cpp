#include "host/signal/Deconvolution.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>

#include "base/Fft.hpp"

namespace amisim {
namespace {

constexpr double kFloor = 1e-5;  // of the largest gain
constexpr std::size_t kLead = 1024;

}  // namespace

Deconvolved Deconvolve(std::span<const double> before, std::span<const double> after)
{
    RealFft fft(std::bit_ceil(2 * before.size()));
    RealFft::Spectrum a, b;
    fft.Forward(before, a);
    fft.Forward(after, b);
    double largest = 0;
    for (const auto& gain : a) largest = std::max(largest, std::norm(gain));
    if (largest == 0) return {{{0.0}, 0}, 1};
    for (std::size_t k = 0; k < a.size(); ++k)
        b[k] *= std::conj(a[k]) / (std::norm(a[k]) + kFloor * kFloor * largest);

    // Times before 0 are at the end.
    std::vector<double> taps;
    fft.Inverse(b, taps);
    Deconvolved result;
    result.filter.lead = std::min(kLead, before.size());
    std::rotate(taps.begin(), taps.end() - static_cast<std::ptrdiff_t>(result.filter.lead),
                taps.end());
    taps.resize(result.filter.lead + before.size());
    result.filter.taps = std::move(taps);

    const std::vector<double> made = Convolved(before, result.filter);
    double wrong = 0, all = 0;
    for (std::size_t n = 0; n < after.size(); ++n) {
        wrong += (made[n] - after[n]) * (made[n] - after[n]);
        all += after[n] * after[n];
    }
    result.residual = all > 0 ? std::sqrt(wrong / all) : 0;
    return result;
}

std::vector<double> Convolved(std::span<const double> response, const LeadingTaps& filter)
{
    RealFft fft(std::bit_ceil(std::max<std::size_t>(response.size() + filter.taps.size(), 2)));
    RealFft::Spectrum product, other;
    fft.Forward(response, product);
    fft.Forward(filter.taps, other);
    for (std::size_t k = 0; k < product.size(); ++k) product[k] *= other[k];
    std::vector<double> made;
    fft.Inverse(product, made);
    made.erase(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(filter.lead));
    made.resize(response.size());
    return made;
}

}  // namespace amisim
