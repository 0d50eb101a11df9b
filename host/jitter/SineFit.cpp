#include "host/jitter/SineFit.hpp"

#include <Eigen/Dense>
#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>
#include <unsupported/Eigen/FFT>

#include "base/StraightLine.hpp"

namespace amisim {
namespace {

/// Less the straight line of least squares through them.
std::vector<double> WithoutLine(std::span<const double> values)
{
    StraightLine line;
    for (std::size_t i = 0; i < values.size(); ++i) line.Add(static_cast<double>(i), values[i]);
    std::vector<double> rest(values.begin(), values.end());
    for (std::size_t i = 0; i < rest.size(); ++i) rest[i] -= line.At(static_cast<double>(i));
    return rest;
}

}  // namespace

std::complex<double> FitSine(std::span<const double> time, std::span<const double> value,
                             double frequency)
{
    const double middle = (time.front() + time.back()) / 2;
    const double half = std::max((time.back() - time.front()) / 2, 1e-300);
    Eigen::Matrix4d squares = Eigen::Matrix4d::Zero();
    Eigen::Vector4d products = Eigen::Vector4d::Zero();
    for (std::size_t i = 0; i < time.size(); ++i) {
        const double angle = 2 * std::numbers::pi * frequency * time[i];
        const Eigen::Vector4d row(1, (time[i] - middle) / half, std::sin(angle), std::cos(angle));
        squares.noalias() += row * row.transpose();
        products += row * value[i];
    }
    const Eigen::Vector4d found = squares.ldlt().solve(products);
    return {found[2], found[3]};
}

BandJitter JitterInBand(std::span<const double> values, double rate, double low, double high)
{
    BandJitter found;
    if (values.size() < 4) return found;
    std::vector<double> rest = WithoutLine(values.first(std::bit_floor(values.size())));
    const std::size_t count = rest.size();
    std::vector<std::complex<double>> spectrum;
    Eigen::FFT<double> transform;
    transform.fwd(spectrum, rest);
    for (std::size_t k = 0; k < count; ++k) {
        const double frequency =
            rate * static_cast<double>(std::min(k, count - k)) / static_cast<double>(count);
        if (frequency < low || frequency > high) spectrum[k] = 0;
    }
    transform.inv(rest, spectrum);
    const std::span middle = std::span(rest).subspan(count / 16, count - count / 8);
    double squares = 0;
    for (const double v : middle) squares += v * v;
    const auto [least, greatest] = std::ranges::minmax(middle);
    found.rms = std::sqrt(squares / static_cast<double>(middle.size()));
    found.peakToPeak = greatest - least;
    return found;
}

}  // namespace amisim
