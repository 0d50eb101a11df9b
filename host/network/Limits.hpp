#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "host/network/NetworkFigures.hpp"

namespace amisim {

/// A line that a curve must not cross.
struct Limit
{
    std::string curve;                 ///< as NetworkCurve::name
    bool isMost = true;                ///< the curve stays below; else above
    double from = 0.0, to = 0.0;       ///< Hz
    std::function<double(double)> db;  ///< over Hz

    /// "at most", "at least"
    const char* Bound() const { return isMost ? "at most" : "at least"; }
};

/// What a channel is held against, with the fit that is meant.
struct LimitSet
{
    std::string name;
    FitChoice fit;
    std::vector<Limit> limits;
};

/// How a channel keeps a limit.
struct LimitVerdict
{
    Limit limit;
    bool isJudged = false;        ///< it has the curve, at frequencies of the limit
    double marginDb = 0.0;        ///< the least distance; below 0 the limit is missed
    double frequency = 0.0;       ///< Hz, where that is
    double from = 0.0, to = 0.0;  ///< Hz, of the curve within the limit's
    bool isWhole = false;         ///< that is all of the limit's but a hundredth

    bool IsMissed() const { return isJudged && marginDb < 0.0; }
};

/// The built-in limits: "10gbase-kr" (see docs/network.md). Names without capitals.
std::vector<std::string> LimitNames();

/// Built-in limits by their name, else those of a file in TOML. Throws Error with the file's line
/// for what it does not hold.
LimitSet FindLimits(const std::string& nameOrFile);

std::vector<LimitVerdict> Judge(const NetworkFigures& figures, const LimitSet& set);

}  // namespace amisim
