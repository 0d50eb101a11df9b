#include "host/results/ResultJson.hpp"

#include <cmath>

#include "base/JsonNumber.hpp"
#include "host/results/EyeDensity.hpp"
#include "host/results/SignalDescription.hpp"
#include "host/results/Speed.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

Json FitJson(const std::optional<TailFit>& fit)
{
    if (!fit) return nullptr;
    return {{"mean", OrNull(fit->mean)},
            {"sigma", OrNull(fit->sigma)},
            {"weight", OrNull(fit->weight)},
            {"highest_ratio", OrNull(fit->highest)},
            {"lowest_ratio", OrNull(fit->lowest)}};
}

Json EyeJson(const EyeFindings& eye)
{
    Json json = {{"height_v", eye.vertical.Height()},
                 {"width_ui", OrNull(eye.Width())},
                 {"high_v", eye.vertical.high},
                 {"low_v", eye.vertical.low},
                 {"left_ui", OrNull(eye.left)},
                 {"right_ui", OrNull(eye.right)},
                 {"probability", kEyeProbability},
                 {"unit_intervals", eye.unitIntervals},
                 {"sampled_at_ui", eye.sampledAt},
                 {"shift_ui", eye.shift},
                 {"sliced", eye.sliced},
                 {"not_finite_samples", eye.notFinite},
                 {"wild_samples", eye.wild.count},
                 {"transition_density", OrNull(eye.transitionDensity)}};
    json["openings"] = Json::array();
    for (const OpeningAt& opening : eye.openings) {
        json["openings"].push_back({{"ber", opening.ber},
                                    {"height_v", OrNull(opening.height)},
                                    {"height_extrapolated", opening.heightExtrapolated},
                                    {"width_ui", OrNull(opening.width)},
                                    {"width_extrapolated", opening.widthExtrapolated}});
    }
    json["jitter"] = nullptr;
    if (eye.jitter) {
        json["jitter"] = {{"random_ui_rms", OrNull(eye.jitter->random)},
                          {"deterministic_ui", OrNull(eye.jitter->deterministic)},
                          {"total_ui", OrNull(eye.jitter->total)},
                          {"ber", eye.jitter->ber}};
    }
    json["fits"] = {{"time_left", FitJson(eye.time.low)},
                    {"time_right", FitJson(eye.time.high)},
                    {"voltage_low", FitJson(eye.voltage.low)},
                    {"voltage_high", FitJson(eye.voltage.high)}};
    const VoltageHistogram& density = eye.density;
    const auto [first, last] = OccupiedRows(density);
    json["density"] = nullptr;
    if (first < last) {
        json["density"] = {{"phases", density.Columns()},
                           {"voltages", last - first},
                           {"first_edge_v", density.Edge(first)},
                           {"step_v", density.BinHeight()}};
    }
    return json;
}

Json ClockJson(const ClockFindings& clock)
{
    Json json = {{"times", clock.times},
                 {"filled", clock.filled},
                 {"backward", clock.backward},
                 {"ideal", clock.ideal},
                 {"tie_peak_to_peak_ui", OrNull(clock.tiePeakToPeak)},
                 {"moved_ui", OrNull(clock.moved)},
                 {"spectrum_floor_ui", OrNull(clock.tieSpectrum.floor)},
                 {"spectrum_segments", clock.tieSpectrum.segments}};
    json["tones"] = Json::array();
    for (const auto& tone : clock.tieSpectrum.tones) {
        json["tones"].push_back(
            {{"frequency_hz", OrNull(tone.frequency)}, {"amplitude_ui", OrNull(tone.amplitude)}});
    }
    return json;
}

Json MaskJson(const MaskFindings& mask)
{
    Json corners = Json::array();
    for (const EyePlace corner : mask.corners) corners.push_back({corner.x, corner.y});
    return {{"name", mask.name},
            {"at", mask.atInput ? "input" : "output"},
            {"hits", mask.Hits()},
            {"hits_beyond_limits", mask.beyond},
            {"samples", mask.samples},
            {"hit_ratio", OrNull(mask.HitRatio())},
            {"allowed", mask.allowed},
            {"margin_percent", OrNull(mask.MarginPercent())},
            {"passed", mask.Passed()},
            {"corners", corners},
            {"centre", {mask.centre.x, mask.centre.y}},
            {"limits_v", {OrNull(mask.low), OrNull(mask.high)}}};
}

Json SettlingJson(const RunResult& r)
{
    return {{"state", r.lock ? Json(StateOf(*r.lock, r.settling, r.ignoredBits)) : Json(nullptr)},
            {"eye_at_bit", OrNull(r.settling.eye)},
            {"adaptation_at_bit", OrNull(r.settling.adaptation)}};
}

Json AdaptationJson(const AdaptLog& log)
{
    Json json = {{"measurements", log.measurements.size()}, {"finished", log.finished}};
    json["trace"] = Json::array();
    for (const auto& m : log.measurements) {
        json["trace"].push_back({{"level", m.level},
                                 {"taps", m.taps},
                                 {"heo", m.horizontal},
                                 {"veo", m.vertical},
                                 {"range", m.range},
                                 {"lock_phase", m.lockPhase}});
    }
    return json;
}

