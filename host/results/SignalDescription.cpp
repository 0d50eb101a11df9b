#include "host/results/SignalDescription.hpp"

#include <fmt/format.h>

#include <algorithm>

#include "host/channel/ChannelNetwork.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

Json Names(const std::vector<std::filesystem::path>& paths)
{
    Json names = Json::array();
    for (const auto& path : paths) names.push_back(path.string());
    return names;
}

Json ChannelJson(const SignalOptions& o)
{
    Json json;
    if (!o.touchstone.empty()) {
        json["touchstone"] =
            o.touchstone.size() == 1 ? Json(o.touchstone.front().string()) : Names(o.touchstone);
        if (!o.portOrder.empty()) json["port_order"] = o.portOrder;
    } else if (!o.impulse.empty()) {
        json["impulse"] = o.impulse.string();
    } else if (!o.step.empty()) {
        json["step"] = o.step.string();
    } else {
        json["loss_db"] = o.lossDb;
        json["skin_part"] = o.skinPart;
    }
    if (!o.sourceNetwork.empty()) json["source_network"] = o.sourceNetwork.string();
    if (!o.loadNetwork.empty()) json["load_network"] = o.loadNetwork.string();
    return json;
}

std::string ChannelName(const SignalOptions& o)
{
    if (!o.touchstone.empty()) return ShortNameOf(o.touchstone);
    for (const auto& path : {o.impulse, o.step}) {
        if (!path.empty()) return path.filename().string();
    }
    return o.lossDb > 0 ? fmt::format("{:g} dB line", o.lossDb) : "lossless line";
}

std::string PatternName(const SignalOptions& o)
{
    if (!o.pattern.empty()) return o.pattern.filename().string();
    if (o.clockPattern == 1) return "clock pattern";
    if (o.clockPattern > 1) return fmt::format("clock pattern of {} bits", o.clockPattern);
    return fmt::format("PRBS{}{}", o.prbs, o.Levels() == 4 ? "Q" : "");
}

}  // namespace

Json SignalJson(const SignalOptions& o)
{
    Json json = {{"bit_rate", o.bitRate}, {"samples_per_bit", o.samplesPerBit}};
    if (o.Levels() > 2) json["modulation"] = ModulationName(o.Levels());
    if (!o.wave.empty()) {
        json["wave"] = o.wave.string();
        const WaveReading& reading = o.reading;
        if (!reading.column.empty()) json["column"] = reading.column;
        if (reading.step) json["wave_step_s"] = *reading.step;
        if (reading.scale != 1) json["scale"] = reading.scale;
        if (reading.findOffset) json["offset"] = "auto";
        if (reading.offset != 0) json["offset"] = reading.offset;
        if (o.estimate) {
            json["bit_rate_found"] = {{"uncertainty_ppm", o.estimate->uncertainty},
                                      {"crossings", o.estimate->crossings},
                                      {"jitter_ui_rms", o.estimate->jitter}};
        }
        return json;
    }
    if (!o.pattern.empty()) {
        json["pattern"] = o.pattern.string();
    } else if (o.clockPattern > 0) {
        json["clock_pattern"] = o.clockPattern;
    } else {
        json["prbs"] = o.prbs;
    }
    if (o.Levels() == 4) json["pam4_mapping"] = o.pam4Mapping;
    json["amplitude_vpp"] = o.amplitude;
    json["rise_time_ui"] = o.riseTime;
    json["tx_pre"] = o.deemphasis.pre;
    json["tx_post"] = o.deemphasis.post;
    json["phase_ui"] = o.phase;
    json["ppm"] = o.ppm;
    json["random_jitter_ui_rms"] = o.randomJitter;
    json["sine_jitter_ui"] = o.sineJitter;
    json["sine_jitter_hz"] = o.sineFrequency;
    json["duty_cycle_distortion_ui"] = o.dutyCycleDistortion;
    json["noise_v_rms"] = o.noise;
    if (o.noiseBandwidth) json["noise_bandwidth_hz"] = *o.noiseBandwidth;
    json["seed"] = o.seed;
    json.update(ChannelJson(o));
    if (o.mixedMode != "auto") json["mixed_mode"] = o.mixedMode;
    if (o.acceptChannel) json["accept_channel"] = true;
    if (!o.lanes.empty()) json["lanes"] = o.lanes;
    if (!o.victim.empty()) json["victim"] = o.victim;
    if (!o.aggressors.empty()) json["aggressors"] = o.aggressors;
    if (o.ends.source) json["source_ohms"] = *o.ends.source;
    if (o.ends.load) json["load_ohms"] = *o.ends.load;
    if (o.ends.sourceFarads != 0) json["source_farads"] = o.ends.sourceFarads;
    if (o.ends.loadFarads != 0) json["load_farads"] = o.ends.loadFarads;
    if (!o.fext.empty() || !o.next.empty() || !o.aggressors.empty()) {
        json["fext"] = Names(o.fext);
        json["next"] = Names(o.next);
        if (!o.crosstalkPortOrder.empty()) json["crosstalk_port_order"] = o.crosstalkPortOrder;
        json["aggressor_amplitude_vpp"] = o.aggressorAmplitude;
        json["aggressor_ppm"] = o.aggressorPpm;
    }
    return json;
}

std::string Describe(const SignalOptions& o)
{
    const std::string modulation = o.Levels() > 2 ? ", " + ModulationName(o.Levels()) : "";
    if (!o.wave.empty()) return o.wave.filename().string() + modulation;
    std::string text = ChannelName(o);
    const auto near = static_cast<std::size_t>(std::ranges::count_if(
        o.aggressors, [](const std::string& lane) { return lane.find(":next") != lane.npos; }));
    if (const auto far = o.fext.size() + o.aggressors.size() - near; far != 0)
        text += fmt::format(" + {} FEXT", far);
    if (o.next.size() + near != 0) text += fmt::format(" + {} NEXT", o.next.size() + near);
    text += modulation;
    text += fmt::format(", {}, {:g} mV peak to peak", PatternName(o), o.amplitude * 1000);
    for (const auto& [cursors, name] :
         {std::pair{&o.deemphasis.pre, ", pre "}, {&o.deemphasis.post, ", post "}}) {
        const char* before = name;
        for (const double cursor : *cursors) {
            text += fmt::format("{}{:g}", before, cursor);
            before = "/";
        }
    }
    if (o.ppm != 0) text += fmt::format(", {:g} ppm", o.ppm);
    if (o.randomJitter > 0) text += fmt::format(", {:g} UI rms jitter", o.randomJitter);
    if (o.sineJitter > 0) {
        text += fmt::format(", {:g} UI sinusoidal jitter at {:g} MHz", o.sineJitter,
                            o.sineFrequency * 1e-6);
    }
    if (o.dutyCycleDistortion != 0)
        text += fmt::format(", {:g} UI duty-cycle distortion", o.dutyCycleDistortion);
    if (o.noise != 0) text += fmt::format(", {:g} mV rms noise", o.noise * 1000);
    if (o.noiseBandwidth) text += fmt::format(" up to {:g} GHz", *o.noiseBandwidth * 1e-9);
    return text;
}

}  // namespace amisim
