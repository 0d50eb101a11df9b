#pragma once

#include <array>
#include <complex>
#include <cstddef>
#include <string>
#include <vector>

namespace amisim {

/// A transfer function at rising frequencies (Hz); both of one length.
struct FrequencyResponse
{
    std::vector<double> frequency;
    std::vector<std::complex<double>> value;
};

/// What a file says of differential and common waves: version 1 has but its remarks for them.
enum class ModeHints {
    None,
    Named,  ///< in remarks; the values may be mixed-mode
    Stated  ///< and turned into single-ended while reading
};

/// Scattering parameters of a multi-port. Ports are counted from 1, as in the field.
struct SParameters
{
    int ports = 0;
    std::vector<double> frequency;             ///< Hz, rising
    std::vector<double> reference;             ///< ohm, one for each port
    std::vector<std::complex<double>> values;  ///< frequency by frequency, each matrix by rows
    std::vector<std::string> notes = {};       ///< of reading, one clause each
    ModeHints modes = ModeHints::None;

    /// Wave out of port `to` for a wave into port `from`: S21 is At(k, 2, 1).
    std::complex<double> At(std::size_t k, int to, int from) const
    {
        const auto n = static_cast<std::size_t>(ports);
        return values[(k * n + static_cast<std::size_t>(to - 1)) * n +
                      static_cast<std::size_t>(from - 1)];
    }

    FrequencyResponse Term(int to, int from) const;
};

/// The four ports of a differential line: transmitter's end and receiver's end.
struct DifferentialPorts
{
    int inP, inN, outP, outN;
    bool operator==(const DifferentialPorts&) const = default;
};

/// The usual orders of a four-port, named by what joins what.
inline constexpr DifferentialPorts kPorts12_34{1, 3, 2, 4};  ///< 1->2, 3->4
inline constexpr DifferentialPorts kPorts13_24{1, 2, 3, 4};  ///< 1->3, 2->4
inline constexpr DifferentialPorts kPorts14_23{1, 2, 4, 3};  ///< 1->4, 2->3

/// From "12,34", "13,24", "14,23" or any other "ab,cd" of a->b, c->d. Throws Error (kInput).
DifferentialPorts ParsePortOrder(const std::string& text);

/// Which of the usual orders a four-port has: the one whose through terms are largest at 0 Hz,
/// where they are 1 and all others 0 in any line that passes a steady current. They are
/// extrapolated to there from the lowest points, since closely coupled lines pass the signal to and
/// fro at higher frequencies. Where nothing is left at 0 Hz, as behind capacitors, the lowest tenth
/// of the points counts. Throws Error (kInput) where no order stands out by a factor of two, as
/// between the pairs of a crosstalk file: those need the order stated, which is that of the
/// victim's own through file.
DifferentialPorts DetectPortOrder(const SParameters& s);

/// How much of a steady current leads from each port (the row) to each other one: the magnitudes at
/// 0 Hz, extrapolated from the lowest points, or where nothing passes there, as behind capacitors,
/// their root mean square over the lowest tenth of the points. 0 from a port to itself.
std::vector<std::vector<double>> ThroughStrengths(const SParameters& s);

enum class Mode { Differential, Common };

/// Mixed-mode term, all ports taken to equal reference (see Renormalise): the wave of mode `to` out
/// of end `toEnd` (1 transmitter's, 2 receiver's) for one of mode `from` into `fromEnd`. SDD21 is
/// MixedTerm(s, ports, Differential, 2, Differential, 1).
FrequencyResponse MixedTerm(const SParameters& s, const DifferentialPorts& ports, Mode to,
                            int toEnd, Mode from, int fromEnd);

/// SDD21 of a line with more than two ports, S21 of a two-port: what the signal sees from a matched
/// transmitter to a matched receiver. Ports of unlike reference are first taken to that of port 1.
FrequencyResponse Through(const SParameters& s, const DifferentialPorts& ports);

/// The same multi-port between other reference resistances (ohm, all ports alike).
SParameters Renormalise(const SParameters& s, double reference);

/// The greatest gain of any wave through the multi-port at each frequency: above 1 it is not
/// passive.
std::vector<double> GreatestGains(const SParameters& s);

/// The greatest gain, and where.
struct PeakGain
{
    double gain = 0.0;
    double frequency = 0.0;  ///< Hz
};

}  // namespace amisim
