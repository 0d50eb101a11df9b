#include "host/jitter/Transfer.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "base/JsonNumber.hpp"
#include "base/Text.hpp"
#include "host/jitter/Frequency.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

constexpr double kBandwidthDb = -3;

}  // namespace

TransferPoint TransferOf(const ClockTrial& trial, double frequency, double amplitude)
{
    TransferPoint point{frequency, amplitude, {}, {}, trial.errors, trial.compared};
    if (trial.lost || trial.time.size() < 4) return point;
    const auto sine = FitSine(trial.time, trial.late, frequency) / amplitude;
    point.gainDb = 20 * std::log10(std::abs(sine));
    point.phaseDeg = std::arg(sine) * 180 / std::numbers::pi;
    return point;
}

Json ToJson(const TransferPoint& point)
{
    return {{"frequency_hz", point.frequency}, {"amplitude_ui", point.amplitude},
            {"gain_db", OrNull(point.gainDb)}, {"phase_deg", OrNull(point.phaseDeg)},
            {"errors", point.errors},          {"bits", point.bits}};
}

TransferPoint TransferPointOf(const Json& json)
{
    return {json.at("frequency_hz"),        json.at("amplitude_ui"), NumberOf(json.at("gain_db")),
            NumberOf(json.at("phase_deg")), json.at("errors"),       json.at("bits")};
}

Generation GenerationOf(const ClockTrial& trial, double bitRate, double low, double high)
{
    return {JitterInBand(trial.late, bitRate, low, high), low, high, trial.lost};
}

Json ToJson(const Generation& generation)
{
    const bool known = !generation.lost;
    return {{"rms_ui", known ? Json(generation.jitter.rms) : Json()},
            {"pp_ui", known ? Json(generation.jitter.peakToPeak) : Json()},
            {"from_hz", generation.low},
            {"to_hz", generation.high}};
}

Generation GenerationFrom(const Json& json)
{
    Generation generation;
    generation.low = json.at("from_hz");
    generation.high = json.at("to_hz");
    generation.lost = json.at("rms_ui").is_null();
    if (!generation.lost) generation.jitter = {json.at("rms_ui"), json.at("pp_ui")};
    return generation;
}

std::vector<TransferPoint> JitterTransfer::Of(double amplitude) const
{
    std::vector<TransferPoint> own;
    std::ranges::copy_if(points, std::back_inserter(own), [amplitude](const TransferPoint& point) {
        return point.amplitude == amplitude;
    });
    return own;
}

std::optional<double> JitterTransfer::Bandwidth(double amplitude) const
{
    const TransferPoint* before = nullptr;
    const auto own = Of(amplitude);
    for (const TransferPoint& point : own) {
        if (!point.gainDb) continue;
        if (before && *before->gainDb >= kBandwidthDb && *point.gainDb < kBandwidthDb) {
            const double part =
                (*before->gainDb - kBandwidthDb) / (*before->gainDb - *point.gainDb);
            return before->frequency * std::pow(point.frequency / before->frequency, part);
        }
        before = &point;
    }
    return std::nullopt;
}

std::optional<double> JitterTransfer::Peaking(double amplitude) const
{
    std::optional<double> greatest;
    for (const TransferPoint& point : Of(amplitude)) {
        if (point.gainDb && (!greatest || *point.gainDb > *greatest)) greatest = point.gainDb;
    }
    return greatest;
}

std::optional<double> JitterTransfer::MarginAt(const TransferPoint& point) const
{
    const auto limit = mask ? mask->At(point.frequency) : std::nullopt;
    if (!limit || !point.gainDb) return std::nullopt;
    return *limit - *point.gainDb;
}

const TransferPoint* JitterTransfer::Tightest() const
{
    return TightestOf(*this);
}

std::optional<bool> JitterTransfer::MeetsMask() const
{
    const TransferPoint* const tightest = Tightest();
    if (tightest && *MarginAt(*tightest) < 0) return false;
    const bool known = std::ranges::all_of(
        points, [](const TransferPoint& point) { return point.gainDb.has_value(); });
    if (!tightest || missing > 0 || !known) return std::nullopt;
    return true;
}

std::vector<std::string> JitterTransfer::Notes() const
{
    std::vector<std::string> notes;
    for (const TransferPoint& point : points) {
        if (!point.gainDb) {
            notes.push_back(
                fmt::format("at {} and {:g} UI peak there is no gain: the pattern is lost, or no "
                            "period of the sine is whole",
                            FrequencyText(point.frequency), point.amplitude));
        } else if (point.errors > 0) {
            notes.push_back(
                fmt::format("at {} and {:g} UI peak {} of {} bits are wrong: the clock "
                            "may follow what is no jitter of the data",
                            FrequencyText(point.frequency), point.amplitude, Grouped(point.errors),
                            Grouped(point.bits)));
        }
    }
    if (generation && generation->lost)
        notes.emplace_back("without a sine the pattern is lost: no jitter generation");
    return notes;
}

Json ToJson(const JitterTransfer& transfer)
{
    Json points = Json::array(), amplitudes = Json::array();
    for (const TransferPoint& point : transfer.points) {
        Json json = ToJson(point);
        const auto limit = transfer.mask ? transfer.mask->At(point.frequency) : std::nullopt;
        json["mask_db"] = OrNull(limit);
        points.push_back(std::move(json));
    }
    for (const double amplitude : transfer.amplitudes) {
        amplitudes.push_back({{"amplitude_ui", amplitude},
                              {"bandwidth_hz", OrNull(transfer.Bandwidth(amplitude))},
                              {"peaking_db", OrNull(transfer.Peaking(amplitude))}});
    }
    const TransferPoint* const tightest = transfer.Tightest();
    const auto meets = transfer.MeetsMask();
    return {{"amisim", AMISIM_VERSION},
            {"model", transfer.model},
            {"signal", transfer.signalJson},
            {"settle_bits", transfer.settleBits},
            {"bandwidth_hz", OrNull(transfer.Bandwidth(transfer.amplitudes.front()))},
            {"peaking_db", OrNull(transfer.Peaking(transfer.amplitudes.front()))},
            {"amplitudes", amplitudes},
            {"generation", transfer.generation ? ToJson(*transfer.generation) : Json()},
            {"mask", transfer.mask ? Json(transfer.mask->name) : Json()},
            {"passed", meets ? Json(*meets) : Json()},
            {"margin_db", tightest ? Json(*transfer.MarginAt(*tightest)) : Json()},
            {"margin_at_hz", tightest ? Json(tightest->frequency) : Json()},
            {"points", points},
            {"missing", transfer.missing},
            {"notes", transfer.Notes()}};
}

}  // namespace amisim
