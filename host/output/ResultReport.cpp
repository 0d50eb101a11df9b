#include "host/output/ResultReport.hpp"

#include <fmt/format.h>

#include <cmath>

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

Json OrNull(const std::optional<int>& value)
{
    return value ? Json(*value) : Json(nullptr);
}
Json OrNull(double value)
{
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

double NanosecondsASample(double seconds, const RunResult& result, const RunOptions& options)
{
    const double samples = static_cast<double>(result.bits) * options.signal.samplesPerBit;
    return samples > 0 ? seconds * 1e9 / samples : 0;
}

double BitsASecond(const RunResult& result)
{
    return result.seconds > 0 ? static_cast<double>(result.bits) / result.seconds : 0;
}

/// Digits in groups of three.
std::string Grouped(std::int64_t value)
{
    const std::string digits = std::to_string(value);
    std::string text;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}

}  // namespace

Json ToJson(const RunResult& r, const RunOptions& options, const ModelSource& model)
{
    Json settings = Json::object();
    for (const auto& [name, value] : model.settings) settings[name] = value;

    Json json;
    json["amisim"] = AMISIM_VERSION;
    json["ok"] = !r.failure;
    json["failure"] = nullptr;
    if (r.failure) {
        json["failure"] = {{"exit_code", static_cast<int>(r.failure->code)},
                           {"phase", r.failure->phase},
                           {"reason", r.failure->reason},
                           {"text", r.failure->printed}};
    }
    json["bits"] = r.bits;
    json["ignored_bits"] = r.ignoredBits;
    const bool compared = r.comparison && r.comparison->compared > 0;
    json["compared_bits"] = compared ? r.comparison->compared : 0;
    json["errors"] = compared ? Json(r.comparison->errors) : Json(nullptr);
    json["bit_error_ratio"] = compared ? Json(static_cast<double>(r.comparison->errors) /
                                              static_cast<double>(r.comparison->compared))
                                       : Json(nullptr);
    json["alignment"] = nullptr;
    if (r.comparison) {
        json["alignment"] = {{"delay_bits", r.comparison->delay},
                             {"inverted", r.comparison->inverted},
                             {"realignments", r.comparison->realignments},
                             {"unaligned_bits", r.comparison->unaligned}};
    }
    json["eye"] = {{"height_v", nullptr}, {"width_ui", nullptr}};
    if (r.eye) {
        json["eye"] = {{"height_v", r.eye->vertical.Height()},
                       {"width_ui", r.eye->left + r.eye->right},
                       {"high_v", r.eye->vertical.high},
                       {"low_v", r.eye->vertical.low},
                       {"left_ui", r.eye->left},
                       {"right_ui", r.eye->right},
                       {"probability", kEyeProbability},
                       {"unit_intervals", r.eye->unitIntervals},
                       {"sampled_at_ui", r.sampledAt}};
    }
    json["unit_interval_s"] = OrNull(r.clock.unitInterval);
    json["ppm"] = OrNull(r.clock.ppm);
    json["clock"] = {{"times", r.clock.times}, {"filled", r.clock.filled}};
    json["eq_level"] = OrNull(r.eqLevel);
    json["requests"] = r.adaptation ? Json(r.adaptation->requests) : Json(nullptr);
    json["adaptation"] = {{"measurements", nullptr}, {"finished", nullptr}};
    if (r.adaptation) {
        json["adaptation"] = {{"measurements", r.adaptation->measurements.size()},
                              {"finished", r.adaptation->finished}};
    }
    json["model"] = {{"file", options.model.string()},
                     {"library", model.library.filename().string()},
                     {"name", model.name},
                     {"settings", settings},
                     {"parameters_in", model.parameters},
                     {"parameters_out", r.parametersOut},
                     {"message", r.modelMessage}};
    json["signal"] = SignalJson(options.signal);
    json["speed"] = {{"seconds", r.seconds},
                     {"model_seconds", r.modelSeconds},
                     {"bits_per_s", BitsASecond(r)},
                     {"ns_per_sample", NanosecondsASample(r.seconds, r, options)},
                     {"model_ns_per_sample", NanosecondsASample(r.modelSeconds, r, options)},
                     {"block_bits", options.blockBits}};
    json["messages"] = r.notes;
    json["files"] = r.files;
    return json;
}

std::string ToTable(const RunResult& r, const RunOptions& options)
{
    std::string text;
    const auto row = [&](std::string_view name, const std::string& value) {
        text += fmt::format("  {:<26} {}\n", name, value);
    };
    const std::string none = "-";
    row("Equalisation level", r.eqLevel ? std::to_string(*r.eqLevel) : none);
    if (r.adaptation) {
        row("Eye measurements asked for",
            fmt::format("{}{}", r.adaptation->requests,
                        r.adaptation->finished ? " (adaptation finished)" : ""));
    } else {
        row("Eye measurements asked for", none);
    }
    row("Bits", fmt::format("{} (the first {} not counted below)", Grouped(r.bits),
                            Grouped(r.ignoredBits)));
    row("Recovered unit interval",
        std::isnan(r.clock.unitInterval)
            ? none
            : fmt::format("{:.5f} ps ({:+.1f} ppm)", r.clock.unitInterval * 1e12, r.clock.ppm));
    row("Eye height", r.eye ? fmt::format("{:.1f} mV", r.eye->vertical.Height() * 1000) : none);
    row("Eye width", r.eye ? fmt::format("{:.3f} UI", r.eye->left + r.eye->right) : none);
    if (r.comparison && r.comparison->compared > 0) {
        row("Bit errors", fmt::format("{} in {}", Grouped(r.comparison->errors),
                                      Grouped(r.comparison->compared)));
    } else {
        row("Bit errors", none);
    }
    row("Speed", fmt::format("{} bits/s, {:.0f} ns a sample ({:.0f} ns of it in the model)",
                             Grouped(std::llround(BitsASecond(r))),
                             NanosecondsASample(r.seconds, r, options),
                             NanosecondsASample(r.modelSeconds, r, options)));
    return text;
}

}  // namespace amisim
