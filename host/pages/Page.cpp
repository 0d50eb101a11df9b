#include "host/pages/Page.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/Base64.hpp"
#include "host/results/EyeDensity.hpp"
#include "host/results/ResultJson.hpp"
#include "host/results/SignalDescription.hpp"

// The page with its style and scripts, put together by the build.
asm(".section .rodata\n"
    ".global amisim_page_begin, amisim_page_end\n"
    "amisim_page_begin: .incbin \"" AMISIM_PAGE
    "\"\n"
    "amisim_page_end: .byte 0\n"
    ".text\n");
extern "C" const char amisim_page_begin[], amisim_page_end[];

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

// Where the page's data go; the build leaves it in the template as it stands.
constexpr std::string_view kPlace = "@DATA@";

// Of more logged eyes than this, evenly spaced ones are shown.
constexpr std::size_t kMostLoggedEyes = 100;

Json Rounded(double value)
{
    if (!std::isfinite(value)) return nullptr;
    const std::string text = fmt::format("{:.6g}", value);
    double rounded = 0;
    std::from_chars(text.data(), text.data() + text.size(), rounded);
    return rounded;
}

Json Rounded(const std::vector<double>& values)
{
    Json list = Json::array();
    for (const double v : values) list.push_back(Rounded(v));
    return list;
}

/// A byte a cell, the lowest voltage's row first: 0 for an empty one, else the logarithm of the
/// density from 1 (a single pass) to 255 (the densest cell).
Json DensityJson(const VoltageHistogram& histogram)
{
    const EyeDensity density(histogram);
    const auto [first, last] = OccupiedRows(histogram);
    if (first == last) return nullptr;
    const double span = std::log(std::max(density.Peak() / density.Once(), 1.001));
    std::vector<std::uint8_t> levels;
    for (std::size_t r = first; r < last; ++r) {
        for (std::size_t c = 0; c < histogram.Columns(); ++c) {
            const double value = density.Cell(c, static_cast<double>(r));
            const double level = value > 0 ? std::log(value / density.Once()) / span : 0;
            levels.push_back(value > 0 ? static_cast<std::uint8_t>(
                                             std::lround(1 + 254 * std::clamp(level, 0.0, 1.0)))
                                       : std::uint8_t{0});
        }
    }
    return {{"columns", histogram.Columns()}, {"rows", last - first},
            {"low", histogram.Edge(first)},   {"high", histogram.Edge(last)},
            {"once", density.Once()},         {"peak", density.Peak()},
            {"levels", Base64(levels)}};
}

Json BathtubJson(const Bathtub& bathtub)
{
    return {{"x", Rounded(bathtub.x)},
            {"counted", Rounded(bathtub.counted)},
            {"extrapolated", Rounded(bathtub.extrapolated)}};
}

Json EyeCurves(const EyeFindings& eye, const EyeFindings* computed = nullptr)
{
    Json json = {{"time", BathtubJson(eye.time)}, {"voltage", BathtubJson(eye.voltage)}};
    json["contours"] = Json::array();
    for (const Contour& c : BestContours(eye, computed)) {
        json["contours"].push_back({{"ber", c.ber},
                                    {"extrapolated", c.extrapolated},
                                    {"computed", c.computed},
                                    {"phase", Rounded(c.phase)},
                                    {"high", Rounded(c.high)},
                                    {"low", Rounded(c.low)}});
    }
    return json;
}

/// The density, and the curves of each eye from the lowest on.
Json EyesCurves(const std::optional<EyeFindings>& worst,
                const std::optional<StatisticalEye>& computed)
{
    if (!worst) return nullptr;
    Json json = {{"density", DensityJson(worst->density)}, {"eyes", Json::array()}};
    for (const EyeFindings& eye : EyesOf(*worst))
        json["eyes"].push_back(EyeCurves(eye, computed ? &computed->eyes[eye.which] : nullptr));
    return json;
}

Json EyesCurves(const std::optional<StatisticalEye>& computed)
{
    if (!computed) return nullptr;
    Json json = {{"eyes", Json::array()}};
    for (const EyeFindings& eye : computed->eyes) json["eyes"].push_back(EyeCurves(eye));
    return json;
}

Json TrendJson(const Trend& trend)
{
    return {{"bit", Rounded(trend.bit)},
            {"mean", Rounded(trend.mean)},
            {"least", Rounded(trend.least)},
            {"greatest", Rounded(trend.greatest)}};
}

