#pragma once

#include <memory>
#include <span>
#include <vector>

#include "host/signal/SignalSource.hpp"

namespace amisim {

/// Passes a signal through a channel given by its impulse response (filter weights): streaming
/// convolution by overlap-save, exact to rounding, without delay. The input is silent before time
/// 0. An ending input ends the output at the same sample.
class Convolver : public SignalSource
{
public:
    Convolver(SignalSource& input, std::span<const double> impulse);
    ~Convolver() override;

    std::size_t Read(std::span<double> out) override;

    /// Whether the input is taken in whole blocks, as it is at first; else no sample of it before a
    /// sample of the output needs it, which takes longer.
    void ReadAhead(bool ahead) { ahead_ = ahead; }

    /// Samples of the input that are taken at once for an impulse response of so many taps.
    static std::size_t Block(std::size_t taps);

private:
    struct Transformed;
    void Refill(std::size_t most);

    SignalSource& input_;
    double gain_ = 0;  // of an impulse response that is one sample long: no transform then
    std::unique_ptr<Transformed> transformed_;
    std::vector<double> samples_;  // the last taps - 1 of the past, then the new ones
    std::size_t past_ = 0;
    std::size_t ready_ = 0, taken_ = 0;  // of the new samples
    bool ahead_ = true, ended_ = false;
};

}  // namespace amisim
