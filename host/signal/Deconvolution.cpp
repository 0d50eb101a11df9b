#include "host/signal/Deconvolution.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <unsupported/Eigen/FFT>

namespace amisim {
namespace {

using Spectrum = std::vector<std::complex<double>>;

constexpr double kFloor = 1e-5;  // of the largest gain
constexpr std::size_t kLead = 1024;

class Fft
{
public:
    explicit Fft(std::size_t taps) : size_(std::bit_ceil(2 * taps))
    {
        fft_.SetFlag(Eigen::FFT<double>::HalfSpectrum);
    }
    Spectrum Forward(std::span<const double> taps)
    {
        std::vector<double> padded(size_);
        std::ranges::copy(taps, padded.begin());
        Spectrum spectrum;
        fft_.fwd(spectrum, padded);
        return spectrum;
    }
    std::vector<double> Back(const Spectrum& spectrum)
    {
        std::vector<double> taps(size_);
        fft_.inv(taps, spectrum, static_cast<Eigen::Index>(size_));
        return taps;
    }

private:
    Eigen::FFT<double> fft_;
    std::size_t size_;
};

}  // namespace

Deconvolved Deconvolve(std::span<const double> before, std::span<const double> after)
{
    Fft fft(before.size());
    const Spectrum a = fft.Forward(before), b = fft.Forward(after);
    double largest = 0;
    for (const auto& gain : a) largest = std::max(largest, std::norm(gain));
    if (largest == 0) return {{{0.0}, 0}, 1};
    Spectrum ratio(a.size());
    for (std::size_t k = 0; k < a.size(); ++k)
        ratio[k] = b[k] * std::conj(a[k]) / (std::norm(a[k]) + kFloor * kFloor * largest);

    // Times before 0 are at the end.
    std::vector<double> taps = fft.Back(ratio);
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
    Fft fft(std::max(response.size(), filter.taps.size()));
    Spectrum product = fft.Forward(response);
    const Spectrum other = fft.Forward(filter.taps);
    for (std::size_t k = 0; k < product.size(); ++k) product[k] *= other[k];
    std::vector<double> made = fft.Back(product);
    made.erase(made.begin(), made.begin() + static_cast<std::ptrdiff_t>(filter.lead));
    made.resize(response.size());
    return made;
}

}  // namespace amisim
