#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "base/Names.hpp"

namespace base {

/// Complex numbers, their parts apart. Numbers that a transform meets at once lie whole pages from
/// each other, and would all want the same few lines of the processor's cache if each part began at
/// the same place in a page.
class ComplexRow
{
public:
    /// @param place  where in a page the row begins, in quarters: another one for a second row that
    ///               is used with a first
    explicit ComplexRow(std::size_t size = 0, std::size_t place = 0);
    ComplexRow(ComplexRow&&) = default;
    ComplexRow& operator=(ComplexRow&&) = default;

    std::span<double> real, imaginary;

private:
    std::vector<double> memory_;
};

/// Discrete Fourier transform of a power of two: of radix four, each pass in the order of the
/// memory (Stockham's algorithm; Van Loan, "Computational Frameworks for the Fast Fourier
/// Transform", section 1.7), so that the processor's vectors are made use of.
class Fft
{
public:
    /// @param size  a power of two
    explicit Fft(std::size_t size);

    /// Turns `size` values into their spectrum: the sum over n of x[n] exp(-2 pi i k n / size).
    void Forward(ComplexRow& x);

    /// Turns a spectrum into the values, times `size`.
    void Inverse(ComplexRow& x);

private:
    /// Turns each of `stride` sequences that lie side by side into four of a quarter of its length.
    struct Pass
    {
        std::size_t quarter, stride;
        std::vector<double> turns;  // by p: real and imaginary part of exp(-2 pi i j p / length),
                                    // j = 1, 2, 3
    };
    void Transform(ComplexRow& x, bool inverse);

    std::size_t size_;
    std::vector<Pass> passes_;
    ComplexRow spare_;
};

/// The same of real values, whose spectrum is told from 0 to half the rate: size / 2 + 1 numbers.
/// By a complex transform of half the size (Press et al., "Numerical Recipes", section 12.3).
class RealFft
{
public:
    using Spectrum = std::vector<std::complex<double>>;

    /// @param size  a power of two, 2 or more
    explicit RealFft(std::size_t size);

    /// @param values    at most `size`; zeros follow them
    /// @param spectrum  made as long as it has to be
    void Forward(std::span<const double> values, Spectrum& spectrum);

    /// Turns a spectrum into the values, not times `size`. The first and the last number are real:
    /// imaginary parts that they have are left out.
    void Inverse(const Spectrum& spectrum, std::vector<double>& values);

private:
    std::size_t half_;
    Fft fft_;
    ComplexRow row_;
    Spectrum turns_;  // exp(-pi i k / half), k up to half of it
};

}  // namespace base
