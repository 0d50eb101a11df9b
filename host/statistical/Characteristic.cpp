#include "host/statistical/Characteristic.hpp"

#include <algorithm>
#include <cmath>
#include <complex>

#include "base/Wide.hpp"

namespace amisim {
namespace {

constexpr std::size_t kBlock = 64;

/// exp(i n angle) for the n of a block.
struct Turns
{
    double real[kBlock], imaginary[kBlock];

    explicit Turns(double angle)
    {
        real[0] = 1;
        imaginary[0] = 0;
        std::complex<double> turn = std::polar(1.0, angle);
        for (std::size_t known = 1; known < kBlock; known *= 2, turn *= turn) {
            for (std::size_t i = 0; i < known; ++i) {
                real[known + i] = turn.real() * real[i] - turn.imag() * imaginary[i];
                imaginary[known + i] = turn.real() * imaginary[i] + turn.imag() * real[i];
            }
        }
        block = turn;
    }

    std::complex<double> block;  // what leads on to the next block
};

WIDE void AddTurned(double c, double s, const Turns& turns, std::size_t count, double* real,
                    double* imaginary)
{
    for (std::size_t i = 0; i < count; ++i) {
        real[i] += c * turns.real[i] - s * turns.imaginary[i];
        imaginary[i] += c * turns.imaginary[i] + s * turns.real[i];
    }
}

WIDE void AddProductOf(double factor, const double* aReal, const double* aImaginary,
                       const double* bReal, const double* bImaginary, std::size_t count,
                       double* real, double* imaginary)
{
    for (std::size_t i = 0; i < count; ++i) {
        real[i] += factor * (aReal[i] * bReal[i] - aImaginary[i] * bImaginary[i]);
        imaginary[i] += factor * (aReal[i] * bImaginary[i] + aImaginary[i] * bReal[i]);
    }
}

}  // namespace

void AddValues(std::span<const double> volts, std::span<const double> weights, double step,
               Characteristic& sum)
{
    for (std::size_t value = 0; value < volts.size(); ++value) {
        const double angle = step * volts[value];
        const Turns turns(angle);
        std::complex<double> turn;
        for (std::size_t begin = 0; begin < sum.Size(); begin += kBlock) {
            // Now and then anew, so that rounding does not add up.
            turn = begin % (8 * kBlock) == 0
                       ? std::polar(weights[value], angle * static_cast<double>(begin))
                       : turn * turns.block;
            AddTurned(turn.real(), turn.imag(), turns, std::min(kBlock, sum.Size() - begin),
                      sum.real.data() + begin, sum.imaginary.data() + begin);
        }
    }
}

void Spread(double variance, double step, Characteristic& of)
{
    for (std::size_t n = 0; variance > 0 && n < of.Size(); ++n) {
        const double frequency = step * static_cast<double>(n);
        const double left = std::exp(-0.5 * variance * frequency * frequency);
        of.real[n] *= left;
        of.imaginary[n] *= left;
    }
}

void AddProduct(double factor, const Characteristic& a, const Characteristic& b,
                Characteristic& sum)
{
    AddProductOf(factor, a.real.data(), a.imaginary.data(), b.real.data(), b.imaginary.data(),
                 sum.Size(), sum.real.data(), sum.imaginary.data());
}

void AddScaled(double factor, const Characteristic& a, Characteristic& sum)
{
    for (std::size_t i = 0; i < sum.Size(); ++i) {
        sum.real[i] += factor * a.real[i];
        sum.imaginary[i] += factor * a.imaginary[i];
    }
}

}  // namespace amisim
