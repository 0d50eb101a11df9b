#pragma once

#include <vector>

namespace amisim {

/// A filter that leaves white noise its rms and takes all of it that lies above a frequency: a sinc
/// under a Kaiser window (beta 8), sixteen of its zeros to either side. Sum of squares: 1.
/// @param frequency  cycles a sample, above 0; from 0.5 on there is nothing to take
std::vector<double> LowPass(double frequency);

}  // namespace amisim
