#include "host/signal/Convolver.hpp"

#include <algorithm>
#include <bit>

#include "base/Fft.hpp"
#include "base/Wide.hpp"

namespace amisim {
namespace {

/// Of the size of a transform: that of the response and what it is applied to.
std::size_t SizeFor(std::size_t taps)
{
    return std::bit_ceil(std::max<std::size_t>(4 * (taps - 1), 1024));
}

WIDE void Multiply(std::size_t size, const double* __restrict otherReal,
                   const double* __restrict otherImaginary, double* __restrict real,
                   double* __restrict imaginary)
{
    for (std::size_t k = 0; k < size; ++k) {
        const double product = real[k] * otherReal[k] - imaginary[k] * otherImaginary[k];
        imaginary[k] = real[k] * otherImaginary[k] + imaginary[k] * otherReal[k];
        real[k] = product;
    }
}

}  // namespace

/// Two windows that follow on each other are transformed as one of complex numbers: a response
/// that is real keeps them apart.
struct Convolver::Transformed
{
    explicit Transformed(std::size_t size) : fft(size), response(size), windows(size) {}

    Fft fft;
    ComplexRow response, windows;
};

Convolver::Convolver(SignalSource& input, std::span<const double> impulse) : input_(input)
{
    if (impulse.size() <= 1) {
        gain_ = impulse.empty() ? 0 : impulse[0];
        return;
    }
    past_ = impulse.size() - 1;
    const std::size_t size = SizeFor(impulse.size());
    samples_.assign(past_ + Block(impulse.size()), 0.0);
    transformed_ = std::make_unique<Transformed>(size);
    const std::span<double> real = transformed_->response.real;
    // The inverse transform leaves out the division by its size.
    std::ranges::transform(impulse, real.begin(),
                           [size](double tap) { return tap / static_cast<double>(size); });
    transformed_->fft.Forward(transformed_->response);
}

Convolver::~Convolver() = default;

std::size_t Convolver::Block(std::size_t taps)
{
    return taps <= 1 ? 1 : 2 * (SizeFor(taps) - (taps - 1));
}

/// @param most  samples that are asked for at once
void Convolver::Refill(std::size_t most)
{
    const auto fresh = std::span(samples_).subspan(past_);
    std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(ready_), past_, samples_.begin());
    const std::size_t asked = ahead_ ? fresh.size() : std::min(most, fresh.size());
    ready_ = input_.Read(fresh.first(asked));
    ended_ = ready_ < asked;
    std::ranges::fill(fresh.subspan(ready_), 0.0);
    taken_ = 0;

    auto& [fft, response, windows] = *transformed_;
    const std::size_t size = windows.real.size(), half = fresh.size() / 2;
    std::copy_n(samples_.begin(), size, windows.real.begin());
    std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(half), size,
                windows.imaginary.begin());
    fft.Forward(windows);
    Multiply(size, response.real.data(), response.imaginary.data(), windows.real.data(),
             windows.imaginary.data());
    fft.Inverse(windows);
}

std::size_t Convolver::Read(std::span<double> out)
{
    if (!transformed_) {
        const std::size_t count = input_.Read(out);
        for (double& sample : out.first(count)) sample *= gain_;
        return count;
    }
    const std::size_t all = samples_.size() - past_, half = all / 2;
    std::size_t done = 0;
    while (done < out.size()) {
        if (taken_ == ready_) {
            if (ended_) break;
            Refill(out.size() - done);
            if (ready_ == 0) break;
        }
        const bool second = taken_ >= half;
        const std::span<double> made =
            second ? transformed_->windows.imaginary : transformed_->windows.real;
        const std::size_t place = second ? taken_ - half : taken_;
        const std::size_t end = second ? ready_ : std::min(ready_, half);
        const std::size_t count = std::min(out.size() - done, end - taken_);
        std::copy_n(made.begin() + static_cast<std::ptrdiff_t>(past_ + place), count,
                    out.begin() + static_cast<std::ptrdiff_t>(done));
        taken_ += count;
        done += count;
    }
    return done;
}

}  // namespace amisim
