#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "host/channel/ChannelGrade.hpp"
#include "host/channel/ChannelNetwork.hpp"

namespace amisim {

/// A channel as a causal sampled impulse response: out[n] = sum over k of taps[k] in[n - delay -
/// k].
struct ChannelResponse
{
    double sampleInterval = 0.0;   ///< s
    std::size_t delay = 0;         ///< samples before taps[0]
    std::vector<double> taps;      ///< V/V, dimensionless
    double shift = 0.0;            ///< s by which the response was moved (at most half a sample)
                                   ///< so that its delay is a whole number of samples
    double dcGain = 0.0;           ///< extrapolated where the data do not reach down to 0 Hz
    double removedFraction = 0.0;  ///< share of the energy that came before the main delay and was
                                   ///< removed: how far from causal the data were
    PeakGain peak;                 ///< of the data: a gain above 1 is not passive
    std::optional<DifferentialPorts> ports;  ///< of files with four, if all agree
    std::optional<ModeOrder> modes;          ///< of files that were read as mixed-mode data
    std::optional<ChannelGrade> grade;       ///< of a file of S parameters
    std::vector<std::string> notes;          ///< what a user should know, one sentence each
};

/// From a transfer function at discrete frequencies to an impulse response at sampleInterval (s).
///
///  - The data are continued to 0 Hz and to half the sampling rate (see ChannelSpectrum.hpp).
///  - The delay is rounded to whole samples: a lossless line whose impulse falls between samples
///    would otherwise ring before its own arrival. A receiver recovers its own clock and cannot
///    tell.
///  - What precedes the main delay is removed and its share of the energy reported, unless it is
///    larger than a hundredth of the peak and so a path of its own; what comes before time 0 is
///    removed in any case.
///  - The response ends where the data's frequency step resolves no more (half of 1 / step), or
///    earlier where less than 1e-9 of the energy and a thousandth of the largest gain is left. What
///    its sum then lacks of the gain at 0 Hz is restored (see SlowTail.hpp), or said where it is
///    too much for that, as behind a capacitor.
///
/// Throws Error (kInput) on fewer than four frequencies or on a response of zero.
ChannelResponse MakeChannelResponse(const FrequencyResponse& response, double sampleInterval);

/// The same from Touchstone files: SDD21, or S21 of a two-port, graded; several are one behind the
/// other. `peak` is that of the whole multi-port. Throws Error with the file's name.
ChannelResponse ReadChannel(const std::vector<std::filesystem::path>& files,
                            const ChannelReading& reading, double sampleInterval);

/// The same from a network that has been read; `name` is for errors.
ChannelResponse MakeChannel(const ChannelNetwork& network, const std::string& name,
                            const ChannelReading& reading, double sampleInterval);

}  // namespace amisim
