#pragma once

#include <complex>
#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// The magnitude of a channel outside the frequencies of its data.
///
///  - Down to 0 Hz the better of ln |H| = c0 + c1 sqrt(f) (skin effect) and c0 + c1 f^2 (lumped
///    elements), with no gain at 0 Hz unless the data have one; or the power law of a high-pass.
///  - Beyond the last frequency the power law of the band's last fifth, never rising.
class Extrapolation
{
public:
    /// At least four points, of which one is not zero.
    explicit Extrapolation(const FrequencyResponse& data);

    /// ln |H| outside the data.
    double operator()(double frequency) const;

    /// ln |value|, but not less than where the magnitude is followed down to.
    double Log(const std::complex<double>& value) const;

    bool IsHighPass() const { return low_ == Low::HighPass; }
    double FallPerDecade() const { return 20.0 * fall_; }  ///< dB, beyond the data

private:
    enum class Low { Skin, Lumped, HighPass };
    void FitLowEnd(const FrequencyResponse& data, double largest);

    double floor_, first_, last_, logFirst_, logLast_, fall_;
    Low low_ = Low::Lumped;
    double slope_ = 0.0;
};

/// A channel's response on a regular grid of frequencies from 0 to half the sampling rate, with its
/// delay taken out.
struct ChannelSpectrum
{
    std::vector<std::complex<double>> values;
    double delay = 0.0;  ///< s
};

/// Within the data a spline through them, with their delay taken out. Outside, where they say
/// nothing, the extrapolated magnitude with the phase of the minimum-phase network that has it, so
/// that the extrapolation by itself is causal. `half` steps of `step` Hz reach to half the sampling
/// rate, which the data do not exceed.
ChannelSpectrum CompleteSpectrum(const FrequencyResponse& data, const Extrapolation& outside,
                                 std::size_t half, double step);

/// The real signal with this spectrum at 0 ... half the sampling rate: 2 (values - 1) samples from
/// time 0, of which the second half stands for what came before.
std::vector<double> TimeResponse(const std::vector<std::complex<double>>& values);

}  // namespace amisim
