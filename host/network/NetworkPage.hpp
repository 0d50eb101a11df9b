#pragma once

#include <string>

#include "host/network/NetworkReport.hpp"
#include "host/pictures/Plot.hpp"

namespace amisim {

/// "Insertion loss at most"
std::string LimitName(const NetworkReport& report, const LimitVerdict& verdict);

/// "kept by 3.21 dB at 4.2 GHz", "MISSED by ...", "not judged: ...".
std::string VerdictText(const LimitVerdict& verdict);

/// What is said of crosstalk noise, under its name.
inline constexpr const char* kCrosstalkNoise = "Integrated crosstalk noise";
std::string NoiseText(const CrosstalkNoise& noise);

/// What stands above the channel's pictures.
plot::Heading HeadingOf(const NetworkReport& report);

/// The page: verdicts, numbers and pictures in one file.
std::string NetworkPage(const NetworkReport& report);

}  // namespace amisim
