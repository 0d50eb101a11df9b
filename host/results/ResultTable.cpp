#include "host/results/ResultTable.hpp"

#include <fmt/format.h>

#include <cmath>

#include "base/Text.hpp"
#include "host/results/Speed.hpp"

namespace amisim {
namespace {

const std::string kNone = "-";

/// A number with its unit; "~" in front of what is extrapolated.
std::string Value(double value, bool extrapolated, int digits, const char* unit)
{
    if (std::isnan(value)) return kNone;
    return fmt::format("{}{:.{}f} {}", extrapolated ? "~" : "", value, digits, unit);
}

/// The openings at the input and at the output, a line for each bit error ratio.
std::string OpeningsTable(const EyeFindings* input, const EyeFindings* output)
{
    const EyeFindings* const either = output ? output : input;
    if (!either || either->openings.empty()) return "";
    const auto at = [](const EyeFindings* eye, double ber) {
        for (std::size_t i = 0; eye && i < eye->openings.size(); ++i) {
            if (eye->openings[i].ber == ber) return eye->openings[i];
        }
        return OpeningAt{};
    };
    std::string text = fmt::format("  {:<26} {:<24} {}\n", "Opening at BER (~ from fit)",
                                   input ? "at the input" : "", output ? "at the output" : "");
    for (const OpeningAt& row : either->openings) {
        std::string line = fmt::format("  {:<26} ", "  " + ShortRatio(row.ber));
        for (const EyeFindings* eye : {input, output}) {
            const OpeningAt o = at(eye, row.ber);
            line += fmt::format(
                "{:<24} ", eye ? fmt::format("{:<11} {}",
                                             Value(o.height * 1000, o.heightExtrapolated, 1, "mV"),
                                             Value(o.width, o.widthExtrapolated, 3, "UI"))
                               : "");
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

}  // namespace

std::string ToTable(const RunResult& r, const SimulationOptions& options)
{
    std::string text;
    const auto row = [&](std::string_view name, const std::string& value) {
        text += fmt::format("  {:<26} {}\n", name, value);
    };
    if (r.lock) row("Verdict", Name(*r.lock));
    row("Equalisation level", r.eqLevel ? std::to_string(*r.eqLevel) : kNone);
    if (r.adaptation) {
        row("Eye measurements asked for",
            fmt::format("{}{}", r.adaptation->requests,
                        r.adaptation->finished ? " (adaptation finished)" : ""));
    } else {
        row("Eye measurements asked for", kNone);
    }
    row("Bits", fmt::format("{} (the first {} not counted below)", Grouped(r.bits),
                            Grouped(r.ignoredBits)));
    if (r.clock.missing > 0) row("Bits without a clock", Grouped(r.clock.missing));
    row("Recovered unit interval",
        std::isnan(r.clock.unitInterval)
            ? kNone
            : fmt::format("{:.5f} ps ({:+.1f} ppm)", r.clock.unitInterval * 1e12, r.clock.ppm));
    if (!std::isnan(r.clock.settledAtBit))
        row("Clock settled at bit", Grouped(std::llround(r.clock.settledAtBit)));
    row("Eye height", r.eye ? fmt::format("{:.1f} mV", r.eye->vertical.Height() * 1000) : kNone);
    row("Eye width", r.eye ? Value(r.eye->left + r.eye->right, false, 3, "UI") : kNone);
    if (r.comparison && r.comparison->compared > 0) {
        row("Bit errors", fmt::format("{} in {}", Grouped(r.comparison->errors),
                                      Grouped(r.comparison->compared)));
    } else {
        row("Bit errors", kNone);
    }
    text += OpeningsTable(r.inputEye ? &*r.inputEye : nullptr, r.eye ? &*r.eye : nullptr);
    const Speed speed(r, options.signal.samplesPerBit);
    row("Speed", fmt::format("{} bits/s, {:.0f} ns a sample ({:.0f} ns of it in the model)",
                             Grouped(std::llround(speed.bitsASecond)), speed.nanosecondsASample,
                             speed.modelNanosecondsASample));
    return text;
}

}  // namespace amisim
