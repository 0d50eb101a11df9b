#include "host/signal/Convolver.hpp"

#include <algorithm>
#include <bit>
#include <complex>
#include <unsupported/Eigen/FFT>

namespace amisim {

struct Convolver::Fft
{
    Eigen::FFT<double> transform;
    std::vector<std::complex<double>> response, spectrum;
};

Convolver::Convolver(SignalSource& input, std::span<const double> impulse) : input_(input)
{
    if (impulse.size() <= 1) {
        gain_ = impulse.empty() ? 0 : impulse[0];
        return;
    }
    past_ = impulse.size() - 1;
    const std::size_t size = past_ + Block(impulse.size());
    window_.assign(size, 0.0);
    output_.assign(size, 0.0);
    fft_ = std::make_unique<Fft>();
    fft_->transform.SetFlag(Eigen::FFT<double>::HalfSpectrum);
    std::ranges::copy(impulse, window_.begin());
    fft_->transform.fwd(fft_->response, window_);
    std::ranges::fill(window_, 0.0);
}

Convolver::~Convolver() = default;

std::size_t Convolver::Block(std::size_t taps)
{
    if (taps <= 1) return 1;
    return std::bit_ceil(std::max<std::size_t>(4 * (taps - 1), 1024)) - (taps - 1);
}

void Convolver::Refill()
{
    const auto fresh = std::span(window_).subspan(past_);
    std::copy(window_.end() - static_cast<std::ptrdiff_t>(past_), window_.end(), window_.begin());
    ready_ = input_.Read(fresh);
    std::ranges::fill(fresh.subspan(ready_), 0.0);
    taken_ = 0;
    fft_->transform.fwd(fft_->spectrum, window_);
    for (std::size_t k = 0; k < fft_->spectrum.size(); ++k) fft_->spectrum[k] *= fft_->response[k];
    fft_->transform.inv(output_, fft_->spectrum, static_cast<Eigen::Index>(output_.size()));
}

std::size_t Convolver::Read(std::span<double> out)
{
    if (!fft_) {
        const std::size_t count = input_.Read(out);
        for (double& sample : out.first(count)) sample *= gain_;
        return count;
    }
    std::size_t done = 0;
    while (done < out.size()) {
        if (taken_ == ready_) {
            if (ready_ != 0 && ready_ < window_.size() - past_) break;  // the input has ended
            Refill();
            if (ready_ == 0) break;
        }
        const std::size_t count = std::min(out.size() - done, ready_ - taken_);
        const auto from = output_.begin() + static_cast<std::ptrdiff_t>(past_ + taken_);
        std::copy_n(from, count, out.begin() + static_cast<std::ptrdiff_t>(done));
        taken_ += count;
        done += count;
    }
    return done;
}

}  // namespace amisim
