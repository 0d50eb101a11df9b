#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/analysis/VoltageHistogram.hpp"

namespace amisim {

// What the analyses found, as plain numbers for the table, result.json, the pictures and the
// report. Phases are in unit intervals after the clock time, voltages in V, times in s unless a
// name says otherwise. A value that is not known is NaN in a list. docs/analysis.md has the
// formulas.

/// Part of the unit intervals that may be wrong on either side of the eye's height and width.
inline constexpr double kEyeProbability = 1e-3;

inline constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// The tail of a distribution as a Gaussian's: a straight line on the Q scale (dual-Dirac model,
/// "MJSQ", INCITS TR-35-2004). It says that the error ratio is weight * Q(|x - mean| / sigma) at
/// any x further inside the eye than the mean.
struct TailFit
{
    double mean = 0, sigma = 0;      // UI or V, as x; sigma > 0
    double weight = 0.5;             // error ratio of everything that belongs to this Gaussian
    double highest = 0, lowest = 0;  // error ratios between which the points fitted lie
};

/// Error ratio against where the eye is sampled: against phase (at the threshold) or against
/// voltage (at the sampling phase).
struct Bathtub
{
    std::vector<double> x;             // rising
    std::vector<double> counted;       // error ratio; NaN where nothing was counted
    std::vector<double> extrapolated;  // from the fits; NaN where there is none
    std::optional<TailFit> low, high;  // the side of small x and that of large x
};

/// The eye's opening at one bit error ratio: counted where enough bits were, else from the fits.
struct OpeningAt
{
    double ber = 0;
    double height = kUnknown;  // V
    double width = kUnknown;   // UI
    bool heightExtrapolated = false, widthExtrapolated = false;
};

/// The line around the places that may be sampled with at most this error ratio.
struct Contour
{
    double ber = 0;
    bool extrapolated = false;
    // Of equal length, phases rising; empty: closed.
    std::vector<double> phase = {}, high = {}, low = {};
    bool computed = false;  // neither counted nor extrapolated
};

/// Jitter of the signal against the clock, from the two sides of the time bathtub.
struct Jitter
{
    double random = 0;         // RJ, UI rms: mean of both sides' sigma
    double deterministic = 0;  // DJ (dual-Dirac), UI: distance of both sides' means, at least 0
    double total = 0;          // TJ at `ber`, UI: 1 - width
    double ber = 1e-12;
};

/// Where the eye is open at the sampling instant. Closed: both 0.
struct Opening
{
    double high = 0, low = 0;  // V, inner edges
    double Height() const { return high - low; }
};

/// Samples that stand out of the signal so far that they are no part of it, and would leave no room
/// for the rest of it in any picture.
struct WildSamples
{
    std::int64_t count = 0, first = -1;  // the first one's number
    double firstVoltage = 0;             // V
    double takenAs = 0;                  // V, with the sample's sign
};

/// An eye in the clock's frame, around a threshold.
struct EyeFindings
{
    VoltageHistogram density{1, 4};            // columns: phases; as EyeAnalysis::Density
    Opening vertical;                          // V, at the sampling phase, at kEyeProbability
    double left = kUnknown, right = kUnknown;  // UI from the sampling phase, at kEyeProbability;
                                               // unknown where nothing crosses the threshold
    double shift = 0;                          // UI that the clock was moved by to centre the eye
    double sampledAt = 0.5;                    // phase
    double threshold = 0;                      // V, as it was at the end
    std::size_t which = 0;                     // of the thresholds, from the lowest
    bool sliced = false;                       // two levels only: no heights worth the name
    double Width() const { return left + right; }     // UI
    std::int64_t unitIntervals = 0;                   // counted
    std::int64_t notFinite = 0, firstNotFinite = -1;  // samples taken as 0 V
    WildSamples wild;
    double settledAtBit = kUnknown;  // as EyeTrend has it; unknown of one that is sliced
    std::vector<OpeningAt> openings;
    std::vector<Contour> contours;
    Bathtub time, voltage;
    std::optional<Jitter> jitter;
    double transitionDensity = kUnknown;  // part of the unit intervals that begin with a transition

    /// All eyes, from the lowest threshold on, where there are several: of these it is the worst.
    /// Their densities are left out.
    std::vector<EyeFindings> eyes;
};

/// The eye of the least height at kEyeProbability, of equal ones the least width; with all of them
/// where there are several. @param eyes  one at least
EyeFindings WorstOf(std::vector<EyeFindings> eyes);

/// All eyes, or the only one.
inline std::span<const EyeFindings> EyesOf(const EyeFindings& worst)
{
    return worst.eyes.empty() ? std::span(&worst, 1) : std::span(worst.eyes);
}

/// "lower", "centre" and "upper" of three, else "2 of 5"; "" of one.
std::string EyeName(std::size_t which, std::size_t count);

/// How the received bits compare with the sent ones.
struct BitComparison
{
    std::int64_t compared = 0, errors = 0;  // 0 of both where bits are not mapped to symbols
    std::int64_t unaligned = 0;             // symbols of windows where the pattern was not found
    std::int64_t realignments = 0, delay = 0;
    bool inverted = false;
    std::int64_t comparedSymbols = 0, symbolErrors = 0;  // of NRZ those of the bits
};

/// A quantity against time, thinned out to what can be drawn: each point stands for as many unit
/// intervals as the others.
struct Trend
{
    std::vector<double> bit;  // unit intervals from the start of the run, middle of the point
    std::vector<double> mean, least, greatest;
};

struct Histogram
{
    double first = 0, step = 0;  // centre of the first bin, distance of the centres
    std::vector<std::uint64_t> counts;
};

/// Amplitude of a sine at each frequency, averaged over segments.
struct Spectrum
{
    std::vector<double> frequency;  // Hz, evenly spaced from the first step on
    std::vector<double> amplitude;  // UI peak; a sine of this amplitude alone gives this value
    std::int64_t segments = 0;
    double floor = kUnknown;  // UI peak: median of the amplitudes
    struct Tone
    {
        double frequency, amplitude;
    };
    std::vector<Tone> tones;  // that stand out of the floor, largest first, at most ten
};

/// The recovered clock.
struct ClockFindings
{
    std::int64_t times = 0, filled = 0, backward = 0;
    std::int64_t missing = 0;        // bits that count and have no clock edge
    std::string looksLike;           // what is wrong with times that are none; "" where nothing is
    double unitInterval = kUnknown;  // s: slope of the straight line through the counted edges
    double ppm = kUnknown;           // bit rate's distance from the nominal one
    bool ideal = false;              // the model returned no times: an ideal clock was used instead
    double settledAtBit = kUnknown;  // from here on the TIE stays within 0.15 UI of its end, for a
                                     // tenth of the run at least
    Trend tie;                       // UI against the straight line through the counted edges
    Trend period;                    // ppm from nominal of the local unit interval, whole run
    Histogram tieHistogram;          // UI; counted edges
    // Of the TIE what goes with each sine that was sent, UI, against sine and cosine of its phase
    // at the edge, and the histogram of what is left.
    struct Followed
    {
        double sine = 0, cosine = 0;
    };
    std::vector<Followed> followed;
    Histogram ownHistogram;
    double tieRms = kUnknown, tiePeakToPeak = kUnknown;  // UI
    double moved = kUnknown;  // UI: of the edges against the unit intervals sent, from the first of
                              // those that count to the last, without what goes with a sine
    Spectrum tieSpectrum;
};

}  // namespace amisim
