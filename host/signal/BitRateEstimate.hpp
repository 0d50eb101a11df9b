#pragma once

#include <cstdint>
#include <string>

#include "host/files/WavePoints.hpp"

namespace amisim {

/// The bit rate of a waveform, from the times at which it crosses its mean.
struct BitRateEstimate
{
    double bitRate = 0;          // bit/s
    double uncertainty = 0;      // ppm, standard deviation
    std::int64_t crossings = 0;  // of the mean
    double jitter = 0;           // of the crossings, rms, unit intervals
};

/// The shortest distances between crossings give a first unit interval; with it the distances are
/// counted in unit intervals, and the straight line of least squares through the crossings' times
/// over their numbers has the unit interval as its slope. A pattern without any single bit cannot
/// be told from one of a lower rate: the shortest run is taken for one bit.
/// @throws Error (kInput) when there are no times, fewer than 20 crossings or no common interval
BitRateEstimate EstimateBitRate(WavePoints& points);

}  // namespace amisim
