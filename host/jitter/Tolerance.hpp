#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/jitter/AmplitudeSearch.hpp"
#include "host/jitter/FrequencyMask.hpp"
#include "host/jitter/Trial.hpp"

namespace amisim {

/// What was found at one frequency of the sine; amplitudes in UI peak to peak.
struct TolerancePoint
{
    double frequency = 0;  // Hz; 0: the link without a sine, one trial
    std::vector<ToleranceTrial> trials;
    std::optional<double> passes, fails;  // the greatest that passed, the least that failed
    std::optional<double> passesAbove;    // beyond one that failed

    /// The tolerance: the geometric middle of both, or the one that is known.
    std::optional<double> Middle() const;
};

nlohmann::ordered_json ToJson(const TolerancePoint& point);
/// @throws nlohmann::json::exception for what ToJson has not made
TolerancePoint TolerancePointOf(const nlohmann::ordered_json& json);

/// Where the search for a frequency's tolerance begins: at the mask, so that the verdict on it is
/// exact, else where a receiver of this bit rate may be expected.
double FirstGuess(const std::optional<FrequencyMask>& mask, double frequency, double bitRate);

/// A receiver's jitter tolerance and what it was found with.
// NOLINTNEXTLINE(bugprone-exception-escape): JSON that is moved throws nothing
struct JitterTolerance
{
    std::string model, signal;  // in words
    nlohmann::ordered_json signalJson;
    double ratio = 0, confidence = 0;  // error ratio that was tested
    std::int64_t settleBits = 0;
    std::optional<FrequencyMask> mask;
    std::optional<ToleranceTrial> withoutSine;
    std::vector<TolerancePoint> points;  // frequencies rising
    std::size_t missing = 0;             // frequencies without a result

    /// By how much what passed exceeds the mask, as a part of the mask; below 0 it is missed.
    /// Nothing where the mask or the point says nothing.
    std::optional<double> MarginAt(const TolerancePoint& point) const;
    /// The point with the least margin; null without a mask.
    const TolerancePoint* Tightest() const;
    /// Every point within the mask passes there; nothing without a mask, or as long as points are
    /// missing and none has failed.
    std::optional<bool> MeetsMask() const;
    /// What a reader should know besides the numbers.
    std::vector<std::string> Notes() const;
};

nlohmann::ordered_json ToJson(const JitterTolerance& tolerance);

}  // namespace amisim
