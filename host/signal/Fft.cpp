#include "host/signal/Fft.hpp"

#include <bit>
#include <cmath>
#include <numbers>
#include <stdexcept>

#include "base/Wide.hpp"

namespace amisim {
namespace {

/// From one row into another.
struct Rows
{
    const double *fromReal, *fromImaginary;
    double *toReal, *toImaginary;
};

/// The four-point transforms of a pass, one after the other where stride is 1.
[[gnu::always_inline]] inline void Fours(std::size_t quarter, std::size_t stride,
                                         const double* __restrict turns,
                                         const double* __restrict fromReal,
                                         const double* __restrict fromImaginary,
                                         double* __restrict toReal, double* __restrict toImaginary)
{
    const std::size_t apart = quarter * stride;
    for (std::size_t p = 0; p < quarter; ++p) {
        const double* const w = turns + 6 * p;
        for (std::size_t q = 0; q < stride; ++q) {
            const std::size_t from = p * stride + q, to = 4 * p * stride + q;
            const double *const a = fromReal + from, *const b = fromImaginary + from;
            const double evenReal = a[0] + a[2 * apart], evenImaginary = b[0] + b[2 * apart];
            const double gapReal = a[0] - a[2 * apart], gapImaginary = b[0] - b[2 * apart];
            const double oddReal = a[apart] + a[3 * apart], oddImaginary = b[apart] + b[3 * apart];
            // The other gap, a quarter of a turn on.
            const double turnedReal = b[apart] - b[3 * apart],
                         turnedImaginary = a[3 * apart] - a[apart];
            const double real1 = gapReal + turnedReal, imaginary1 = gapImaginary + turnedImaginary;
            const double real2 = evenReal - oddReal, imaginary2 = evenImaginary - oddImaginary;
            const double real3 = gapReal - turnedReal, imaginary3 = gapImaginary - turnedImaginary;
            double *const c = toReal + to, *const d = toImaginary + to;
            c[0] = evenReal + oddReal;
            d[0] = evenImaginary + oddImaginary;
            c[stride] = real1 * w[0] - imaginary1 * w[1];
            d[stride] = real1 * w[1] + imaginary1 * w[0];
            c[2 * stride] = real2 * w[2] - imaginary2 * w[3];
            d[2 * stride] = real2 * w[3] + imaginary2 * w[2];
            c[3 * stride] = real3 * w[4] - imaginary3 * w[5];
            d[3 * stride] = real3 * w[5] + imaginary3 * w[4];
        }
    }
}

// A stride that is known is worth a function of its own.
WIDE void Side1(std::size_t quarter, const double* turns, const Rows& rows)
{
    Fours(quarter, 1, turns, rows.fromReal, rows.fromImaginary, rows.toReal, rows.toImaginary);
}

WIDE void Side4(std::size_t quarter, const double* turns, const Rows& rows)
{
    Fours(quarter, 4, turns, rows.fromReal, rows.fromImaginary, rows.toReal, rows.toImaginary);
}

WIDE void SideBySide(std::size_t quarter, std::size_t stride, const double* turns, const Rows& rows)
{
    Fours(quarter, stride, turns, rows.fromReal, rows.fromImaginary, rows.toReal, rows.toImaginary);
}

/// The last pass where the size is no power of four.
WIDE void Twos(std::size_t stride, double* __restrict row)
{
    for (std::size_t q = 0; q < stride; ++q) {
        const double sum = row[q] + row[stride + q], gap = row[q] - row[stride + q];
        row[q] = sum;
        row[stride + q] = gap;
    }
}

}  // namespace

Fft::Fft(std::size_t size) : size_(size), spare_(size)
{
    if (!std::has_single_bit(size)) throw std::invalid_argument("Fft: no power of two");
    for (std::size_t length = size; length >= 4; length /= 4) {
        Pass pass{length / 4, size / length, {}};
        for (std::size_t p = 0; p < pass.quarter; ++p) {
            for (std::size_t j = 1; j <= 3; ++j) {
                const double angle = -2 * std::numbers::pi * static_cast<double>(j * p) /
                                     static_cast<double>(length);
                pass.turns.push_back(std::cos(angle));
                pass.turns.push_back(std::sin(angle));
            }
        }
        passes_.push_back(std::move(pass));
    }
}

void Fft::Forward(ComplexRow& x)
{
    Transform(x.real, x.imaginary);
}

void Fft::Inverse(ComplexRow& x)
{
    Transform(x.imaginary, x.real);  // i conj(x) is x with its parts exchanged
}

void Fft::Transform(std::vector<double>& real, std::vector<double>& imaginary)
{
    for (const Pass& pass : passes_) {
        const Rows rows{real.data(), imaginary.data(), spare_.real.data(), spare_.imaginary.data()};
        const double* const turns = pass.turns.data();
        if (pass.stride == 1) {
            Side1(pass.quarter, turns, rows);
        } else if (pass.stride == 4) {
            Side4(pass.quarter, turns, rows);
        } else {
            SideBySide(pass.quarter, pass.stride, turns, rows);
        }
        real.swap(spare_.real);
        imaginary.swap(spare_.imaginary);
    }
    if (std::countr_zero(size_) % 2 == 0) return;
    Twos(size_ / 2, real.data());
    Twos(size_ / 2, imaginary.data());
}

}  // namespace amisim
