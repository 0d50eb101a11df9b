#include "host/network/NetworkReport.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/JsonNumber.hpp"
#include "host/network/NetworkPage.hpp"
#include "host/network/NetworkPlots.hpp"
#include "host/results/ResultJson.hpp"

namespace amisim {
namespace {

using Json = nlohmann::ordered_json;

Json VerdictJson(const LimitVerdict& verdict)
{
    const Limit& limit = verdict.limit;
    Json json = {{"curve", limit.curve},
                 {"bound", limit.isMost ? "most" : "least"},
                 {"from_hz", limit.from},
                 {"to_hz", limit.to},
                 {"judged", verdict.isJudged}};
    if (verdict.isJudged) {
        json.update({{"kept", !verdict.IsMissed()},
                     {"margin_db", verdict.marginDb},
                     {"at_hz", verdict.frequency},
                     {"judged_from_hz", verdict.from},
                     {"judged_to_hz", verdict.to},
                     {"whole_band", verdict.isWhole}});
    }
    return json;
}

/// Columns of one length under their names; what is not known is left empty.
std::string Csv(const std::vector<std::pair<std::string, const std::vector<double>*>>& columns)
{
    std::string text;
    for (const auto& [name, values] : columns) text += (text.empty() ? "" : ",") + name;
    text += '\n';
    for (std::size_t row = 0; row < columns.front().second->size(); ++row) {
        const char* separator = "";
        for (const auto& [name, values] : columns) {
            const double value = (*values)[row];
            text += separator;
            if (std::isfinite(value)) fmt::format_to(std::back_inserter(text), "{}", value);
            separator = ",";
        }
        text += '\n';
    }
    return text;
}

}  // namespace

bool NetworkReport::IsMissed() const
{
    return std::ranges::any_of(verdicts, &LimitVerdict::IsMissed);
}

double NetworkReport::AtHalfRate(std::string_view wanted) const
{
    const NetworkCurve* const curve = figures.Find(wanted);
    const auto& f = figures.frequency;
    const double at = bitRate / 2;
    if (!curve || at < f.front() || at > f.back()) return NAN;
    const auto after = std::max<std::ptrdiff_t>(1, std::ranges::lower_bound(f, at) - f.begin());
    const auto k = static_cast<std::size_t>(after);
    const double part = (at - f[k - 1]) / (f[k] - f[k - 1]);
    return curve->db[k - 1] + part * (curve->db[k] - curve->db[k - 1]);
}

const OutputFolder::Kind& ChannelFolder()
{
    static const OutputFolder::Kind kind = [] {
        OutputFolder::Kind channel{"channel", {"channel.json", "channel.html"}};
        for (const PictureFormat format : kPictureFormats) {
            for (const auto name : kNetworkPictures)
                channel.files.push_back(fmt::format("{}.{}", name, Name(format)));
        }
        for (const char* name : {"channel.csv", "impedance.csv", "response.csv"})
            channel.files.emplace_back(name);
        return channel;
    }();
    return kind;
}

Json ToJson(const NetworkReport& r)
{
    const LossFit& fit = r.figures.fit;
    Json json = {{"schema", 1},
                 {"channel", r.name},
                 {"bit_rate", r.bitRate},
                 {"from_hz", r.figures.frequency.front()},
                 {"to_hz", r.figures.frequency.back()},
                 {"points", r.figures.frequency.size()},
                 {"reference_ohms", r.figures.reference}};
    for (const NetworkCurve& curve : r.figures.curves)
        json["at_half_bit_rate"][std::string(curve.name)] = OrNull(r.AtHalfRate(curve.name));
    if (r.noise) {
        json["crosstalk_noise"] = {{"v_rms", r.noise->Total()},
                                   {"fext_v_rms", r.noise->far},
                                   {"next_v_rms", r.noise->near},
                                   {"from_hz", r.noise->from},
                                   {"to_hz", r.noise->to},
                                   {"transmitter_corner_hz", OrNull(r.noise->transmitterCorner)},
                                   {"receiver_corner_hz", r.noise->receiverCorner}};
    }
    json["fit"] = {{"a0_db", fit.a[0]},
                   {"a1_db_per_root_hz", fit.a[1]},
                   {"a2_db_per_hz", fit.a[2]},
                   {"a4_db_per_hz2", fit.a[3]},
                   {"from_hz", fit.from},
                   {"to_hz", fit.to},
                   {"deviation_db_rms", fit.rmsDb}};
    if (r.grade) {
        json["grade"] = {{"band", r.grade->band},
                         {"passivity", r.grade->passivity},
                         {"reciprocity", r.grade->reciprocity},
                         {"causality", r.grade->causality},
                         {"kept", r.grade->Faults().empty()}};
    }
    if (r.limits) {
        json["limits"] = {{"name", r.limits->name}, {"kept", !r.IsMissed()}};
        for (const LimitVerdict& verdict : r.verdicts)
            json["limits"]["lines"].push_back(VerdictJson(verdict));
    }
    json["messages"] = r.notes;
    return json;
}

std::string ToText(const NetworkReport& r)
{
    std::string text;
    const auto row = [&](const std::string& name, const std::string& value) {
        fmt::format_to(std::back_inserter(text), "  {:<40}  {}\n", name, value);
    };
    text += r.name + "\n";
    const auto& f = r.figures.frequency;
    row("Frequencies", fmt::format("{:.4g} MHz to {:.4g} GHz, {} points", f.front() * 1e-6,
                                   f.back() * 1e-9, f.size()));
    for (const NetworkCurve& curve : r.figures.curves) {
        const double value = r.AtHalfRate(curve.name);
        if (std::isfinite(value)) {
            row(std::string(curve.title),
                fmt::format("{:.2f} dB at {:.6g} GHz", value, r.bitRate * 0.5e-9));
        }
    }
    row("Deviation from the fit, rms",
        fmt::format("{:.3f} dB from {:.4g} to {:.4g} GHz", r.figures.fit.rmsDb,
                    r.figures.fit.from * 1e-9, r.figures.fit.to * 1e-9));
    if (r.noise) row(kCrosstalkNoise, NoiseText(*r.noise));
    if (!r.limits) return text;
    text += fmt::format("Limits of {}\n", r.limits->name);
    for (const LimitVerdict& v : r.verdicts) row(LimitName(r, v), VerdictText(v));
    return text;
}

void SaveReport(const NetworkReport& r, const PictureFormats& formats, const PutFile& put)
{
    put("channel.json", ToText(ToJson(r), 2) + "\n");
    put("channel.html", NetworkPage(r));
    for (const NetworkPicture& picture :
         PicturesOf(r.figures, r.response, r.limits ? &*r.limits : nullptr)) {
        for (const PictureFormat format : formats) {
            put(fmt::format("{}.{}", picture.name, Name(format)),
                plot::PlotsPicture(picture.plots, HeadingOf(r)).File(format));
        }
    }
    std::vector<std::pair<std::string, const std::vector<double>*>> columns = {
        {"frequency_hz", &r.figures.frequency}};
    for (const NetworkCurve& curve : r.figures.curves) columns.emplace_back(curve.name, &curve.db);
    put("channel.csv", Csv(columns));
    put("impedance.csv", Csv({{"time_s", &r.figures.source.time},
                              {"impedance_source_ohms", &r.figures.source.ohms},
                              {"impedance_load_ohms", &r.figures.load.ohms}}));
    put("response.csv", Csv({{"time_s", &r.response.time},
                             {"pulse_v", &r.response.pulse},
                             {"step_v", &r.response.step}}));
}

}  // namespace amisim
