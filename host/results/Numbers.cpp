#include "host/results/Numbers.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "base/Text.hpp"
#include "host/analysis/RatioLimits.hpp"

namespace amisim {
namespace {

using Value = std::optional<double>;

Value Known(double value)
{
    return std::isfinite(value) ? Value(value) : std::nullopt;
}

template <typename Integer>
Value Count(Integer value)
{
    return static_cast<double>(value);
}

bool Compared(const RunResult& r)
{
    return r.comparison && r.comparison->compared > 0;
}

std::optional<RatioLimits> LimitsOf(const RunResult& r)
{
    if (!Compared(r)) return std::nullopt;
    return ClopperPearson(r.comparison->errors, r.comparison->compared);
}

Value OfJitter(const RunResult& r, double Jitter::*which)
{
    return r.eye && r.eye->jitter ? Known((*r.eye->jitter).*which) : std::nullopt;
}

bool ComparedSymbols(const RunResult& r)
{
    return r.comparison && r.comparison->comparedSymbols > 0;
}

/// What is counted where a symbol has more levels than two.
const char* Symbols(const RunResult& r)
{
    return r.levels > 2 ? " symbols" : "";
}

std::string NoLine(const RunResult&)
{
    return "";
}

using Computed = std::optional<StatisticalEye> RunResult::*;

template <Computed Eye, double JitterParts::*Part>
Value PartOf(const RunResult& result)
{
    return result.*Eye ? Known((result.*Eye)->jitter.*Part) : std::nullopt;
}

/// All parts in one line.
template <Computed Eye>
std::string JitterLine(const RunResult& result)
{
    if (!(result.*Eye)) return "";
    const JitterParts& jitter = (result.*Eye)->jitter;
    return fmt::format("{:.3g} UI rms, DJ {:.3f}, DDJ {:.3f}, DCD {:.3f}, TJ {:.3f} UI at {:g}",
                       jitter.random, jitter.deterministic, jitter.dataDependent, jitter.dutyCycle,
                       jitter.total, jitter.ber);
}

constexpr const char* kNone = "-";

std::string MaskLine(const MaskFindings& mask)
{
    if (mask.samples == 0) return kNone;
    return fmt::format(
        "{:+.1f} % of {} at the {}, {} hits in {} samples: {}", mask.MarginPercent(), mask.name,
        mask.atInput ? "input" : "output", Grouped(static_cast<std::int64_t>(mask.Hits())),
        Grouped(static_cast<std::int64_t>(mask.samples)), mask.Passed() ? "passed" : "missed");
}

constexpr Number kNumbers[] = {
    {"/bits", "Bits", "", 1, "{:.0f}", true, nullptr,
     "Bits that the model returned; of PAM these and all counts of bits below are symbols.",
     [](const RunResult& r) { return Count(r.bits); },
     [](const RunResult& r) {
         return fmt::format("{}{} (the first {} not counted below)", Grouped(r.bits), Symbols(r),
                            Grouped(r.ignoredBits));
     }},
    {"/ignored_bits", "Ignored bits", "", 1, "{:.0f}", true, nullptr,
     "Bits at the start that count for nothing else.",
     [](const RunResult& r) { return Count(r.ignoredBits); }, NoLine},
    {"/training/bits", "Link training", "bits", 1, "{:.0f}", true, nullptr,
     "Bits in which the models at both ends trained each other; of such a link only.",
     [](const RunResult& r) { return r.training ? Count(r.training->bits) : std::nullopt; },
     [](const RunResult& r) {
         return fmt::format("{} after {} bits", Name(r.training->state), Grouped(r.training->bits));
     },
     Number::Of::kTrained},
    {"/clock/missing", "Bits without a clock", "", 1, "{:.0f}", true, nullptr,
     "Bits that count and have no clock time.",
     [](const RunResult& r) { return Count(r.clock.missing); },
     [](const RunResult& r) {
         return r.clock.missing > 0 ? Grouped(r.clock.missing) : std::string();
     }},
    {"/unit_interval_s", "Recovered unit interval", "ps", 1e12, "{:.5f}", false, nullptr,
     "Unit interval of the recovered clock.",
     [](const RunResult& r) { return Known(r.clock.unitInterval); },
     [](const RunResult& r) -> std::string {
         if (std::isnan(r.clock.unitInterval)) return kNone;
         return fmt::format("{:.5f} ps ({:+.1f} ppm)", r.clock.unitInterval * 1e12, r.clock.ppm);
     }},
    {"/ppm", "Clock offset", "ppm", 1, "{:.1f}", false, nullptr,
     "The recovered bit rate's distance from the nominal one.",
     [](const RunResult& r) { return Known(r.clock.ppm); }, NoLine},
    {"/clock/settled_at_bit", "Clock settled at bit", "", 1, "{:.0f}", false, nullptr,
     "From there on the TIE stays within 0.15 UI of its end.",
     [](const RunResult& r) { return Known(r.clock.settledAtBit); },
     [](const RunResult& r) {
         return std::isnan(r.clock.settledAtBit) ? "" : Grouped(std::llround(r.clock.settledAtBit));
     }},
    {"/settling/from_bit", "Settled at bit", "", 1, "{:.0f}", true, "settled_at_bit",
     "From there on the clock, the eye and what the model adapts stay as they are at the end, as "
     "far as each of them tells.",
     [](const RunResult& r) {
         return r.lock == Lock::kLocked ? Known(std::round(r.settling.From())) : std::nullopt;
     },
     NoLine},
    {"/clock/tie_rms_ui", "Clock jitter", "mUI rms", 1e3, "{:.3g}", false, nullptr,
     "Rms of the recovered clock's time interval error.",
     [](const RunResult& r) { return Known(r.clock.tieRms); }, NoLine},
    {"/eye/height_v", "Eye height", "mV", 1e3, "{:.1f}", false, "eye_height_v",
     "Opening of the output's eye at the sampling instant; of PAM the worst of the eyes.",
     [](const RunResult& r) { return r.eye ? Value(r.eye->vertical.Height()) : std::nullopt; },
     nullptr},
    {"/eye/width_ui", "Eye width", "UI", 1, "{:.3f}", false, "eye_width_ui",
     "Opening of the output's eye at 0 V, or at the worst eye's threshold.",
     [](const RunResult& r) { return r.eye ? Known(r.eye->Width()) : std::nullopt; }, nullptr},
    {"/statistical/input_jitter/random_ui_rms", "Jitter at the input, RJ", "UI rms", 1, "{:.3g}",
     false, nullptr, "Random jitter of the input, computed.",
     PartOf<&RunResult::statisticalInput, &JitterParts::random>,
     JitterLine<&RunResult::statisticalInput>},
    {"/statistical/input_jitter/deterministic_ui", "DJ at the input", "UI", 1, "{:.3g}", false,
     nullptr, "Deterministic jitter (dual-Dirac) of the input, computed.",
     PartOf<&RunResult::statisticalInput, &JitterParts::deterministic>, NoLine},
    {"/statistical/input_jitter/data_dependent_ui", "DDJ at the input", "UI", 1, "{:.3g}", false,
     nullptr, "Data-dependent jitter, peak to peak whatever the symbols, of the input, computed.",
     PartOf<&RunResult::statisticalInput, &JitterParts::dataDependent>, NoLine},
    {"/statistical/input_jitter/duty_cycle_ui", "DCD at the input", "UI", 1, "{:.3g}", false,
     nullptr, "Duty-cycle distortion of the input, computed.",
     PartOf<&RunResult::statisticalInput, &JitterParts::dutyCycle>, NoLine},
    {"/statistical/input_jitter/total_ui", "TJ at the input", "UI", 1, "{:.3g}", false, nullptr,
     "Total jitter at 1e-12 of the input, computed.",
     PartOf<&RunResult::statisticalInput, &JitterParts::total>, NoLine},
    {"/statistical/jitter/random_ui_rms", "Jitter at the output, RJ", "UI rms", 1, "{:.3g}", false,
     nullptr, "Random jitter of the output, computed.",
     PartOf<&RunResult::statisticalOutput, &JitterParts::random>,
     JitterLine<&RunResult::statisticalOutput>},
    {"/statistical/jitter/deterministic_ui", "DJ at the output", "UI", 1, "{:.3g}", false, nullptr,
     "Deterministic jitter (dual-Dirac) of the output, computed.",
     PartOf<&RunResult::statisticalOutput, &JitterParts::deterministic>, NoLine},
    {"/statistical/jitter/data_dependent_ui", "DDJ at the output", "UI", 1, "{:.3g}", false,
     nullptr, "Data-dependent jitter, peak to peak whatever the symbols, of the output, computed.",
     PartOf<&RunResult::statisticalOutput, &JitterParts::dataDependent>, NoLine},
    {"/statistical/jitter/duty_cycle_ui", "DCD at the output", "UI", 1, "{:.3g}", false, nullptr,
     "Duty-cycle distortion of the output, computed.",
     PartOf<&RunResult::statisticalOutput, &JitterParts::dutyCycle>, NoLine},
    {"/statistical/jitter/total_ui", "TJ at the output", "UI", 1, "{:.3g}", false, nullptr,
     "Total jitter at 1e-12 of the output, computed.",
     PartOf<&RunResult::statisticalOutput, &JitterParts::total>, NoLine},
    {"/eye/jitter/random_ui_rms", "Random jitter (RJ)", "mUI rms", 1e3, "{:.3g}", false,
     "rj_ui_rms", "Of the output against the clock, by the fit to its time bathtub.",
     [](const RunResult& r) { return OfJitter(r, &Jitter::random); }, NoLine},
    {"/eye/jitter/deterministic_ui", "Deterministic jitter (DJ)", "mUI", 1e3, "{:.3g}", false,
     "dj_ui", "The same, dual-Dirac.",
     [](const RunResult& r) { return OfJitter(r, &Jitter::deterministic); }, NoLine},
    {"/eye/jitter/total_ui", "Total jitter (TJ) at 1e-12", "UI", 1, "{:.3f}", false, "tj_ui",
     "The same: what it leaves no opening of.",
     [](const RunResult& r) { return OfJitter(r, &Jitter::total); }, NoLine},
    {"/mask/margin_percent", "Mask margin", "%", 1, "{:+.1f}", false, "mask_margin_percent",
     "By how much the mask of `--mask` may grow about its centre before it has more hits than it "
     "allows; `mask` is there in runs with one.",
     [](const RunResult& r) { return r.mask ? Known(r.mask->MarginPercent()) : std::nullopt; },
     [](const RunResult& r) { return r.mask ? MaskLine(*r.mask) : ""; }},
    {"/mask/hits", "Mask hits", "", 1, "{:.0f}", true, "mask_hits",
     "Samples of the eye within the mask and beyond its limits.",
     [](const RunResult& r) { return r.mask ? Count(r.mask->Hits()) : std::nullopt; }, NoLine},
    {"/errors", "Bit errors", "", 1, "{:.0f}", true, "errors",
     "Received bits that differ from the sent ones; of PAM through the mapping to symbols.",
     [](const RunResult& r) { return Compared(r) ? Count(r.comparison->errors) : std::nullopt; },
     [](const RunResult& r) -> std::string {
         if (!Compared(r)) return kNone;
         return fmt::format("{} in {}", Grouped(r.comparison->errors),
                            Grouped(r.comparison->compared));
     }},
    {"/compared_bits", "Compared bits", "", 1, "{:.0f}", true, "compared_bits",
     "Received bits that were compared with the sent ones.",
     [](const RunResult& r) { return Count(Compared(r) ? r.comparison->compared : 0); }, NoLine},
    {"/bit_error_ratio", "Bit error ratio", "", 1, "{:.3g}", false, "bit_error_ratio",
     "The errors over the compared bits.",
     [](const RunResult& r) {
         if (!Compared(r)) return Value();
         return Value(static_cast<double>(r.comparison->errors) /
                      static_cast<double>(r.comparison->compared));
     },
     NoLine},
    {"/bit_error_ratio_low", "Bit error ratio, at least", "", 1, "{:.3g}", false,
     "bit_error_ratio_low", "No lower one makes so many errors, with 95 % confidence.",
     [](const RunResult& r) {
         const auto limits = LimitsOf(r);
         return limits ? Value(limits->low) : std::nullopt;
     },
     NoLine},
    {"/bit_error_ratio_high", "Bit error ratio, at most", "", 1, "{:.3g}", false,
     "bit_error_ratio_high", "No higher one makes so few errors, with 95 % confidence.",
     [](const RunResult& r) {
         const auto limits = LimitsOf(r);
         return limits ? Value(limits->high) : std::nullopt;
     },
     NoLine},
    {"/end_to_end/errors", "Bit errors end to end", "", 1, "{:.0f}", true, "end_to_end_errors",
     "Received bits that differ from those that the first transmitter of several segments sent.",
     [](const RunResult& r) { return r.endToEnd ? Count(r.endToEnd->errors) : std::nullopt; },
     NoLine, Number::Of::kChains},
    {"/end_to_end/compared_bits", "Bits compared end to end", "", 1, "{:.0f}", true, nullptr,
     "Received bits that were compared with those of the first transmitter.",
     [](const RunResult& r) { return r.endToEnd ? Count(r.endToEnd->compared) : std::nullopt; },
     NoLine, Number::Of::kChains},
    {"/symbol_errors", "Symbol errors", "", 1, "{:.0f}", true, "symbol_errors",
     "Received symbols that differ from the sent ones; of PAM only.",
     [](const RunResult& r) {
         return ComparedSymbols(r) ? Count(r.comparison->symbolErrors) : std::nullopt;
     },
     [](const RunResult& r) -> std::string {
         if (!ComparedSymbols(r)) return kNone;
         return fmt::format("{} in {}", Grouped(r.comparison->symbolErrors),
                            Grouped(r.comparison->comparedSymbols));
     },
     Number::Of::kSeveralLevels},
    {"/compared_symbols", "Compared symbols", "", 1, "{:.0f}", true, nullptr,
     "Received symbols that were compared with the sent ones; of PAM only.",
     [](const RunResult& r) {
         return Count(ComparedSymbols(r) ? r.comparison->comparedSymbols : 0);
     },
     NoLine, Number::Of::kSeveralLevels},
    {"/symbol_error_ratio", "Symbol error ratio", "", 1, "{:.3g}", false, nullptr,
     "The symbol errors over the compared symbols; of PAM only.",
     [](const RunResult& r) {
         if (!ComparedSymbols(r)) return Value();
         return Value(static_cast<double>(r.comparison->symbolErrors) /
                      static_cast<double>(r.comparison->comparedSymbols));
     },
     NoLine, Number::Of::kSeveralLevels},
    {"/eq_level", "Equalisation level", "", 1, "{:.0f}", true, "eq_level",
     "The equaliser's level in use at the end, of a model that logs it or has it as a parameter.",
     [](const RunResult& r) { return r.eqLevel ? Count(*r.eqLevel) : std::nullopt; },
     [](const RunResult& r) { return r.eqLevel ? std::to_string(*r.eqLevel) : ""; }},
    {"/requests", "Eye measurements asked for", "", 1, "{:.0f}", true, nullptr,
     "Eye measurements that the model's adaptation asked for, if it logs them.",
     [](const RunResult& r) { return r.adaptation ? Count(r.adaptation->requests) : std::nullopt; },
     [](const RunResult& r) {
         if (!r.adaptation) return std::string();
         return fmt::format("{}{}", r.adaptation->requests,
                            r.adaptation->finished ? " (adaptation finished)" : "");
     }},
    {"/speed/bits_per_s", "Bits a second", "", 1, "{:.0f}", false, nullptr,
     "Speed of the whole run.",
     [](const RunResult& r) {
         return Value(r.seconds > 0 ? static_cast<double>(r.bits) / r.seconds : 0);
     },
     NoLine},
};

}  // namespace

std::string Number::Heading() const
{
    return *unit ? fmt::format("{}, {}", title, unit) : title;
}

std::string Number::Line(const RunResult& result) const
{
    if (summary) return summary(result);
    const auto value = get(result);
    return value ? fmt::format("{} {}", Text(*value), unit) : kNone;
}

std::string Number::Text(double value) const
{
    return fmt::format(fmt::runtime(format), value * factor);
}

std::span<const Number> Numbers()
{
    return kNumbers;
}

const Number& NumberAt(std::string_view pointer)
{
    const auto found = std::ranges::find(kNumbers, pointer, &Number::pointer);
    if (found == std::end(kNumbers)) throw std::logic_error(fmt::format("no number {}", pointer));
    return *found;
}

std::string DescribeNumbers()
{
    std::string text = "| member | shown as | column in table.csv | meaning |\n|---|---|---|---|\n";
    for (const Number& number : kNumbers) {
        std::string member = number.pointer + 1;
        std::ranges::replace(member, '/', '.');
        text +=
            fmt::format("| `{}` | {} | {} | {} |\n", member, number.Heading(),
                        number.column ? fmt::format("`{}`", number.column) : "", number.meaning);
    }
    return text;
}

}  // namespace amisim
