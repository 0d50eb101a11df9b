#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/jitter/FrequencyMask.hpp"

namespace amisim {

/// "400 kHz", "4 MHz": three figures.
std::string FrequencyText(double frequency);

/// What is tried where the user names no frequencies: round values from a hundred-thousandth
/// to a hundredth of the bit rate, and the corners of the mask in between, rising.
std::vector<double> DefaultFrequencies(double bitRate, int perDecade,
                                       const std::optional<FrequencyMask>& mask);

}  // namespace amisim