Json ChannelJson(const std::optional<ChannelCurves>& channel)
{
    if (!channel) return nullptr;
    // As many points as a screen shows.
    constexpr std::size_t kMostPoints = 2000;
    const std::size_t stride = channel->time.size() / kMostPoints + 1;
    std::vector<double> time, pulse;
    for (std::size_t n = 0; n < channel->time.size(); n += stride) {
        time.push_back(channel->time[n]);
        pulse.push_back(channel->pulse[n]);
    }
    return {{"frequency", Rounded(channel->frequency)},
            {"loss", Rounded(channel->lossDb)},
            {"flat", channel->IsFlat()},
            {"time", Rounded(time)},
            {"pulse", Rounded(pulse)}};
}

Json ClockCurves(const ClockFindings& clock)
{
    return {{"tie", TrendJson(clock.tie)},
            {"period", TrendJson(clock.period)},
            {"histogram",
             {{"first", Rounded(clock.tieHistogram.first)},
              {"step", Rounded(clock.tieHistogram.step)},
              {"counts", clock.tieHistogram.counts}}},
            {"spectrum",
             {{"frequency", Rounded(clock.tieSpectrum.frequency)},
              {"amplitude", Rounded(clock.tieSpectrum.amplitude)}}}};
}

/// Of a link of several segments what is shown of each, the last among them; null of one.
Json StagesJson(const RunResult& result)
{
    if (result.earlier.empty()) return nullptr;
    Json list = Json::array();
    const auto add = [&](const RunResult& stage) {
        list.push_back({{"output", EyesCurves(stage.eye, stage.statisticalOutput)},
                        {"tie", TrendJson(stage.clock.tie)}});
    };
    for (const RunResult& stage : result.earlier) add(stage);
    add(result);
    return list;
}

/// Each eye's hits in groups of seven bits, the lowest first, bit 7 telling that more follow.
Json LoggedEyesJson(const std::vector<LoggedEye>& eyes)
{
    Json list = Json::array();
    const std::size_t shown = std::min(eyes.size(), kMostLoggedEyes);
    for (std::size_t i = 0; i < shown; ++i) {
        const std::size_t number = shown < 2 ? i : i * (eyes.size() - 1) / (shown - 1);
        std::vector<std::uint8_t> bytes;
        for (std::uint32_t hits : eyes[number].hits) {
            for (; hits >= 128; hits >>= 7) bytes.push_back(static_cast<std::uint8_t>(hits | 128));
            bytes.push_back(static_cast<std::uint8_t>(hits));
        }
        list.push_back({{"number", number + 1}, {"hits", Base64(bytes)}});
    }
    return list;
}

}  // namespace

std::string ReportPage(const RunResult& result, const SimulationOptions& options,
                       const ModelSource& model)
{
    Json numbers = Json::object();  // as they are shown
    for (const Number& number : Numbers()) {
        if (!number.AppliesTo(result)) continue;
        const auto value = number.get(result);
        numbers[number.pointer] = {{"title", number.title},
                                   {"unit", number.unit},
                                   {"text", value ? Json(number.Text(*value)) : Json(nullptr)}};
    }
    const Json data = {{"numbers", numbers},
                       {"result", ToJson(result, options, model)},
                       {"signal", Describe(options.signal)},
                       {"bitTime", options.signal.BitTime()},
                       {"output", EyesCurves(result.eye, result.statisticalOutput)},
                       {"input", EyesCurves(result.inputEye, result.statisticalInput)},
                       {"statisticalInput", EyesCurves(result.statisticalInput)},
                       {"statisticalOutput", EyesCurves(result.statisticalOutput)},
                       {"channel", ChannelJson(result.channel)},
                       {"clock", ClockCurves(result.clock)},
                       {"stages", StagesJson(result)},
                       {"loggedEyes", LoggedEyesJson(result.loggedEyes)}};
    std::string page(amisim_page_begin, amisim_page_end);
    std::string text = ToText(data, -1);
    // No text of a model may end the script that holds the data.
    for (std::size_t i = 0; (i = text.find('<', i)) != std::string::npos;)
        text.replace(i, 1, "\\u003c");
    return page.replace(page.find(kPlace), kPlace.size(), text);
}

}  // namespace amisim
