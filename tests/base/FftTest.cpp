#include "base/Fft.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <stdexcept>

namespace base {
namespace {

/// Neither even nor odd, and no two alike.
double Value(std::size_t n)
{
    return std::cos(0.7 * static_cast<double>(n * n) + 1) + 0.01 * static_cast<double>(n);
}

/// The sum that defines the transform; its angle is kept small, so that it is exact.
std::complex<double> Sum(const std::vector<std::complex<double>>& x, std::size_t k)
{
    std::complex<double> sum = 0;
    for (std::size_t n = 0; n < x.size(); ++n) {
        const auto turn = static_cast<double>(k * n % x.size()) / static_cast<double>(x.size());
        sum += x[n] * std::polar(1.0, -2 * std::numbers::pi * turn);
    }
    return sum;
}

constexpr double kRounding = 1e-13;  // of sums of some ten thousand

TEST(FftTest, IsTheSumThatDefinesItAndBack)
{
    for (std::size_t size = 1; size <= 1024; size *= 2) {
        std::vector<std::complex<double>> values(size);
        Fft fft(size);
        ComplexRow row(size);
        for (std::size_t n = 0; n < size; ++n) {
            values[n] = {Value(n), Value(n + size)};
            row.real[n] = values[n].real();
            row.imaginary[n] = values[n].imag();
        }
        const double rounding = kRounding * static_cast<double>(size);
        fft.Forward(row);
        for (std::size_t k = 0; k < size; ++k) {
            const std::complex<double> sum = Sum(values, k);
            ASSERT_NEAR(sum.real(), row.real[k], rounding) << size << " " << k;
            ASSERT_NEAR(sum.imag(), row.imaginary[k], rounding) << size << " " << k;
        }
        fft.Inverse(row);
        for (std::size_t n = 0; n < size; ++n) {
            ASSERT_NEAR(values[n].real(), row.real[n] / static_cast<double>(size), rounding);
            ASSERT_NEAR(values[n].imag(), row.imaginary[n] / static_cast<double>(size), rounding);
        }
    }
    EXPECT_THROW(Fft(12), std::invalid_argument);
}

TEST(FftTest, OfRealValuesIsHalfOfTheSpectrumWhoseEndsAreReal)
{
    for (std::size_t size = 2; size <= 1024; size *= 2) {
        RealFft fft(size);
        RealFft::Spectrum spectrum;
        std::vector<double> back;
        // Less each time: what the transform before has left behind must not come in.
        for (const std::size_t given : {size, size - 1, size / 2}) {
            std::vector<double> values;
            for (std::size_t n = 0; n < given; ++n) values.push_back(Value(n));
            std::vector<std::complex<double>> padded(values.begin(), values.end());
            padded.resize(size);
            fft.Forward(values, spectrum);
            ASSERT_EQ(size / 2 + 1, spectrum.size());
            const double rounding = kRounding * static_cast<double>(size);
            for (std::size_t k = 0; k < spectrum.size(); ++k) {
                ASSERT_NEAR(0, std::abs(Sum(padded, k) - spectrum[k]), rounding)
                    << given << " of " << size << ", " << k;
            }
            spectrum.front() += std::complex(0.0, 0.5);
            spectrum.back() -= std::complex(0.0, 0.5);
            fft.Inverse(spectrum, back);
            ASSERT_EQ(size, back.size());
            for (std::size_t n = 0; n < size; ++n)
                ASSERT_NEAR(padded[n].real(), back[n], rounding) << given << " of " << size;
        }
    }
}

}  // namespace
}  // namespace base
