#include "host/tune/Figure.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string_view>

#include "base/Error.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

struct Description
{
    const char *name, *title, *unit;
    double factor;
    const char *format, *member, *near;
};
constexpr std::array<Description, 3> kDescriptions = {{
    {"height", "Eye height", "mV", 1e3, "{:.1f}", "height_v", "within 1 dB of the best"},
    {"width", "Eye width", "UI", 1, "{:.3f}", "width_ui", "within 5 % of the best"},
    {"errors", "Bit errors", "", 1, "{:.0f}", "errors", "within 5 % of the fewest errors"},
}};

[[noreturn]] void Fail(const std::string& text)
{
    throw Error(ExitCode::kUsage,
                fmt::format("--for {}: expected height@RATIO or width@RATIO with an error ratio "
                            "from 1e-18 to 0.1, such as height@1e-12, or errors",
                            text));
}

double ParsedRatio(const std::string& text, std::string_view ratio)
{
    double value = 0;
    const auto [end, error] = std::from_chars(ratio.data(), ratio.data() + ratio.size(), value);
    const bool whole = error == std::errc{} && end == ratio.data() + ratio.size();
    if (!whole || !(value >= 1e-18 && value <= 0.1)) Fail(text);
    return value;
}

}  // namespace

Figure::Figure(const std::string& text)
    : kind_(), number_{"/figure", "", "", 1, "", false, "", "", nullptr, nullptr}
{
    const std::string name = text.substr(0, text.find('@'));
    std::size_t which = 0;
    while (which < kDescriptions.size() && name != kDescriptions[which].name) ++which;
    if (which == kDescriptions.size()) Fail(text);
    kind_ = static_cast<Kind>(which);
    const Description& description = kDescriptions[which];
    title_ = description.title;
    column_ = description.member;
    if (IsOpening() != (name != text)) Fail(text);
    if (IsOpening()) {
        ratio_ = ParsedRatio(text, std::string_view(text).substr(name.size() + 1));
        title_ += fmt::format(" at {:g}", ratio_);
        column_ += fmt::format("@{:g}", ratio_);
    }
    number_.title = title_.c_str();
    number_.column = column_.c_str();
    number_.unit = description.unit;
    number_.factor = description.factor;
    number_.format = description.format;
    number_.counts = !IsOpening();
}

std::optional<double> Figure::In(const Json& result, bool computed) const
{
    const auto number = [](const Json& json) {
        return json.is_number() ? std::optional(json.get<double>()) : std::nullopt;
    };
    if (!IsOpening()) {
        const Json::json_pointer place(result.contains("segments") ? "/end_to_end/errors"
                                                                   : "/errors");
        return number(result.value(place, Json()));
    }
    const Json::json_pointer place(computed ? "/statistical/eye/openings" : "/eye/openings");
    const char* const member = kDescriptions[static_cast<std::size_t>(kind_)].member;
    const auto of = [&](const Json& run) -> std::optional<double> {
        for (const Json& opening : run.value(place, Json::array())) {
            if (opening.value("ber", 0.0) == ratio_) return number(opening.value(member, Json()));
        }
        return std::nullopt;
    };
    std::optional<double> least = of(result);
    for (const Json& segment : result.value("segments", Json::array())) {
        const auto own = of(segment);
        if (!own) return std::nullopt;
        least = least ? std::min(*least, *own) : own;
    }
    return least;
}

bool Figure::IsBetter(double a, double b) const
{
    return IsOpening() ? a > b : a < b;
}

bool Figure::IsNear(double value, double best) const
{
    constexpr double kDecibel = 0.891250938133746, kPart = 0.05;
    if (kind_ == Kind::kErrors) return value <= best * (1 + kPart);
    return value > 0 && value >= best * (kind_ == Kind::kHeight ? kDecibel : 1 - kPart);
}

const char* Figure::NearText() const
{
    return kDescriptions[static_cast<std::size_t>(kind_)].near;
}

std::string Figure::Text(double value) const
{
    return fmt::format("{}{}{}", number_.Text(value), *number_.unit ? " " : "", number_.unit);
}

std::string Figure::BehindText(double value, double best) const
{
    if (!IsBetter(best, value))
        return value == best ? "as good as the best" : "better than the best of the grid";
    if (kind_ == Kind::kErrors) return fmt::format("{:.0f} more than with the best", value - best);
    if (!(value > 0)) return "closed, where the best is open";
    return kind_ == Kind::kHeight
               ? fmt::format("{:.2f} dB below the best", 20 * std::log10(best / value))
               : fmt::format("{:.1f} % below the best", 100 * (1 - value / best));
}

Metric Figure::AsMetric() const
{
    if (kind_ == Kind::kWidth)
        return {number_, [](double v) { return fmt::format("{:.3f}", v); }, false};
    return {number_, [](double v) { return fmt::format("{:.0f}", v); }, kind_ == Kind::kErrors};
}

}  // namespace amisim
