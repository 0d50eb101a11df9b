#pragma once

#include <cstddef>
#include <span>

namespace amisim {

/// A waveform that is made as it is read: one voltage a sample, from the first sample on. Sources
/// are chained: transmitter, channel, noise.
class SignalSource
{
public:
    virtual ~SignalSource() = default;

    /// Writes the next samples. Returns how many; fewer than asked for only at the signal's end.
    virtual std::size_t Read(std::span<double> out) = 0;
};

}  // namespace amisim
