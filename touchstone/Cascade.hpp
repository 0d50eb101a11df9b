#pragma once

#include <string>
#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// Lines behind each other. Here the ports of a network have an order: first those of its legs at
/// the transmitter's end, then those of the same legs at the receiver's; 1 2 | 3 4 for a pair, of
/// which 1 leads to 3 and 2 to 4.
inline constexpr DifferentialPorts kCascadePorts = kPorts13_24;

/// The network between these of its ports, counted from 1, in this order; the others are ended in
/// their references.
SParameters Ordered(const SParameters& s, const std::vector<int>& ports);

/// As many legs as told, which is a multiple of those that the network has: it stands there once
/// for each of them, without any coupling between its copies. A single line becomes a pair.
SParameters WithLegs(const SParameters& s, int legs);

/// Networks of as many legs each, at the same frequencies, one behind the other, by the star
/// product of Redheffer: what chain (T) matrices say, but also where hardly anything goes through.
/// All are first taken to the reference of the first's port 1. Throws Error (kInput) where the two
/// resonate without any loss.
SParameters Cascade(const SParameters& first, const SParameters& second);

/// Any number of networks from the transmitter to the receiver, on their common grid (see
/// CommonGrid) and with the legs of the one that has most. A single one stays as it is.
SParameters Cascade(const std::vector<SParameters>& networks);

}  // namespace amisim
