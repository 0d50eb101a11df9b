#pragma once

#include <complex>
#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// Natural cubic spline through complex values at two or more rising places. It keeps references to
/// both lists.
class Spline
{
public:
    Spline(const std::vector<double>& x, const std::vector<std::complex<double>>& y);

    /// Beyond the ends the outermost piece goes on.
    std::complex<double> operator()(double at) const;

private:
    const std::vector<double>& x_;
    const std::vector<std::complex<double>>& y_;
    std::vector<std::complex<double>> curvature_;
};

/// Mean group delay (s), weighted by magnitude. A step in phase is taken to lie between -1.75 pi
/// and 0.25 pi, as delays are positive but for noise.
double MeanDelay(const FrequencyResponse& data);

/// The frequencies (Hz) at which networks are joined: of what all of them cover, the points of the
/// one that has most there, and both ends. Throws Error (kInput) where they have less than four
/// points in common.
std::vector<double> CommonGrid(const std::vector<SParameters>& networks);

/// A response at other frequencies by a spline with its mean delay taken out, so that a long line's
/// turning phase does no harm. Beyond its own frequencies the outermost piece of the spline goes
/// on.
FrequencyResponse OnGrid(FrequencyResponse data, const std::vector<double>& frequency);

/// The same of each term of a network, within its frequencies. At its own frequencies a network
/// stays as it is.
SParameters OnGrid(const SParameters& s, const std::vector<double>& frequency);

}  // namespace amisim
