#include "host/statistical/VoltageDensity.hpp"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

#include "base/Fft.hpp"

namespace amisim {
namespace {

/// Part of the voltages in each bin: its height / 2 pi times the integral of phi(w) exp(-i w v)
/// sinc(w height / 2) over w, of which the sinc stands for the mean over the bin. The first bin's
/// centre is at -range, where exp(-i w v) is (-1)^n.
std::vector<double> Bins(const VoltageGrid& grid, const Characteristic& characteristic)
{
    RealFft::Spectrum spectrum(grid.Frequencies());
    for (std::size_t n = 0; n < spectrum.size(); ++n) {
        const double angle =
            std::numbers::pi * static_cast<double>(n) / static_cast<double>(grid.bins);
        const double mean = n == 0 ? 1 : std::sin(angle) / angle;
        spectrum[n] = (n % 2 == 0 ? mean : -mean) *
                      std::complex(characteristic.real[n], -characteristic.imaginary[n]);
    }
    std::vector<double> bins;
    RealFft(grid.bins).Inverse(spectrum, bins);
    return bins;
}

/// The place between two others where a tail has a value: straight on a logarithmic scale, as far
/// as there is one.
double Between(double from, double to, double value)
{
    return from > 0 && to > from ? std::log(value / from) / std::log(to / from)
                                 : (value - from) / (to - from);
}

}  // namespace

double VoltageGrid::FrequencyStep() const
{
    return std::numbers::pi / range;
}

VoltageDensity::VoltageDensity(const VoltageGrid& grid, const Characteristic& characteristic)
    : grid_(grid), below_(grid.bins), above_(grid.bins)
{
    const std::vector<double> bins = Bins(grid, characteristic);
    double sum = 0;
    for (std::size_t i = 0; i < bins.size(); ++i) {
        below_[i] = std::max(sum += bins[i], i > 0 ? below_[i - 1] : 0.0);
    }
    sum = 0;
    for (std::size_t i = bins.size() - 1; i-- > 0;) {
        above_[i] = std::max(sum += bins[i + 1], above_[i + 1]);
    }
}

double VoltageDensity::At(const std::vector<double>& tail, double volts) const
{
    const double place = (volts - grid_.Edge(0)) / grid_.BinHeight();
    const double bin = std::clamp(place, 0.0, static_cast<double>(tail.size() - 1) - 1e-9);
    const auto i = static_cast<std::size_t>(bin);
    const double part = bin - static_cast<double>(i);
    return tail[i] > 0 && tail[i + 1] > 0
               ? std::exp(std::lerp(std::log(tail[i]), std::log(tail[i + 1]), part))
               : std::lerp(tail[i], tail[i + 1], part);
}

double VoltageDensity::LowestWith(double probability) const
{
    const auto found = std::ranges::upper_bound(below_, probability);
    if (found == below_.begin() || found == below_.end()) {
        return grid_.Edge(found == below_.begin() ? 0 : below_.size() - 1);
    }
    const auto bin = static_cast<std::size_t>(found - below_.begin());
    return grid_.Edge(bin - 1) +
           grid_.BinHeight() * Between(below_[bin - 1], below_[bin], probability);
}

double VoltageDensity::HighestWith(double probability) const
{
    const auto found = std::ranges::upper_bound(above_.rbegin(), above_.rend(), probability);
    if (found == above_.rbegin() || found == above_.rend()) {
        return grid_.Edge(found == above_.rend() ? 0 : above_.size() - 1);
    }
    const auto bin = static_cast<std::size_t>(above_.rend() - found) - 1;
    return grid_.Edge(bin + 1) -
           grid_.BinHeight() * Between(above_[bin + 1], above_[bin], probability);
}

}  // namespace amisim
