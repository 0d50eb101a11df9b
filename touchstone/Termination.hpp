#pragma once

#include <optional>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// What is between a port and ground, side by side.
struct PortEnd
{
    double ohms;
    double farads = 0.0;
};

/// What a line is driven from and ended in: resistances of each leg to ground, ohm. Where none is
/// given the end has the resistance of the ports' reference. Beside it each leg may have a
/// capacitance to ground.
struct Terminations
{
    std::optional<double> source, load;
    double sourceFarads = 0.0, loadFarads = 0.0;

    bool AreMatched() const { return !source && !load && sourceFarads == 0.0 && loadFarads == 0.0; }
    /// Of each leg of a line between references.
    PortEnd Source(double reference) const { return {source.value_or(reference), sourceFarads}; }
    PortEnd Load(double reference) const { return {load.value_or(reference), loadFarads}; }
};

/// Two ports that are driven or measured against each other, or one against ground.
struct PortPair
{
    int p, n = 0;
};

/// Voltage at `to` over half the open-circuit voltage of the sources at `from`, which is what they
/// send into a load of their own resistance: at matched ends that is S21, or SDD21 of pairs. `ends`
/// are those of all ports; a source is behind the resistance. All ports must have one reference
/// (see Renormalise), on which the result does not depend.
///
///     b = (1 - S G)^-1 S e,  V = (1 + G) b + e,  G = (R - Z0 d) / (R + Z0 d),  d = 1 + i w R C,
///     e = (1 - G) / d where driven
///
/// or, from one port of a line with two to the other,
/// S21 (1 - GS) (1 + GL) / ((1 - S11 GS) (1 - S22 GL) - S12 S21 GS GL).
FrequencyResponse Transfer(const SParameters& s, PortPair from, PortPair to,
                           const std::vector<PortEnd>& ends);

/// From a source to a load: as Through(s, ports) where they are matched, else with the waves that
/// go to and fro between both ends. A line of two ports has ends of one leg.
FrequencyResponse Through(const SParameters& s, const DifferentialPorts& ports,
                          const Terminations& ends);

}  // namespace amisim
