#include "host/jitter/ToleranceReport.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/Text.hpp"
#include "host/jitter/Frequency.hpp"
#include "host/jitter/JitterReport.hpp"

namespace amisim {
namespace {

std::string Amplitude(const std::optional<double>& value)
{
    return value ? fmt::format("{:.3f} UI", *value) : "-";
}

std::string Percent(double part)
{
    return fmt::format("{:+.1f} %", 100 * part);
}

std::string VerdictText(const JitterTolerance& tolerance)
{
    if (!tolerance.mask) return "";
    const TolerancePoint* const tightest = tolerance.Tightest();
    return VerdictText(*tolerance.mask, tolerance.MeetsMask(),
                       tightest ? Percent(*tolerance.MarginAt(*tightest)) : "",
                       tightest ? tightest->frequency : 0);
}

std::string WithoutSine(const JitterTolerance& tolerance)
{
    if (!tolerance.withoutSine) return "not known";
    const ToleranceTrial& trial = *tolerance.withoutSine;
    return fmt::format("{} error{} in {} bits{}", Grouped(trial.errors),
                       trial.errors == 1 ? "" : "s", Grouped(trial.bits),
                       trial.passed ? "" : ": does not reach the ratio");
}

std::string Tested(const JitterTolerance& tolerance)
{
    return fmt::format("{} at {:g} % confidence", ShortRatio(tolerance.ratio),
                       100 * tolerance.confidence);
}

std::vector<std::string> RowOf(const JitterTolerance& tolerance, const TolerancePoint& point)
{
    const auto limit = tolerance.mask ? tolerance.mask->At(point.frequency) : std::nullopt;
    const auto margin = tolerance.MarginAt(point);
    return {FrequencyText(point.frequency),  Amplitude(point.passes),
            Amplitude(point.fails),          Amplitude(limit),
            margin ? Percent(*margin) : "-", std::to_string(point.trials.size())};
}

constexpr const char* kHeadings[] = {"Frequency", "Passes", "Fails", "Mask", "Margin", "Trials"};

plot::LinePlot PlotOf(const JitterTolerance& tolerance)
{
    plot::LinePlot plot;
    plot.upwards = "Sinusoidal jitter, UI peak to peak";
    plot.scale = plot::Scale::kLogarithmic;
    SetFrequencies(plot, tolerance.points);
    plot::Curve passed{{}, {}, {.colour = colours::kGreen, .width = 0}, "passed", true};
    plot::Curve failed{{}, {}, {.colour = colours::kVermilion, .width = 0}, "failed", true};
    plot::Curve middle{{}, {}, {.colour = colours::kBlue}, "tolerated"};
    for (const TolerancePoint& point : tolerance.points) {
        for (const ToleranceTrial& trial : point.trials) {
            plot::Curve& dots = trial.passed ? passed : failed;
            dots.x.push_back(point.frequency);
            dots.y.push_back(trial.amplitude);
        }
        middle.x.push_back(point.frequency);
        middle.y.push_back(point.passes ? *point.Middle() : NAN);
    }
    plot.curves = {middle, passed, failed};
    if (tolerance.mask && !tolerance.points.empty())
        plot.curves.push_back(MaskCurve(*tolerance.mask, plot.acrossFrom, plot.acrossTo));
    return plot;
}

}  // namespace

std::string ToTable(const JitterTolerance& tolerance)
{
    std::string text =
        fmt::format("  Error ratio tested         {}\n  Without the sine           {}\n",
                    Tested(tolerance), WithoutSine(tolerance));
    const auto add = [&](const auto& row) {
        fmt::format_to(std::back_inserter(text), "  {:>10}{:>13}{:>13}{:>13}{:>10}{:>8}\n", row[0],
                       row[1], row[2], row[3], row[4], row[5]);
    };
    add(kHeadings);
    for (const TolerancePoint& point : tolerance.points) add(RowOf(tolerance, point));
    if (const std::string verdict = VerdictText(tolerance); !verdict.empty())
        text += fmt::format("  {}\n", verdict);
    for (const std::string& note : tolerance.Notes()) text += fmt::format("  Note: {}\n", note);
    return text;
}

std::string PointsCsv(const JitterTolerance& tolerance)
{
    std::string text =
        "frequency_hz,passes_ui_pp,fails_ui_pp,tolerance_ui_pp,mask_ui_pp,margin,trials\n";
    for (const TolerancePoint& point : tolerance.points) {
        const auto limit = tolerance.mask ? tolerance.mask->At(point.frequency) : std::nullopt;
        text += fmt::format("{},{},{},{},{},{},{}\n", point.frequency, CsvNumber(point.passes),
                            CsvNumber(point.fails), CsvNumber(point.Middle()), CsvNumber(limit),
                            CsvNumber(tolerance.MarginAt(point)), point.trials.size());
    }
    return text;
}

std::string TrialsCsv(const JitterTolerance& tolerance)
{
    std::string text = "frequency_hz,amplitude_ui_pp,passed,bits,errors,why\n";
    for (const TolerancePoint& point : tolerance.points) {
        for (const ToleranceTrial& trial : point.trials) {
            text += fmt::format("{},{:.6g},{},{},{},{}\n", point.frequency, trial.amplitude,
                                trial.passed ? 1 : 0, trial.bits, trial.errors, trial.why);
        }
    }
    return text;
}

Picture TolerancePicture(const JitterTolerance& tolerance)
{
    const std::string verdict = VerdictText(tolerance);
    return plot::PlotsPicture({PlotOf(tolerance)},
                              {tolerance.model + ": jitter tolerance", tolerance.signal,
                               fmt::format("error ratio {}{}{}", Tested(tolerance),
                                           verdict.empty() ? "" : "; ", verdict)});
}

std::string TolerancePage(const JitterTolerance& tolerance, const PictureFormats& pictures)
{
    using html::Escaped;
    std::string text = PageHead("Jitter tolerance of " + tolerance.model, tolerance.signal,
                                VerdictText(tolerance), tolerance.MeetsMask());
    const auto out = std::back_inserter(text);
    fmt::format_to(out, "<p>Error ratio tested: {}. Without the sine: {}.{}</p>\n",
                   Tested(tolerance), WithoutSine(tolerance),
                   tolerance.missing > 0
                       ? fmt::format(" {} frequencies have no result.", tolerance.missing)
                       : "");
    text += PageLinks({"tolerance.json", "tolerance.csv", "trials.csv"}, "tolerance", pictures,
                      tolerance.Notes());
    const plot::LinePlot plot = PlotOf(tolerance);
    const Area whole{0, 0, plot::kWidth, 350};
    const Picture picture{whole.width, whole.height,
                          [&](Canvas& canvas) { plot.Draw(canvas, whole, plot.Aside()); }};
    fmt::format_to(out,
                   "<figure><img alt=\"Tolerated jitter over frequency\" src=\"{}\"></figure>\n",
                   html::DataUri(picture.File(PictureFormat::kSvg), "image/svg+xml"));
    text += PageTable(kHeadings, tolerance.points,
                      [&](const TolerancePoint& point) { return RowOf(tolerance, point); });
    text +=
        "<h2>Trials</h2>\n<div class=\"wide\"><table class=\"cases\">\n"
        "<thead><tr><th scope=\"col\" class=\"n\">Frequency</th><th scope=\"col\" "
        "class=\"n\">Amplitude, UI peak to peak</th><th scope=\"col\" class=\"n\">Bits</th>"
        "<th scope=\"col\" class=\"n\">Errors</th><th scope=\"col\">Outcome</th></tr></thead>\n"
        "<tbody>\n";
    for (const TolerancePoint& point : tolerance.points) {
        for (const ToleranceTrial& trial : point.trials) {
            fmt::format_to(out,
                           "<tr><td class=\"n\">{}</td><td class=\"n\">{:.4g}</td><td "
                           "class=\"n\">{}</td><td class=\"n\">{}</td><td{}>{}</td></tr>\n",
                           FrequencyText(point.frequency), trial.amplitude, Grouped(trial.bits),
                           Grouped(trial.errors), trial.passed ? "" : " class=\"alarm\"",
                           trial.passed ? "passed" : "failed: " + trial.why);
        }
    }
    return text + "</tbody></table></div>\n" + std::string(html::kEnd);
}

}  // namespace amisim
