#include "host/channel/ChannelSpectrum.hpp"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <unsupported/Eigen/FFT>

#include "touchstone/Interpolation.hpp"

namespace amisim {
namespace {

using Complex = std::complex<double>;
using std::numbers::pi;

constexpr int kPasses = 2;
constexpr double kSmallest = 1e-8;  // magnitudes are not followed further below the largest

Complex Turn(double angle)
{
    return std::polar(1.0, angle);
}

/// Least-squares line y = offset + slope x.
struct Line
{
    double offset = 0.0, slope = 0.0, residual = 0.0;

    Line(const std::vector<double>& x, const std::vector<double>& y)
    {
        const auto n = static_cast<double>(x.size());
        const double meanX = std::accumulate(x.begin(), x.end(), 0.0) / n;
        const double meanY = std::accumulate(y.begin(), y.end(), 0.0) / n;
        double xx = 0.0, xy = 0.0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            xx += (x[i] - meanX) * (x[i] - meanX);
            xy += (x[i] - meanX) * (y[i] - meanY);
        }
        slope = xx > 0.0 ? xy / xx : 0.0;
        offset = meanY - slope * meanX;
        for (std::size_t i = 0; i < x.size(); ++i) {
            residual += std::pow(y[i] - offset - slope * x[i], 2);
        }
    }
};

/// Phase of the minimum-phase network with these logarithms of magnitude at 0 ... N/2, by the
/// folded cepstrum.
std::vector<double> MinimumPhase(const std::vector<double>& logarithm)
{
    const std::size_t half = logarithm.size() - 1;
    std::vector<Complex> spectrum(2 * half), cepstrum;
    for (std::size_t k = 0; k <= half; ++k) {
        spectrum[k] = spectrum[(2 * half - k) % (2 * half)] = logarithm[k];
    }
    Eigen::FFT<double> fft;
    fft.inv(cepstrum, spectrum);
    for (std::size_t n = 1; n < half; ++n) {
        cepstrum[n] *= 2.0;
        cepstrum[2 * half - n] = 0.0;
    }
    fft.fwd(spectrum, cepstrum);
    std::vector<double> phase;
    for (std::size_t k = 0; k <= half; ++k) {
        phase.push_back(spectrum[k].imag());
    }
    return phase;
}

/// Delay and polarity that remain of a response when the phase of its magnitude is taken out.
struct Excess
{
    double delay = 0.0;  // s
    double turn = 0.0;   // 0, or pi for an inverting channel
};

/// Of values at first, first + 1, ... times the frequency step, which goes `half` times into half
/// the sampling rate. A pure delay's response is one peak: its place and sign are what is looked
/// for.
Excess FindExcess(const std::vector<Complex>& values, std::size_t first, std::size_t half,
                  double step)
{
    std::vector<Complex> band(half + 1);
    std::copy(values.begin(), values.end(), band.begin() + static_cast<std::ptrdiff_t>(first));
    const std::vector<double> time = TimeResponse(band);
    const auto peak = std::max_element(
        time.begin(), time.end(), [](double a, double b) { return std::abs(a) < std::abs(b); });
    const double samples = static_cast<double>(peak - time.begin()) -
                           (peak - time.begin() > static_cast<std::ptrdiff_t>(half) ? 2.0 : 0.0) *
                               static_cast<double>(half);
    Excess excess{samples / (2.0 * step * static_cast<double>(half)), *peak < 0.0 ? pi : 0.0};

    // Then by least squares to a fraction of a sample.
    double numerator = 0.0, denominator = 0.0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double omega = 2.0 * pi * step * static_cast<double>(first + i);
        const double weight = std::norm(values[i]) * omega;
        numerator += weight * std::arg(values[i] * Turn(omega * excess.delay + excess.turn));
        denominator += weight * omega;
    }
    excess.delay -= denominator > 0.0 ? numerator / denominator : 0.0;
    return excess;
}

}  // namespace

Extrapolation::Extrapolation(const FrequencyResponse& data)
{
    const double largest = std::abs(*std::max_element(
        data.value.begin(), data.value.end(),
        [](const Complex& a, const Complex& b) { return std::abs(a) < std::abs(b); }));
    floor_ = std::log(largest * kSmallest);
    const auto& f = data.frequency;
    first_ = f.front();
    last_ = f.back();
    logFirst_ = Log(data.value.front());
    logLast_ = Log(data.value.back());

    std::vector<double> x, y;
    for (std::size_t k = f.size(); k-- > 0 && (f[k] > 0.8 * last_ || x.size() < 4);) {
        if (f[k] > 0.0) {
            x.push_back(std::log(f[k]));
            y.push_back(Log(data.value[k]));
        }
    }
    fall_ = std::min(0.0, Line(x, y).slope);
    if (first_ > 0.0) {
        FitLowEnd(data, largest);
    }
}

double Extrapolation::Log(const Complex& value) const
{
    return std::max(floor_, std::log(std::max(std::abs(value), 1e-300)));
}