Json SamplerJson(const SamplerSettings& sampler)
{
    const auto jitter = [](const SamplerSettings::Jitter& j) {
        return Json{{"mean_ui", j.mean},
                    {"random_ui_rms", j.random},
                    {"uniform_ui_peak", j.uniform},
                    {"sine_ui_peak", j.sine},
                    {"alternating_ui_peak", j.alternating}};
    };
    return {{"clock", jitter(sampler.clock)},
            {"clock_recovery", jitter(sampler.recovered)},
            {"gaussian_noise_v_rms", sampler.gaussianNoise},
            {"uniform_noise_v_peak", sampler.uniformNoise},
            {"sensitivity_v", sampler.sensitivity}};
}

/// An eye among others, by its threshold.
void AddName(Json& json, const EyeFindings& eye, std::size_t count)
{
    json["name"] = EyeName(eye.which, count);
    json["threshold_v"] = eye.threshold;
}

/// The worst eye, with all of them where there are several.
Json EyesJson(const EyeFindings& worst)
{
    Json json = EyeJson(worst);
    if (worst.eyes.empty()) return json;
    AddName(json, worst, worst.eyes.size());
    json["eyes"] = Json::array();
    for (const EyeFindings& eye : worst.eyes) {
        json["eyes"].push_back(EyeJson(eye));
        AddName(json["eyes"].back(), eye, worst.eyes.size());
        json["eyes"].back().erase("density");  // is that of all of them
    }
    return json;
}

/// A computed eye has the members of a counted one that make sense of it.
Json ComputedJson(const StatisticalEye& computed, const EyeFindings& eye)
{
    Json json = EyeJson(eye);
    for (const char* counted : {"unit_intervals", "shift_ui", "sliced", "not_finite_samples",
                                "wild_samples", "transition_density", "jitter", "fits", "density"})
        json.erase(counted);
    json["worst_height_v"] = computed.worstHeights[eye.which];
    if (computed.eyes.size() > 1) AddName(json, eye, computed.eyes.size());
    return json;
}

Json StatisticalJson(const std::optional<StatisticalEye>& eye)
{
    if (!eye) return nullptr;
    const StatisticalEye& computed = *eye;
    Json json = ComputedJson(computed, WorstOf(computed.eyes));
    if (computed.eyes.size() > 1) {
        for (const EyeFindings& one : computed.eyes)
            json["eyes"].push_back(ComputedJson(computed, one));
    }
    json["delay_ui"] = computed.delay;
    json["bin_v"] = computed.binHeight;
    json["smear_v_rms"] = computed.smear;
    return json;
}

Json SmallSignalJson(const std::optional<SmallSignal>& measured)
{
    if (!measured) return nullptr;
    return {{"samples", measured->response.size()},
            {"nonlinearity", measured->nonlinearity},
            {"unexplained", measured->unexplained}};
}

Json CountsJson(const std::optional<BitComparison>& comparison)
{
    if (!comparison) return nullptr;
    return {{"errors", comparison->errors}, {"compared_bits", comparison->compared}};
}

Json ParametersJson(const std::vector<ParameterTrack>& tracks)
{
    Json list = Json::array();
    for (const ParameterTrack& track : tracks) {
        list.push_back({{"name", track.name},
                        {"bits", track.bit},
                        {"values", track.value},
                        {"stride_bits", track.stride}});
    }
    return list;
}

/// One of a link, with the members that the last has at the top.
Json SegmentJson(const RunResult& r, const SegmentOptions& own)
{
    Json json = {{"name", r.name},
                 {"file", own.model.string()},
                 {"corner", NameOf(own.corner)},
                 {"verdict", r.lock ? Json(Name(*r.lock)) : Json(nullptr)},
                 {"errors", CountsJson(r.comparison)},
                 {"end_to_end", CountsJson(r.endToEnd ? r.endToEnd : r.comparison)},
                 {"eye", r.eye ? EyesJson(*r.eye) : Json(nullptr)},
                 {"input_eye", r.inputEye ? EyesJson(*r.inputEye) : Json(nullptr)},
                 {"statistical",
                  {{"input_eye", StatisticalJson(r.statisticalInput)},
                   {"eye", StatisticalJson(r.statisticalOutput)}}}};
    json["clock"] = ClockJson(r.clock);
    json["clock"]["ppm"] = OrNull(r.clock.ppm);
    json["clock"]["tie_rms_ui"] = OrNull(r.clock.tieRms);
    json["parameters_in"] = own.parameters;
    json["parameters_out"] = ParametersJson(r.parameters);
    json["transmitter"] = r.transmitter ? Json(r.transmitter->name) : Json(nullptr);
    json["signal"] = SignalJson(own.signal);
    json["model_seconds"] = r.modelSeconds;
    return json;
}

/// In the link's order.
Json SegmentsJson(const RunResult& r, const SimulationOptions& options)
{
    Json list = Json::array();
    for (std::size_t k = 0; k < r.earlier.size(); ++k)
        list.push_back(SegmentJson(r.earlier[k], options.earlier[k]));
    list.push_back(SegmentJson(r, options));
    return list;
}

}  // namespace

