#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/process/ModelSource.hpp"
#include "host/run/SimulationOptions.hpp"
#include "host/signal/EdgeJitter.hpp"
#include "host/signal/SignalChain.hpp"

namespace amisim {

/// The clock that goes with the data on a lane of its own, for a receiver that takes one in
/// (IBIS 7.1, Rx_Use_Clock_Input): 1 and 0 in turn, sent by the built-in transmitter with the bit
/// rate, swing, edges and jitter of the data, so that it has an edge wherever data may have one;
/// behind its lane without noise and crosstalk. A lane's delay is left out, like a channel's.
class ForwardedClock
{
public:
    /// Nothing for a receiver that takes none in, or where there is none to be had.
    /// @param first  of the link's segments
    /// @param notes  gets a sentence on that, and on the lane
    /// @throws Error as SignalChain, for the lane's file
    static std::unique_ptr<ForwardedClock> For(const SegmentOptions& own,
                                               const ModelSource& receiver, bool first,
                                               std::vector<std::string>& notes);

    /// To be called before the first Next(), where a transmitter's model sends the data.
    /// @param jitter  that it declares; UI and Hz
    void GoWithModel(const EdgeJitter::Declared& jitter);

    /// What the model finds in clock_times with its next block of so many samples, valid until the
    /// next call: the crossings of 0 V, in s, and -1 behind them, or the waveform, V.
    std::span<const double> Next(std::size_t samples);

    /// Values that clock_times has to have room for with blocks of so many samples.
    std::size_t Room(std::size_t samples) const { return isWave_ ? samples : 0; }

private:
    ForwardedClock(const SignalOptions& lane, bool isWave);
    std::span<const double> Crossings();

    SignalChain chain_;
    SignalSource* source_;
    bool isWave_;
    double interval_, samplesPerBit_;
    double before_ = 0, sample_ = 0;  // the value before, and the number of the next
    std::vector<double> wave_, times_;
};

}  // namespace amisim