double Extrapolation::operator()(double f) const
{
    if (f > last_) {
        return std::max(floor_, logLast_ + fall_ * std::log(f / last_));
    }
    switch (low_) {
        case Low::HighPass:
            return f > 0.0 ? std::max(floor_, logFirst_ + slope_ * std::log(f / first_)) : floor_;
        case Low::Skin:
            return logFirst_ + slope_ * (std::sqrt(f) - std::sqrt(first_));
        case Low::Lumped:
            break;
    }
    return logFirst_ + slope_ * (f * f - first_ * first_);
}

void Extrapolation::FitLowEnd(const FrequencyResponse& data, double largest)
{
    std::vector<double> logarithm, root, square, y;
    for (std::size_t k = 0; k < data.frequency.size(); ++k) {
        const double f = data.frequency[k];
        if (f > 5.0 * first_ && k >= 4) {
            break;
        }
        logarithm.push_back(std::log(f));
        root.push_back(std::sqrt(f));
        square.push_back(f * f);
        y.push_back(Log(data.value[k]));
    }
    const Line highPass(logarithm, y), skin(root, y), lumped(square, y);
    constexpr double kHighPassSlope = 0.3;  // between a flat line's 0 and a capacitor's 1
    if (highPass.slope > kHighPassSlope) {
        low_ = Low::HighPass;
        slope_ = highPass.slope;
        return;
    }
    low_ = skin.residual < lumped.residual ? Low::Skin : Low::Lumped;
    slope_ = low_ == Low::Skin ? skin.slope : lumped.slope;
    // No more gain at 0 Hz than a passive line has, unless the data have it too.
    const double gain = (*this)(0.0);
    if (largest <= 1.0 && gain > 0.0) {
        slope_ *= logFirst_ / (logFirst_ - gain);
    }
}

ChannelSpectrum CompleteSpectrum(const FrequencyResponse& data, const Extrapolation& outside,
                                 std::size_t half, double step)
{
    const auto first = static_cast<std::size_t>(std::ceil(data.frequency.front() / step));
    const auto last =
        std::min(half, static_cast<std::size_t>(std::floor(data.frequency.back() / step)));
    const auto omega = [&](std::size_t k) { return 2.0 * pi * step * static_cast<double>(k); };

    ChannelSpectrum spectrum{std::vector<Complex>(half + 1), MeanDelay(data)};
    std::vector<Complex> rest;  // the data without delay and minimum phase
    std::vector<double> logarithm(half + 1), phase;
    Excess excess;
    // The spline is the better the more exactly the delay is known, and the other way round.
    for (int pass = 0; pass < kPasses; ++pass) {
        std::vector<Complex> straight = data.value;
        for (std::size_t k = 0; k < straight.size(); ++k) {
            straight[k] *= Turn(2.0 * pi * data.frequency[k] * spectrum.delay);
        }
        const Spline inside(data.frequency, straight);
        for (std::size_t k = 0; k <= half; ++k) {
            const double f = step * static_cast<double>(k);
            const bool isInside = k >= first && k <= last;
            spectrum.values[k] = isInside ? inside(f) : 0.0;
            logarithm[k] = isInside ? outside.Log(spectrum.values[k]) : outside(f);
        }
        phase = MinimumPhase(logarithm);
        rest.clear();
        for (std::size_t k = first; k <= last; ++k) {
            rest.push_back(spectrum.values[k] * Turn(-phase[k]));
        }
        excess = FindExcess(rest, first, half, step);
        spectrum.delay += excess.delay;
        for (std::size_t k = first; k <= last; ++k) {
            spectrum.values[k] *= Turn(omega(k) * excess.delay);
            rest[k - first] *= Turn(omega(k) * excess.delay + excess.turn);
        }
    }
    // Outside, what remains at the data's edge fades out towards 0 Hz and half the sampling rate.
    const auto add = [&](std::size_t k, double share, const Complex& edge) {
        spectrum.values[k] =
            std::exp(logarithm[k]) * Turn(phase[k] + excess.turn + share * std::arg(edge));
    };
    for (std::size_t k = 0; k < first; ++k) {
        add(k, static_cast<double>(k) / static_cast<double>(first), rest.front());
    }
    for (std::size_t k = last + 1; k <= half; ++k) {
        add(k, static_cast<double>(half - k) / static_cast<double>(half - last), rest.back());
    }
    if (outside.IsHighPass()) {
        spectrum.values.front() = 0.0;
    }
    spectrum.values.front() = spectrum.values.front().real();
    spectrum.values.back() = spectrum.values.back().real();
    return spectrum;
}

std::vector<double> TimeResponse(const std::vector<Complex>& values)
{
    const std::size_t half = values.size() - 1;
    std::vector<Complex> spectrum(2 * half), time;
    for (std::size_t k = 0; k <= half; ++k) {
        spectrum[(2 * half - k) % (2 * half)] = std::conj(values[k]);
        spectrum[k] = values[k];
    }
    Eigen::FFT<double>().inv(time, spectrum);
    std::vector<double> real;
    real.reserve(time.size());
    for (const Complex& value : time) {
        real.push_back(value.real());
    }
    return real;
}

}  // namespace amisim
