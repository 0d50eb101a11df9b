#include "host/results/ResultTable.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <span>

#include "base/Printable.hpp"
#include "base/Text.hpp"
#include "host/results/Numbers.hpp"
#include "host/results/Speed.hpp"

namespace amisim {
namespace {

constexpr const char* kNone = "-";

/// A number with its unit; "~" in front of what is extrapolated.
std::string Value(double value, bool extrapolated, int digits, const char* unit)
{
    if (std::isnan(value)) return kNone;
    if (std::abs(value) < 0.5 * std::pow(10, -digits)) value = 0;  // without a sign
    return fmt::format("{}{:.{}f} {}", extrapolated ? "~" : "", value, digits, unit);
}

std::string Trimmed(std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    return line + "\n";
}

std::string Size(double height, bool heightExtrapolated, double width, bool widthExtrapolated)
{
    return fmt::format("{:<24} ",
                       fmt::format("{:<11} {}", Value(height * 1000, heightExtrapolated, 1, "mV"),
                                   Value(width, widthExtrapolated, 3, "UI")));
}

/// Of several thresholds a line for each, the uppermost first as in pictures; "" of one.
std::string EyesTable(const RunResult& result)
{
    struct Side
    {
        const char* title;
        const EyeFindings* eye;
    };
    std::vector<Side> sides;
    if (result.inputEye) sides.push_back({"at the input, at", &*result.inputEye});
    if (result.eye) sides.push_back({"at the output, at", &*result.eye});
    if (sides.empty() || sides.back().eye->eyes.empty()) return "";
    std::string heading =
        fmt::format("  {:<26} ", fmt::format("Eyes at {}", ShortRatio(kEyeProbability)));
    for (const Side& side : sides) heading += fmt::format("{:<36} ", side.title);
    std::string text = Trimmed(heading);
    const std::size_t count = sides.back().eye->eyes.size();
    for (std::size_t which = count; which-- > 0;) {
        std::string line = fmt::format("  {:<26} ", "  " + EyeName(which, count));
        for (const Side& side : sides) {
            const EyeFindings& eye = side.eye->eyes[which];
            line += fmt::format("{:<11} {}", Value(eye.threshold * 1000, false, 1, "mV"),
                                Size(eye.vertical.Height(), false, eye.Width(), false));
        }
        text += Trimmed(line);
    }
    return text;
}

/// A line for each bit error ratio.
std::string OpeningsTable(const RunResult& result)
{
    struct Eye
    {
        std::string title;
        const EyeFindings* eye;
    };
    std::vector<Eye> eyes;
    const auto add = [&](const std::optional<EyeFindings>& counted,
                         const std::optional<StatisticalEye>& computed, const char* title) {
        if (counted) {
            const std::string which = EyeName(counted->which, counted->eyes.size());
            eyes.push_back(
                {which.empty() ? title : fmt::format("{}, {}", title, which), &*counted});
        }
        if (computed) eyes.push_back({"computed", ComputedOf(computed, counted)});
    };
    add(result.inputEye, result.statisticalInput, "at the input");
    add(result.eye, result.statisticalOutput, "at the output");
    if (eyes.empty() || eyes.back().eye->openings.empty()) return "";
    const auto at = [](const EyeFindings* eye, double ber) {
        for (std::size_t i = 0; eye && i < eye->openings.size(); ++i) {
            if (eye->openings[i].ber == ber) return eye->openings[i];
        }
        return OpeningAt{};
    };
    std::string heading = fmt::format("  {:<26} ", "Opening at BER (~ from fit)");
    for (const Eye& eye : eyes) heading += fmt::format("{:<24} ", eye.title);
    std::string text = Trimmed(heading);
    for (const OpeningAt& row : eyes.back().eye->openings) {
        std::string line = fmt::format("  {:<26} ", "  " + ShortRatio(row.ber));
        for (const Eye& eye : eyes) {
            const OpeningAt o = at(eye.eye, row.ber);
            line += Size(o.height, o.heightExtrapolated, o.width, o.widthExtrapolated);
        }
        text += Trimmed(line);
    }
    return text;
}

/// The numbers that the model gave back, as they stand at the end.
std::string ParametersTable(const std::vector<ParameterTrack>& tracks)
{
    constexpr std::size_t kMost = 12;
    if (tracks.empty()) return "";
    std::string text = "  The model gives back\n";
    for (const ParameterTrack& track : std::span(tracks).first(std::min(kMost, tracks.size()))) {
        text +=
            fmt::format("    {:<24} {:.6g}", base::Shortened(track.name, 60), track.value.back());
        if (track.value.size() > 1) {
            text += fmt::format(" (at first {:.6g}, last changed by bit {})", track.value.front(),
                                Grouped(track.bit.back()));
        }
        text += "\n";
    }
    if (tracks.size() > kMost)
        text += fmt::format("    and {} more in result.json\n", tracks.size() - kMost);
    return text;
}

/// A line for each segment of a link of several.
std::string SegmentsTable(const RunResult& last)
{
    if (last.earlier.empty()) return "";
    constexpr const char* kLine = "  {:<3}{:<23} {:>14} {:>14} {:>10} {:>9} {:>11} {:>9}\n";
    std::string text = fmt::format(kLine, "", "Segment to", "errors", "end to end", "height",
                                   "width", "TIE rms", "clock");
    const auto errors = [](const std::optional<BitComparison>& c) {
        return c && c->compared > 0 ? Grouped(c->errors) : kNone;
    };
    const auto line = [&](std::size_t number, const RunResult& r) {
        text += fmt::format(
            kLine, number, base::Shortened(r.name, 23), errors(r.comparison),
            errors(r.endToEnd ? r.endToEnd : r.comparison),
            Value(r.eye ? r.eye->vertical.Height() * 1000 : kUnknown, false, 1, "mV"),
            Value(r.eye ? r.eye->Width() : kUnknown, false, 3, "UI"),
            Value(r.clock.tieRms * 1000, false, 1, "mUI"), Value(r.clock.ppm, false, 1, "ppm"));
    };
    for (std::size_t k = 0; k < last.earlier.size(); ++k) line(k + 1, last.earlier[k]);
    line(last.earlier.size() + 1, last);
    return text;
}

}  // namespace

std::string ToTable(const RunResult& r, const SimulationOptions& options)
{
    std::string text;
    const auto row = [&](std::string_view name, const std::string& value) {
        if (!value.empty()) text += fmt::format("  {:<26} {}\n", name, value);
    };
    if (r.lock) row("Verdict", StateOf(*r.lock, r.settling, r.ignoredBits));
    for (const Number& number : options.counted ? Numbers() : std::span<const Number>()) {
        if (number.AppliesTo(r)) row(number.title, number.Line(r));
    }
    if (options.counted) text += SegmentsTable(r);
    text += EyesTable(r);
    text += OpeningsTable(r);
    text += ParametersTable(r.parameters);
    if (!options.counted) return text;
    const Speed speed(r, options.signal.samplesPerBit);
    row("Speed", fmt::format("{} bits/s, {:.0f} ns a sample ({:.0f} ns of it in the model)",
                             Grouped(std::llround(speed.bitsASecond)), speed.nanosecondsASample,
                             speed.modelNanosecondsASample));
    return text;
}

}  // namespace amisim
