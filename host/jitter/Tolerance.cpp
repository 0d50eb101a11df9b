#include "host/jitter/Tolerance.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "base/JsonNumber.hpp"
#include "base/Text.hpp"
#include "host/jitter/Frequency.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

Json ToJson(const ToleranceTrial& trial)
{
    Json json = {{"amplitude_ui_pp", trial.amplitude},
                 {"passed", trial.passed},
                 {"bits", trial.bits},
                 {"errors", trial.errors}};
    if (!trial.passed) json["why"] = trial.why;
    return json;
}

}  // namespace

std::optional<double> TolerancePoint::Middle() const
{
    if (!passes || !fails) return passes ? passes : fails;
    return std::sqrt(*passes * *fails);
}

Json ToJson(const TolerancePoint& point)
{
    Json trials = Json::array();
    for (const ToleranceTrial& trial : point.trials) trials.push_back(ToJson(trial));
    return {{"frequency_hz", point.frequency},
            {"passes_ui_pp", OrNull(point.passes)},
            {"fails_ui_pp", OrNull(point.fails)},
            {"passes_above_ui_pp", OrNull(point.passesAbove)},
            {"trials", trials}};
}

TolerancePoint TolerancePointOf(const Json& json)
{
    TolerancePoint point;
    point.frequency = json.at("frequency_hz");
    point.passes = NumberOf(json.at("passes_ui_pp"));
    point.fails = NumberOf(json.at("fails_ui_pp"));
    point.passesAbove = NumberOf(json.at("passes_above_ui_pp"));
    for (const Json& trial : json.at("trials")) {
        point.trials.push_back({trial.at("amplitude_ui_pp"), trial.at("passed"), trial.at("bits"),
                                trial.at("errors"), trial.value("why", "")});
    }
    return point;
}

double FirstGuess(const std::optional<FrequencyMask>& mask, double frequency, double bitRate)
{
    if (const auto at = mask ? mask->At(frequency) : std::nullopt) return *at;
    // A loop that follows up to some 1/16,000 of the bit rate, and the eye's own room.
    return std::max(0.5, bitRate / 16000 / frequency);
}

std::optional<double> JitterTolerance::MarginAt(const TolerancePoint& point) const
{
    const auto limit = mask ? mask->At(point.frequency) : std::nullopt;
    if (!limit) return std::nullopt;
    return point.passes.value_or(0) / *limit - 1;
}

const TolerancePoint* JitterTolerance::Tightest() const
{
    return TightestOf(*this);
}

std::optional<bool> JitterTolerance::MeetsMask() const
{
    constexpr double kRounding = 1e-9;
    const TolerancePoint* const tightest = Tightest();
    if (tightest && *MarginAt(*tightest) < -kRounding) return false;
    if (!tightest || missing > 0) return std::nullopt;
    return true;
}

std::vector<std::string> JitterTolerance::Notes() const
{
    std::vector<std::string> notes;
    if (withoutSine && !withoutSine->passed) {
        notes.push_back(fmt::format(
            "the link does not reach the ratio without any sine ({}): less stress, or another "
            "setting of the model, comes first",
            withoutSine->why));
    }
    for (const TolerancePoint& point : points) {
        if (!point.passesAbove) continue;
        notes.push_back(fmt::format(
            "at {} the link passes again at {:.3g} UI, above the {:.3g} UI that fail: tolerance "
            "does not fall steadily with the amplitude there",
            FrequencyText(point.frequency), *point.passesAbove, *point.fails));
    }
    if (!mask || points.empty()) return notes;
    std::string corners;
    for (const double corner : mask->Corners()) {
        const auto near = [corner](const TolerancePoint& point) {
            return std::abs(point.frequency / corner - 1) < 0.01;
        };
        if (corner < points.front().frequency || corner > points.back().frequency ||
            std::ranges::any_of(points, near))
            continue;
        corners += (corners.empty() ? "" : ", ") + FrequencyText(corner);
    }
    if (!corners.empty())
        notes.push_back(fmt::format("a corner of the mask was not tried: {}", corners));
    return notes;
}

Json ToJson(const JitterTolerance& tolerance)
{
    Json points = Json::array();
    for (const TolerancePoint& point : tolerance.points) {
        Json json = ToJson(point);
        const auto limit = tolerance.mask ? tolerance.mask->At(point.frequency) : std::nullopt;
        json["tolerance_ui_pp"] = OrNull(point.Middle());
        json["mask_ui_pp"] = OrNull(limit);
        json["margin"] = OrNull(tolerance.MarginAt(point));
        points.push_back(std::move(json));
    }
    const TolerancePoint* const tightest = tolerance.Tightest();
    const auto meets = tolerance.MeetsMask();
    return {{"amisim", AMISIM_VERSION},
            {"model", tolerance.model},
            {"signal", tolerance.signalJson},
            {"ber", tolerance.ratio},
            {"confidence", tolerance.confidence},
            {"settle_bits", tolerance.settleBits},
            {"mask", tolerance.mask ? Json(tolerance.mask->name) : Json()},
            {"passed", meets ? Json(*meets) : Json()},
            {"margin", tightest ? Json(*tolerance.MarginAt(*tightest)) : Json()},
            {"margin_at_hz", tightest ? Json(tightest->frequency) : Json()},
            {"without_sine", tolerance.withoutSine ? ToJson(*tolerance.withoutSine) : Json()},
            {"points", points},
            {"missing", tolerance.missing},
            {"notes", tolerance.Notes()}};
}

}  // namespace amisim
