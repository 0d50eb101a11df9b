#pragma once

#include <span>
#include <vector>

namespace amisim {

/// A filter's weights, of which the first `lead` belong to times before 0.
struct LeadingTaps
{
    std::vector<double> taps;
    std::size_t lead = 0;
};

/// The filter by which one response became another.
struct Deconvolved
{
    LeadingTaps filter;
    double residual = 0;  // of before * filter - after, rms over that of `after`: 0 is perfect
};

/// Finds R so that before * R = after, both of one length, as B conj(A) / (|A|^2 + e^2 max |A|^2)
/// with e = 1e-5: where `before` holds nothing, nothing can be told of R, and it lets nothing
/// through. Without these frequencies even a causal filter begins before time 0; 1024 samples of
/// that are kept. A filter that is not linear, such as one that takes a decision feedback into
/// account, shows in the residual.
Deconvolved Deconvolve(std::span<const double> before, std::span<const double> after);

/// What the filter makes of a response: as long as that, from time 0 on.
std::vector<double> Convolved(std::span<const double> response, const LeadingTaps& filter);

}  // namespace amisim
