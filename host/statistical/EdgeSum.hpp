#pragma once

#include <vector>

#include "host/statistical/BoundaryJitter.hpp"
#include "host/statistical/Characteristic.hpp"
#include "host/statistical/StepResponse.hpp"
#include "host/statistical/SymbolTrellis.hpp"

namespace amisim {

/// The voltage at an instant as a sum over all edges of the transmitter:
///
///     y(t) = u[-inf] s(inf) + sum over k of (u[k] - u[k-1]) s(t - k - tau[k])
///
/// with u the levels driven, s the response to a step, tau the jitter, and time in unit intervals.
/// Edge after edge, a characteristic function is kept for each state of the trellis, so that the
/// sum is exact for jitter of any size that is independent from boundary to boundary. What the
/// boundaries have in common (a sine, even and odd) is averaged over its phases. Symbols so long
/// ago that each moves the voltage by less than a sixteenth of a bin are taken together as a
/// Gaussian.
///
/// The principle is that of V. Stojanovic and M. Horowitz, "Modeling and analysis of high-speed
/// links", CICC 2003, for edges instead of pulses.
class EdgeSum
{
public:
    EdgeSum(SymbolTrellis trellis, StepResponse response, const BoundaryJitter& jitter);

    const SymbolTrellis& Trellis() const { return trellis_; }
    const StepResponse& Response() const { return response_; }

    struct Range
    {
        double low, high;  // V
    };
    /// The lowest and the highest voltage for each symbol at a time (UI) after the boundary where
    /// it begins, without jitter: peak distortion analysis.
    std::vector<Range> Extremes(double time) const;

    /// The characteristic function for each symbol at that time.
    /// @param step  of the frequencies, rad/V; `size` of them
    std::vector<Characteristic> At(double time, double step, std::size_t size) const;

private:
    /// Boundaries that have begun at that time and whose symbols still move it by more than that.
    struct Boundaries
    {
        int first, last;
    };
    Boundaries Active(double time, double volts) const;

    /// The part of the jitter that the boundaries have in common, at one of its phases.
    struct Common
    {
        double evenOdd = 0;
        std::vector<double> phases = {};  // of each sine at boundary 0
    };
    double Late(const Common& common, int boundary) const;
    double ClockLate(const Common& common) const;
    double Reach() const;

    template <typename Value>
    void PartBySymbol(std::vector<std::vector<Value>>& all, const Value& nothing) const;
    std::size_t Mirrored(std::size_t change) const;

    using States = std::vector<Characteristic>;
    std::vector<Characteristic> EdgesAt(double time, double step, std::size_t size) const;
    void Step(States& states, const std::vector<Characteristic>& edges, States& spare) const;
    void AddWith(const Common& common, double time, double step, double weight,
                 std::vector<Characteristic>& sum) const;

    SymbolTrellis trellis_;
    StepResponse response_;
    BoundaryJitter jitter_;
    JitterNodes nodes_;
    std::vector<Common> commons_;
    std::vector<double> cursors_;  // V: the most that a level driven so many UI before does
};

}  // namespace amisim
