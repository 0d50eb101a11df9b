#include "host/analysis/TieSpectrum.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <unsupported/Eigen/FFT>

namespace amisim {
namespace {

// A tone stands so far out of all amplitudes' median, and of that of its neighbours.
constexpr double kOutOfFloor = 5, kOutOfNeighbours = 4;
constexpr double kLeastTone = 1e-6;      // UI: less is in the last digits of the clock times
constexpr std::size_t kNeighbours = 32;  // on either side
constexpr std::size_t kMainLobe = 3;     // bins on either side that belong to a tone itself
constexpr std::size_t kMostTones = 10;

double Median(std::vector<double> values)
{
    if (values.empty()) return kUnknown;
    const auto middle = values.begin() + std::ssize(values) / 2;
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A sine between two bins: where it is follows from the larger neighbour's part of the peak, and
/// from that what the Hann window took away from it.
Spectrum::Tone Interpolated(const std::vector<double>& amplitude, std::size_t peak, double step)
{
    const double before = amplitude[peak - 1], after = amplitude[peak + 1];
    const double ratio = std::max(before, after) / amplitude[peak];
    const double part = std::clamp((2 * ratio - 1) / (1 + ratio), 0.0, 0.5);
    const double angle = std::numbers::pi * part;
    const double gain = part > 0 ? std::sin(angle) / (angle * (1 - part * part)) : 1;
    const double bin = static_cast<double>(peak) + (after > before ? part : -part);
    return {step * (bin + 1), amplitude[peak] / gain};
}

}  // namespace

TieSpectrum::TieSpectrum(std::size_t values, double unitInterval)
    : unitInterval_(unitInterval),
      size_(std::clamp(std::bit_floor(values / 2), kShortest, kLongest)),
      power_(size_ / 2)
{
    for (std::size_t i = 0; i < size_; ++i) {
        const double angle =
            2 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(size_);
        window_.push_back((1 - std::cos(angle)) / 2);
    }
    segment_.reserve(size_);
}

void TieSpectrum::Add(double value)
{
    segment_.push_back(value);
    if (segment_.size() < size_) return;
    Transform();
    segment_.erase(segment_.begin(), segment_.begin() + static_cast<std::ptrdiff_t>(size_ / 2));
}

void TieSpectrum::Break()
{
    segment_.clear();
}

void TieSpectrum::Transform()
{
    const double mean =
        std::accumulate(segment_.begin(), segment_.end(), 0.0) / static_cast<double>(size_);
    std::vector<double> weighted(size_);
    for (std::size_t i = 0; i < size_; ++i) weighted[i] = (segment_[i] - mean) * window_[i];
    std::vector<std::complex<double>> bins;
    Eigen::FFT<double> transform;
    transform.fwd(bins, weighted);
    for (std::size_t i = 0; i < power_.size(); ++i) power_[i] += std::norm(bins[i + 1]);
    ++segments_;
}

Spectrum TieSpectrum::Find() const
{
    Spectrum found;
    found.segments = segments_;
    if (segments_ == 0) return found;
    const double step = 1 / (static_cast<double>(size_) * unitInterval_);
    // The window's sum is half of its length, and a sine is half in each of two bins.
    const double scale = 4 / static_cast<double>(size_);
    for (std::size_t i = 0; i < power_.size(); ++i) {
        found.frequency.push_back(step * static_cast<double>(i + 1));
        found.amplitude.push_back(scale * std::sqrt(power_[i] / static_cast<double>(segments_)));
    }
    const std::vector<double>& a = found.amplitude;
    found.floor = Median(a);
    for (std::size_t i = 1; i + 1 < a.size(); ++i) {
        if (!(a[i] > std::max(kLeastTone, kOutOfFloor * found.floor) && a[i] >= a[i - 1] &&
              a[i] > a[i + 1]))
            continue;
        std::vector<double> near;
        for (std::size_t k = i - std::min(i, kNeighbours);
             k < std::min(a.size(), i + kNeighbours + 1); ++k) {
            if (k + kMainLobe < i || k > i + kMainLobe) near.push_back(a[k]);
        }
        if (a[i] < kOutOfNeighbours * Median(near)) continue;
        found.tones.push_back(Interpolated(a, i, step));
    }
    std::ranges::sort(found.tones, std::greater{}, &Spectrum::Tone::amplitude);
    if (found.tones.size() > kMostTones) found.tones.resize(kMostTones);
    return found;
}

}  // namespace amisim
