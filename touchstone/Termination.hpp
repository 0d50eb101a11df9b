#pragma once

#include <optional>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// What a line is driven from and ended in: resistances of each leg to ground, ohm. Where none is
/// given the end is matched: it has the resistance of the ports' reference.
struct Terminations
{
    std::optional<double> source, load;

    bool AreMatched() const { return !source && !load; }
};

/// Two ports that are driven or measured against each other, or one against ground.
struct PortPair
{
    int p, n = 0;
};

/// Voltage at `to` over half the open-circuit voltage of the sources at `from`, which is what they
/// send into a load of their own resistance: at matched ends that is S21, or SDD21 of pairs. `ohms`
/// are the resistances of all ports to ground. All ports must have one reference (see Renormalise),
/// on which the result does not depend.
///
///     b = (1 - S G)^-1 S e,  V = (1 + G) b + e,  G = (R - Z0) / (R + Z0),  e = 1 - G where driven
///
/// or, from one port of a line with two to the other,
/// S21 (1 - GS) (1 + GL) / ((1 - S11 GS) (1 - S22 GL) - S12 S21 GS GL).
FrequencyResponse Transfer(const SParameters& s, PortPair from, PortPair to,
                           const std::vector<double>& ohms);

/// From a source to a load: as Through(s, ports) where they are matched, else with the waves that
/// go to and fro between both ends. A line of two ports has ends of one leg.
FrequencyResponse Through(const SParameters& s, const DifferentialPorts& ports,
                          const Terminations& ends);

}  // namespace amisim
