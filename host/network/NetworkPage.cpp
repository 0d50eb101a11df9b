#include "host/network/NetworkPage.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "host/network/NetworkPlots.hpp"
#include "host/pages/Html.hpp"

namespace amisim {

std::string LimitName(const NetworkReport& report, const LimitVerdict& verdict)
{
    const NetworkCurve* const curve = report.figures.Find(verdict.limit.curve);
    std::string name = verdict.limit.curve;  // of a curve that this channel lacks
    std::ranges::replace(name, '_', ' ');
    return fmt::format("{} {}", curve ? std::string(curve->title) : name, verdict.limit.Bound());
}

std::string VerdictText(const LimitVerdict& v)
{
    if (!v.isJudged) {
        return v.limit.curve.find("crosstalk") != std::string::npos
                   ? "not judged: there is no crosstalk at its frequencies"
                   : "not judged: there are no data at its frequencies";
    }
    std::string text =
        fmt::format("{} by {:.2f} dB at {:.4g} GHz", v.IsMissed() ? "MISSED" : "kept",
                    std::abs(v.marginDb), v.frequency * 1e-9);
    if (!v.isWhole) {
        text += fmt::format(", judged from {:.4g} to {:.4g} GHz of its {:.4g} to {:.4g}",
                            v.from * 1e-9, v.to * 1e-9, v.limit.from * 1e-9, v.limit.to * 1e-9);
    }
    return text;
}

std::string NoiseText(const CrosstalkNoise& noise)
{
    return fmt::format("{:.3g} mV rms: {:.3g} far, {:.3g} near", noise.Total() * 1e3,
                       noise.far * 1e3, noise.near * 1e3);
}

plot::Heading HeadingOf(const NetworkReport& report)
{
    const double loss = report.AtHalfRate("insertion_loss_db");
    const auto& f = report.figures.frequency;
    return {report.name,
            fmt::format("{:.4g} MHz to {:.4g} GHz{}", f.front() * 1e-6, f.back() * 1e-9,
                        std::isfinite(loss) ? fmt::format(", {:.2f} dB at {:.6g} GHz", loss,
                                                          report.bitRate * 0.5e-9)
                                            : ""),
            !report.limits      ? ""
            : report.IsMissed() ? fmt::format("misses limits of {}", report.limits->name)
                                : fmt::format("keeps what was judged of {}", report.limits->name)};
}

std::string NetworkPage(const NetworkReport& report)
{
    using html::Escaped;
    std::string text = html::Begin(fmt::format("Channel {}", report.name));
    const plot::Heading heading = HeadingOf(report);
    fmt::format_to(std::back_inserter(text), "<p>{}</p>\n", Escaped(heading.signal));
    const auto begin = [&](const std::string& title) {
        fmt::format_to(std::back_inserter(text),
                       "<h2>{}</h2>\n<div class=\"wide\"><table class=\"cases\">\n",
                       Escaped(title));
    };
    const auto row = [&](std::string_view name, const std::string& value, bool alarm) {
        fmt::format_to(std::back_inserter(text), "<tr><td>{}</td><td{}>{}</td></tr>\n",
                       Escaped(name), alarm ? " class=\"alarm\"" : "", Escaped(value));
    };
    const char* const end = "</table></div>\n";
    if (report.limits) {
        begin(fmt::format("Limits of {}", report.limits->name));
        for (const LimitVerdict& verdict : report.verdicts)
            row(LimitName(report, verdict), VerdictText(verdict), verdict.IsMissed());
        text += end;
    }
    begin(fmt::format("At half the bit rate, {:.6g} GHz", report.bitRate * 0.5e-9));
    for (const NetworkCurve& curve : report.figures.curves) {
        const double value = report.AtHalfRate(curve.name);
        if (std::isfinite(value)) row(curve.title, fmt::format("{:.2f} dB", value), false);
    }
    text += end;
    if (report.noise) {
        begin(fmt::format("Crosstalk from {:.4g} MHz to {:.6g} GHz", report.noise->from * 1e-6,
                          report.noise->to * 1e-9));
        row(kCrosstalkNoise, NoiseText(*report.noise), false);
        text += end;
    }
    text += "<h2>Curves</h2>\n<div class=\"eyes\">\n";
    for (const NetworkPicture& picture :
         PicturesOf(report.figures, report.response, report.limits ? &*report.limits : nullptr)) {
        fmt::format_to(
            std::back_inserter(text), "<figure><img alt=\"{}\" src=\"{}\"></figure>\n",
            Escaped(picture.plots.front().title),
            html::DataUri(plot::PlotsPicture(picture.plots, heading).File(PictureFormat::kSvg),
                          "image/svg+xml"));
    }
    text += "</div>\n";
    if (!report.notes.empty()) text += "<h2>Notes</h2>\n";
    for (const std::string& note : report.notes)
        fmt::format_to(std::back_inserter(text), "<p class=\"faint\">{}</p>\n", Escaped(note));
    return text + std::string(html::kEnd);
}

}  // namespace amisim
