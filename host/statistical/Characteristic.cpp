#include "host/statistical/Characteristic.hpp"

#include <algorithm>
#include <cmath>
#include <complex>

#include "base/AddMultiple.hpp"
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

/// Goes through weight * exp(i n angle), n = 0 ... size - 1, block after block: what its turns are
/// to be multiplied by, these, where it begins and how many there are.
template <typename Take>
void ForBlocks(double angle, double weight, std::size_t size, Take take)
{
    const Turns turns(angle);
    std::complex<double> turn;
    for (std::size_t begin = 0; begin < size; begin += kBlock) {
        // Now and then anew, so that rounding does not add up.
        turn = begin % (8 * kBlock) == 0 ? std::polar(weight, angle * static_cast<double>(begin))
                                         : turn * turns.block;
        take(turn, turns, begin, std::min(kBlock, size - begin));
    }
}

WIDE void AddTurned(double c, double s, const Turns& turns, std::size_t count, double* real,
                    double* imaginary)
{
    for (std::size_t i = 0; i < count; ++i) {
        real[i] += c * turns.real[i] - s * turns.imaginary[i];
        imaginary[i] += c * turns.imaginary[i] + s * turns.real[i];
    }
}

/// What AddTurned adds, in its real part.
WIDE void AddCosines(double c, double s, const Turns& turns, std::size_t count, double* sum)
{
    for (std::size_t i = 0; i < count; ++i) sum[i] += c * turns.real[i] - s * turns.imaginary[i];
}

WIDE void Multiply(const double* by, std::size_t count, double* values)
{
    for (std::size_t i = 0; i < count; ++i) values[i] *= by[i];
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
        ForBlocks(step * volts[value], weights[value], sum.Size(),
                  [&](std::complex<double> turn, const Turns& turns, std::size_t begin,
                      std::size_t count) {
                      AddTurned(turn.real(), turn.imag(), turns, count, sum.real.data() + begin,
                                sum.imaginary.data() + begin);
                  });
    }
}

void MultiplyByMean(std::span<const double> levels, double angle, std::span<double> values)
{
    // Those above 0, and the one at 0 where there is one, stand for themselves and their mirrors.
    const double share = 1.0 / static_cast<double>(levels.size());
    std::vector<double> mean(values.size(), levels.size() % 2 == 1 ? share : 0.0);
    for (std::size_t i = (levels.size() + 1) / 2; i < levels.size(); ++i) {
        ForBlocks(angle * levels[i], 2 * share, values.size(),
                  [&](std::complex<double> turn, const Turns& turns, std::size_t begin,
                      std::size_t count) {
                      AddCosines(turn.real(), turn.imag(), turns, count, mean.data() + begin);
                  });
    }
    Multiply(mean.data(), values.size(), values.data());
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

void Scale(std::span<const double> by, Characteristic& of)
{
    Multiply(by.data(), of.Size(), of.real.data());
    Multiply(by.data(), of.Size(), of.imaginary.data());
}

void AddProduct(double factor, const Characteristic& a, const Characteristic& b,
                Characteristic& sum)
{
    AddProductOf(factor, a.real.data(), a.imaginary.data(), b.real.data(), b.imaginary.data(),
                 sum.Size(), sum.real.data(), sum.imaginary.data());
}

void AddScaled(double factor, const Characteristic& a, Characteristic& sum)
{
    AddMultiple(factor, a.real, sum.real);
    AddMultiple(factor, a.imaginary, sum.imaginary);
}

}  // namespace amisim
