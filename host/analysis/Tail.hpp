#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "host/analysis/Findings.hpp"

namespace amisim {

/// The upper tail of the normal distribution, Q(x) = erfc(x / sqrt 2) / 2, and its inverse (for
/// probabilities from 1e-300 to 1 - 1e-16).
double Q(double x);
double InverseQ(double probability);

/// One side of an eye as it was counted: how many events reach how far into the eye. Events are
/// crossings of a threshold against phase, or voltages of one decided level.
class Tail
{
public:
    /// @param bins    events, the innermost bin first
    /// @param first   inner edge of that bin: a phase or a voltage
    /// @param step    from bin to bin, outwards: negative where the eye lies above
    /// @param trials  decisions that the events stand for: error ratios are events over trials
    Tail(const std::vector<std::uint64_t>& bins, double first, double step, double trials);

    double Total() const { return inside_.back(); }  // events
    double Trials() const { return trials_; }

    /// Part of the trials whose event reaches further in than x, counted; even within a bin.
    double CountedRatio(double x) const;

    /// How far out the eye is open when at most so many events may reach further in.
    double Reach(double events) const;

    /// The outermost place that fewer than ten events reach is the last that counting can tell.
    static constexpr double kFewest = 10;
    bool Counts(double errorRatio) const { return errorRatio * trials_ >= kFewest - 0.5; }

    /// Fits a Gaussian to the tail, as a straight line on the Q scale: where Q^-1(ratio / weight)
    /// is plotted against x, a Gaussian of that weight gives a straight line with slope 1 / sigma
    /// through the mean. Fitted are error ratios between 10 events and 5 % of all events.
    ///
    /// The weight is part of the fit ("normalised Q scale"): all events for one Gaussian, half of
    /// them for the two equal ones of the dual-Dirac model, or between, wherever the count at the
    /// mean is half of the weight; less than a half where the tail bends so much that only this
    /// explains it. Nothing when the tail has too few events or falls off within so few bins that
    /// it has no width.
    std::optional<TailFit> Fit() const;

    /// +1 when the eye lies at greater x than the tail.
    double Inwards() const { return step_ < 0 ? 1 : -1; }

private:
    double first_, step_, trials_;
    std::vector<double> inside_;  // events inside the inner edge of each bin, and of all of them
};

/// Error ratio at x after a fit; `inwards` as Tail::Inwards.
double FittedRatio(const TailFit& fit, double inwards, double x);
/// Where the fit has that error ratio.
double FittedReach(const TailFit& fit, double inwards, double errorRatio);

}  // namespace amisim
