#pragma once

#include <string>
#include <vector>

#include "touchstone/SParameters.hpp"

namespace amisim {

/// How far a measured channel can be trusted with a signal: parts of one, each with the limit
/// beyond which the simulation would be about something else than the file. Where frequencies are
/// weighted, it is by the power of a non-return-to-zero signal there, sinc^2(f / bit rate).
struct ChannelGrade
{
    double band = 0.0;         ///< of the signal's power, within the data's frequencies
    double passivity = 0.0;    ///< mean power that comes out beyond what goes in, in the worst
                               ///< direction: the greatest gain's square less 1, where above 0
    double reciprocity = 0.0;  ///< energy of Sij - Sji over that of Sij and Sji; a term that is
                               ///< zero one way has not been measured and does not count
    double causality = 0.0;    ///< of the response's energy, removed before the main delay

    /// Half the bit rate holds 77 % of the power: what misses more was never measured where the
    /// signal is.
    static constexpr double kLeastBand = 0.7;
    /// A gain of 1.025 throughout. Calibration leaves thousandths; an amplifier is far beyond.
    static constexpr double kMostPassivity = 0.05;
    /// Sij and Sji unlike by a seventh of their magnitude. Noise leaves thousandths of the energy.
    static constexpr double kMostReciprocity = 0.02;
    /// An error of -17 dB to the response. What a limited band leaves is below 0.1 %.
    static constexpr double kMostCausality = 0.02;

    /// A clause with both numbers for each limit that is not kept.
    std::vector<std::string> Faults() const;

    std::string ToText() const;
};

/// `gains` as GreatestGains; `removed` as ChannelResponse::removedFraction; the bit rate in bit/s.
ChannelGrade Grade(const SParameters& s, const std::vector<double>& gains, double removed,
                   double bitRate);

}  // namespace amisim
