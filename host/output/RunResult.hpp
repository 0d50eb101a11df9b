#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/Error.hpp"
#include "host/analysis/VoltageHistogram.hpp"

namespace amisim {

/// Everything that a run found out, as result.json and the table report it.
struct RunResult
{
    /// How the model failed, if it did.
    struct Failure
    {
        ExitCode code;
        std::string phase, reason, printed;
    };
    std::optional<Failure> failure;

    std::int64_t bits = 0;         // that the model has returned
    std::int64_t ignoredBits = 0;  // at the start, not counted in eye and errors

    struct Comparison
    {
        std::int64_t compared = 0, errors = 0, unaligned = 0, realignments = 0, delay = 0;
        bool inverted = false;
    };
    std::optional<Comparison> comparison;  // absent when nothing is known of what was sent
    double sampledAt = 0.5;                // unit intervals after the clock time

    struct Eye
    {
        Opening vertical;            // V
        double left = 0, right = 0;  // UI from the sampling instant
        std::int64_t unitIntervals = 0;
    };
    std::optional<Eye> eye;  // absent when no unit interval was counted

    std::int64_t clockTimes = 0, filledClocks = 0;
    std::optional<double> unitInterval;  // s, recovered
    double bitTime = 0;                  // s, nominal

    std::optional<int> eqLevel, requests, measurements;
    std::optional<bool> adaptationFinished;

    std::string modelMessage, parametersOut;  // from AMI_Init
    double seconds = 0, modelSeconds = 0;
    std::vector<std::string> notes;
    std::vector<std::string> files;  // written into the output folder

    /// The recovered bit rate's distance from the nominal one.
    std::optional<double> Ppm() const
    {
        if (!unitInterval) return std::nullopt;
        return (bitTime / *unitInterval - 1) * 1e6;
    }
};

/// Part of the samples, and crossings per unit interval, left out of the eye's height and width.
constexpr double kEyeProbability = 1e-3;

}  // namespace amisim
