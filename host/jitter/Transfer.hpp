#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/jitter/FrequencyMask.hpp"
#include "host/jitter/SineFit.hpp"
#include "host/jitter/Trial.hpp"

namespace amisim {

/// The recovered clock's answer to a sine on the data.
struct TransferPoint
{
    double frequency = 0, amplitude = 0;  // Hz; UI peak, put in
    // Of the clock's sine over that put in; absent where the pattern was lost. A phase below 0: the
    // clock comes later than the data's boundaries that it belongs to.
    std::optional<double> gainDb, phaseDeg;
    std::int64_t errors = 0, bits = 0;  // that counted
};

/// @param trial  of that sine
TransferPoint TransferOf(const ClockTrial& trial, double frequency, double amplitude);

nlohmann::ordered_json ToJson(const TransferPoint& point);
/// @throws nlohmann::json::exception for what ToJson has not made
TransferPoint TransferPointOf(const nlohmann::ordered_json& json);

/// The clock's own jitter within a band, UI, with no sine put in.
struct Generation
{
    BandJitter jitter;
    double low = 0, high = 0;  // Hz
    bool lost = false;         // the pattern, so that there is no clock to speak of
};
Generation GenerationOf(const ClockTrial& trial, double bitRate, double low, double high);

nlohmann::ordered_json ToJson(const Generation& generation);
Generation GenerationFrom(const nlohmann::ordered_json& json);

/// A receiver's jitter transfer and what it was found with.
// NOLINTNEXTLINE(bugprone-exception-escape): JSON that is moved throws nothing
struct JitterTransfer
{
    std::string model, signal;  // in words
    nlohmann::ordered_json signalJson;
    std::int64_t settleBits = 0;
    std::optional<FrequencyMask> mask;
    std::vector<double> amplitudes;     // UI peak, as asked for
    std::vector<TransferPoint> points;  // by amplitude, then by frequency, rising
    std::optional<Generation> generation;
    std::size_t missing = 0;  // points without a result

    std::vector<TransferPoint> Of(double amplitude) const;
    /// Where the gain falls through -3 dB for the first time, Hz: straight in dB over a logarithmic
    /// frequency between two points. Nothing where it does not.
    std::optional<double> Bandwidth(double amplitude) const;
    /// The greatest gain, dB.
    std::optional<double> Peaking(double amplitude) const;
    /// By how much the gain stays below the mask, dB.
    std::optional<double> MarginAt(const TransferPoint& point) const;
    const TransferPoint* Tightest() const;
    std::optional<bool> MeetsMask() const;
    std::vector<std::string> Notes() const;
};

nlohmann::ordered_json ToJson(const JitterTransfer& transfer);

}  // namespace amisim
