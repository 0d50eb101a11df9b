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

/// sum += factor * a * b.
void AddProduct(double factor, const Characteristic& a, const Characteristic& b,
                Characteristic& sum);
/// sum += factor * a.
void AddScaled(double factor, const Characteristic& a, Characteristic& sum);

}  // namespace amisim
