#include "base/Fft.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <stdexcept>
#include <utility>

#include "base/Wide.hpp"

namespace base {
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

/// exp(-2 pi i k / size) for a size that is a power of two: the first eighth of the circle, of
/// which the others are mirror images.
class Circle
{
public:
    explicit Circle(std::size_t size) : quarter_(std::max<std::size_t>(size / 4, 2))
    {
        for (std::size_t k = 0; k <= quarter_ / 2; ++k) {
            const double angle =
                std::numbers::pi / 2 * static_cast<double>(k) / static_cast<double>(quarter_);
            eighth_.emplace_back(std::cos(angle), -std::sin(angle));
        }
        fine_ = 4 * quarter_ / size;
    }

    std::complex<double> At(std::size_t k) const
    {
        k *= fine_;
        const std::size_t rest = k % quarter_;
        const bool mirrored = rest > quarter_ / 2;
        const std::complex<double> first = eighth_[mirrored ? quarter_ - rest : rest];
        const double x = mirrored ? -first.imag() : first.real();
        const double y = mirrored ? -first.real() : first.imag();
        switch (k / quarter_ % 4) {
            case 0:
                return {x, y};
            case 1:
                return {y, -x};
            case 2:
                return {-x, -y};
            default:
                return {-y, x};
        }
    }

private:
    std::size_t quarter_, fine_;
    std::vector<std::complex<double>> eighth_;
};

}  // namespace

ComplexRow::ComplexRow(std::size_t size, std::size_t place)
{
    constexpr std::size_t kPage = 4096 / sizeof(double), kQuarter = kPage / 4;
    const std::size_t apart = (size + kPage - 1) / kPage * kPage + kQuarter;
    memory_.resize(apart + size + 2 * kPage);
    const auto begins = reinterpret_cast<std::uintptr_t>(memory_.data()) / sizeof(double) % kPage;
    const std::span<double> page = std::span(memory_).subspan(kPage - begins + place * kQuarter);
    real = page.first(size);
    imaginary = page.subspan(apart, size);
}

Fft::Fft(std::size_t size) : size_(size), spare_(size, 2)
{
    if (!std::has_single_bit(size)) throw std::invalid_argument("Fft: no power of two");
    const Circle circle(size);
    for (std::size_t length = size; length >= 4; length /= 4) {
        Pass pass{length / 4, size / length, {}};
        pass.turns.reserve(6 * pass.quarter);
        for (std::size_t p = 0; p < pass.quarter; ++p) {
            for (std::size_t j = 1; j <= 3; ++j) {
                const std::complex<double> turn = circle.At(j * p * pass.stride);
                pass.turns.push_back(turn.real());
                pass.turns.push_back(turn.imag());
            }
        }
        passes_.push_back(std::move(pass));
    }
}

void Fft::Forward(ComplexRow& x)
{
    Transform(x, false);
}

void Fft::Inverse(ComplexRow& x)
{
    Transform(x, true);
}

void Fft::Transform(ComplexRow& x, bool inverse)
{
    // The inverse is the same with the parts exchanged: i conj(x).
    const auto real = inverse ? &ComplexRow::imaginary : &ComplexRow::real;
    const auto imaginary = inverse ? &ComplexRow::real : &ComplexRow::imaginary;
    for (const Pass& pass : passes_) {
        const Rows rows{(x.*real).data(), (x.*imaginary).data(), (spare_.*real).data(),
                        (spare_.*imaginary).data()};
        const double* const turns = pass.turns.data();
        if (pass.stride == 1) {
            Side1(pass.quarter, turns, rows);
        } else if (pass.stride == 4) {
            Side4(pass.quarter, turns, rows);
        } else {
            SideBySide(pass.quarter, pass.stride, turns, rows);
        }
        std::swap(x, spare_);
    }
    if (std::countr_zero(size_) % 2 == 0) return;
    Twos(size_ / 2, x.real.data());
    Twos(size_ / 2, x.imaginary.data());
}

RealFft::RealFft(std::size_t size) : half_(size / 2), fft_(half_), row_(half_)
{
    const Circle circle(size);
    turns_.reserve(half_ / 2 + 1);
    for (std::size_t k = 0; k <= half_ / 2; ++k) turns_.push_back(circle.At(k));
}

// Values of even and of odd number are the parts of complex ones, whose spectrum z is that of the
// even ones, (z[k] + conj(z[-k])) / 2, and i times that of the odd ones.

void RealFft::Forward(std::span<const double> values, Spectrum& spectrum)
{
    const std::size_t pairs = values.size() / 2;
    for (std::size_t n = 0; n < pairs; ++n) {
        row_.real[n] = values[2 * n];
        row_.imaginary[n] = values[2 * n + 1];
    }
    std::ranges::fill(row_.real.subspan(pairs), 0.0);
    std::ranges::fill(row_.imaginary.subspan(pairs), 0.0);
    if (values.size() % 2 != 0) row_.real[pairs] = values.back();
    fft_.Forward(row_);

    spectrum.resize(half_ + 1);
    for (std::size_t k = 0; k <= half_ / 2; ++k) {
        const std::size_t other = (half_ - k) % half_;
        const double evenReal = 0.5 * (row_.real[k] + row_.real[other]);
        const double evenImaginary = 0.5 * (row_.imaginary[k] - row_.imaginary[other]);
        const double oddReal = 0.5 * (row_.imaginary[k] + row_.imaginary[other]);
        const double oddImaginary = 0.5 * (row_.real[other] - row_.real[k]);
        const double turnedReal = oddReal * turns_[k].real() - oddImaginary * turns_[k].imag();
        const double turnedImaginary = oddReal * turns_[k].imag() + oddImaginary * turns_[k].real();
        spectrum[k] = {evenReal + turnedReal, evenImaginary + turnedImaginary};
        spectrum[half_ - k] = {evenReal - turnedReal, turnedImaginary - evenImaginary};
    }
}

void RealFft::Inverse(const Spectrum& spectrum, std::vector<double>& values)
{
    const double part = 0.5 / static_cast<double>(half_);
    for (std::size_t k = 0; k <= half_ / 2; ++k) {
        std::complex<double> low = part * spectrum[k], high = part * spectrum[half_ - k];
        if (k == 0) low = low.real(), high = high.real();
        const double evenReal = low.real() + high.real(), evenImaginary = low.imag() - high.imag();
        const double gapReal = low.real() - high.real(), gapImaginary = low.imag() + high.imag();
        const double oddReal = gapReal * turns_[k].real() + gapImaginary * turns_[k].imag();
        const double oddImaginary = gapImaginary * turns_[k].real() - gapReal * turns_[k].imag();
        row_.real[k] = evenReal - oddImaginary;
        row_.imaginary[k] = evenImaginary + oddReal;
        if (k == 0) continue;
        row_.real[half_ - k] = evenReal + oddImaginary;
        row_.imaginary[half_ - k] = oddReal - evenImaginary;
    }
    fft_.Inverse(row_);

    values.resize(2 * half_);
    for (std::size_t n = 0; n < half_; ++n) {
        values[2 * n] = row_.real[n];
        values[2 * n + 1] = row_.imaginary[n];
    }
}

}  // namespace base
