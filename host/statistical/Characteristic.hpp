#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

namespace amisim {

/// A characteristic function E exp(i w y) at w = n * step, n = 0, 1, ...; real and imaginary parts
/// apart, which compilers turn into wide instructions.
struct Characteristic
{
    explicit Characteristic(std::size_t size = 0) : real(size), imaginary(size) {}
    std::size_t Size() const { return real.size(); }
    void Clear()
    {
        std::ranges::fill(real, 0.0);
        std::ranges::fill(imaginary, 0.0);
    }

    std::vector<double> real, imaginary;
};

/// Adds that of a voltage that has certain values.
/// @param step  of the frequencies, rad/V
void AddValues(std::span<const double> volts, std::span<const double> weights, double step,
               Characteristic& sum);

/// Adds an independent Gaussian voltage of that variance, V squared.
void Spread(double variance, double step, Characteristic& of);

/// Multiplies real values at those frequencies.
void Scale(std::span<const double> by, Characteristic& of);

/// Multiplies values at n = 0, 1, ... by the mean of exp(i n angle level) over levels that lie
/// symmetrically about 0 and rise.
void MultiplyByMean(std::span<const double> levels, double angle, std::span<double> values);

/// sum += factor * a * b.
void AddProduct(double factor, const Characteristic& a, const Characteristic& b,
                Characteristic& sum);
/// sum += factor * a.
void AddScaled(double factor, const Characteristic& a, Characteristic& sum);

}  // namespace amisim