Json ToJson(const RunResult& r, const SimulationOptions& options, const ModelSource& model)
{
    Json settings = Json::object();
    for (const auto& [name, value] : model.settings) settings[name] = value;

    Json json;
    json["schema"] = kResultSchema;
    json["amisim"] = AMISIM_VERSION;
    json["ok"] = !r.failure;
    json["failure"] = nullptr;
    if (r.failure) {
        json["failure"] = {{"exit_code", static_cast<int>(r.failure->code)},
                           {"phase", r.failure->phase},
                           {"reason", r.failure->reason},
                           {"text", r.failure->printed}};
    }
    json["verdict"] = r.lock ? Json(Name(*r.lock)) : Json(nullptr);
    for (const Number& number : Numbers()) {
        if (!number.AppliesTo(r)) continue;
        json[Json::json_pointer(number.pointer)] = ToJson(number, number.get(r));
    }
    if (r.training) {
        json["training"]["state"] = Name(r.training->state);
        json["training"]["interval_bits"] = r.training->interval;
    }
    if (r.mask)
        json["mask"] = MaskJson(*r.mask);
    else
        json.erase("mask");
    json["settling"].update(SettlingJson(r));
    json["alignment"] = nullptr;
    if (r.comparison) {
        json["alignment"] = {{"delay_bits", r.comparison->delay},
                             {"inverted", r.comparison->inverted},
                             {"realignments", r.comparison->realignments},
                             {"unaligned_bits", r.comparison->unaligned}};
    }
    json["eye"].erase("jitter");
    if (r.eye) json["eye"].update(EyesJson(*r.eye));
    json["input_eye"] = r.inputEye ? EyesJson(*r.inputEye) : Json(nullptr);
    json["statistical"].update({{"input_eye", StatisticalJson(r.statisticalInput)},
                                {"eye", StatisticalJson(r.statisticalOutput)},
                                {"small_signal", SmallSignalJson(r.smallSignal)}});
    json["clock"].update(ClockJson(r.clock));
    json["adaptation"] = r.adaptation ? AdaptationJson(*r.adaptation)
                                      : Json{{"measurements", nullptr}, {"finished", nullptr}};
    json["model"] = {{"file", options.model.string()},
                     {"library", model.library.filename().string()},
                     {"name", model.name},
                     {"corner", NameOf(options.corner)},
                     {"box", r.box.Name()},
                     {"box_parts", r.box.Parts()},
                     {"settings", settings},
                     {"parameters_in", model.parameters},
                     {"parameters_out", r.parametersOut},
                     {"message", r.modelMessage}};
    if (const auto& tx = r.transmitter) {
        json["transmitter"] = {{"file", options.transmitter.string()},
                               {"name", tx->name},
                               {"corner", NameOf(options.transmitterCorner)},
                               {"parameters_in", tx->parametersIn},
                               {"parameters_out", tx->parametersOut},
                               {"message", tx->message},
                               {"seconds", tx->seconds}};
    }
    if (r.forwardedClock) {
        json["model"]["clock_input"] = {
            {"as", model.clockInput},
            {"lane", options.clockLane.empty() ? Json(nullptr) : Json(options.clockLane.string())}};
    }
    if (r.residual) json["model"]["filter_residual"] = *r.residual;
    if (!r.impulses.empty()) {
        json["model"]["impulses"] = {{"samples", r.impulses[0].size()},
                                     {"aggressors", r.impulses.size() - 1},
                                     {"changed", r.impulsesChanged}};
    }
    json["sampler"] = SamplerJson(r.sampler);
    json["parameters_out"] = ParametersJson(r.parameters);
    json["signal"] = SignalJson(options.signal);
    if (const auto& channel = r.channel) {
        json["channel"] = {{"loss_at_half_bit_rate_db", channel->LossAtHalfRate()},
                           {"pulse_peak_v_per_v", *std::ranges::max_element(channel->pulse)}};
    }
    if (const auto& grade = r.channelGrade) {
        json["channel"]["grade"] = {{"band", grade->band},
                                    {"passivity", grade->passivity},
                                    {"reciprocity", grade->reciprocity},
                                    {"causality", grade->causality},
                                    {"kept", grade->Faults().empty()}};
    }
    const Speed speed(r, options.signal.samplesPerBit);
    json["speed"].update({{"seconds", r.seconds},
                          {"model_seconds", r.modelSeconds},
                          {"ns_per_sample", speed.nanosecondsASample},
                          {"model_ns_per_sample", speed.modelNanosecondsASample},
                          {"block_bits", options.blockBits}});
    if (!r.earlier.empty()) {
        json["end_to_end"] = CountsJson(r.endToEnd);
        json["segments"] = SegmentsJson(r, options);
    }
    json["messages"] = r.notes;
    json["files"] = r.files;
    return json;
}

Json ToJson(const Number& number, std::optional<double> value)
{
    if (!value) return nullptr;
    return number.counts ? Json(static_cast<std::int64_t>(*value)) : Json(*value);
}

std::string ToText(const Json& json, int indent)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace amisim
