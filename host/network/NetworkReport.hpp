#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "host/channel/ChannelGrade.hpp"
#include "host/network/CrosstalkNoise.hpp"
#include "host/network/Limits.hpp"
#include "host/pictures/Picture.hpp"
#include "host/results/OutputFolder.hpp"
#include "host/results/PutFile.hpp"

namespace amisim {

/// A channel with all that is found of it.
struct NetworkReport
{
    std::string name;      ///< of its files
    double bitRate = 0.0;  ///< bit/s, of the pulse and of what is said at half of it
    NetworkFigures figures;
    ChannelCurves response;
    std::optional<CrosstalkNoise> noise;  ///< of a channel with aggressors
    std::optional<ChannelGrade> grade;
    std::optional<LimitSet> limits;
    std::vector<LimitVerdict> verdicts;
    std::vector<std::string> notes;

    bool IsMissed() const;  ///< one limit or more
    /// A curve, dB, at half the bit rate; NaN where it is not known.
    double AtHalfRate(std::string_view wanted) const;
};

/// What the folder of `amisim channel` holds.
const OutputFolder::Kind& ChannelFolder();

/// Numbers, limits with margins, verdicts: channel.json as docs/network.md describes it.
nlohmann::ordered_json ToJson(const NetworkReport& report);

/// The same for the terminal.
std::string ToText(const NetworkReport& report);

/// channel.json, the pictures, channel.csv (over frequency), impedance.csv, response.csv and
/// channel.html.
void SaveReport(const NetworkReport& report, const PictureFormats& formats, const PutFile& put);

}  // namespace amisim
