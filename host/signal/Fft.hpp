#pragma once

#include <cstddef>
#include <vector>

namespace amisim {

/// Complex numbers, their parts apart.
struct ComplexRow
{
    std::vector<double> real, imaginary;

    explicit ComplexRow(std::size_t size = 0) : real(size), imaginary(size) {}
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
    void Transform(std::vector<double>& real, std::vector<double>& imaginary);

    std::size_t size_;
    std::vector<Pass> passes_;
    ComplexRow spare_;
};

}  // namespace amisim
