#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "host/statistical/Characteristic.hpp"

namespace amisim {

/// Equal bins from -range to range, and the frequencies that belong to them.
struct VoltageGrid
{
    double range = 1;       // V
    std::size_t bins = 16;  // a power of two

    double BinHeight() const { return 2 * range / static_cast<double>(bins); }  // V
    /// Upper edge of a bin, V.
    double Edge(std::size_t bin) const
    {
        return BinHeight() * (static_cast<double>(bin) + 0.5) - range;
    }
    double FrequencyStep() const;  // rad/V
    std::size_t Frequencies() const { return bins / 2 + 1; }
};

/// How likely a voltage lies below or above another. Below 1e-15 it is rounding.
class VoltageDensity
{
public:
    VoltageDensity(const VoltageGrid& grid, const Characteristic& characteristic);
    /// @param below, above  how likely the voltage is beyond each bin's upper edge
    VoltageDensity(const VoltageGrid& grid, std::vector<double> below, std::vector<double> above)
        : grid_(grid), below_(std::move(below)), above_(std::move(above))
    {
    }

    const VoltageGrid& Grid() const { return grid_; }
    const std::vector<double>& TailBelow() const { return below_; }
    const std::vector<double>& TailAbove() const { return above_; }

    double Below(double volts) const { return At(below_, volts); }
    double Above(double volts) const { return At(above_, volts); }

    /// Where Below reaches a probability, from the lowest voltage on; where Above does, from the
    /// highest on. V
    double LowestWith(double probability) const;
    double HighestWith(double probability) const;

private:
    double At(const std::vector<double>& tail, double volts) const;

    VoltageGrid grid_;
    std::vector<double> below_, above_;  // at the bins' upper edges
};

}  // namespace amisim
