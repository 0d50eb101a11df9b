#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// A lane of a multi-port is a differential line: DifferentialPorts, of which all lanes have the
/// same ends on the same side.

/// Which one: by its number, from 1, in the map of lanes, or by its own ports.
struct LaneChoice
{
    int number = 1;
    std::optional<DifferentialPorts> ports = {};
};

/// A lane from which something couples into the victim's receiver: driven at the far end of that,
/// as the victim is, or near the receiver, at what would be the lane's own.
struct AggressorChoice
{
    LaneChoice lane;
    bool isNear = false;
    std::size_t element = 0;  ///< of a cascade, from 1, that it couples in alone; 0: in all of them
};

/// From "2", or from "1,3,2,4": transmitter's end P and N, receiver's end P and N. Throws Error
/// (kInput), as do the others.
LaneChoice ParseLane(const std::string& text);

/// From "2:fext", "5,7,6,8:next" or, of the third element of a cascade alone, "2:fext@3".
AggressorChoice ParseAggressor(const std::string& text);

/// All lanes from "1,3,2,4/5,7,6,8".
std::vector<DifferentialPorts> ParseLanes(const std::string& text);

/// Lanes of a multi-port by its through terms at 0 Hz, as for DetectPortOrder: legs from a port to
/// the one that it leads to, in the order of their lower ports, and two in succession are a pair.
/// That holds whether the ports count from leg to leg or from end to end.
std::vector<DifferentialPorts> DetectLanes(const SParameters& s);

/// Where a lane, from 0, of a network of so many lies in the order of a cascade (see Cascade.hpp).
DifferentialPorts CascadeLane(int lane, int lanes);

/// "1,3,2,4"
std::string ToText(const DifferentialPorts& lane);

}  // namespace amisim
