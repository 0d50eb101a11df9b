#include "host/jitter/TransferReport.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "base/Text.hpp"
#include "host/jitter/Frequency.hpp"
#include "host/jitter/JitterReport.hpp"

namespace amisim {
namespace {

constexpr const char* kHeadings[] = {"Amplitude", "Frequency", "Gain", "Phase", "Mask", "Errors"};

std::string Decibels(const std::optional<double>& value)
{
    return value ? fmt::format("{:.2f} dB", *value) : "-";
}

std::vector<std::string> RowOf(const JitterTransfer& transfer, const TransferPoint& point)
{
    const auto limit = transfer.mask ? transfer.mask->At(point.frequency) : std::nullopt;
    return {fmt::format("{:g} UI", point.amplitude),
            FrequencyText(point.frequency),
            Decibels(point.gainDb),
            point.phaseDeg ? fmt::format("{:.1f}°", *point.phaseDeg) : "-",
            Decibels(limit),
            Grouped(point.errors)};
}

/// "0.1 UI peak: bandwidth 3.21 MHz, peaking 0.05 dB"
std::string SummaryOf(const JitterTransfer& transfer, double amplitude)
{
    const auto bandwidth = transfer.Bandwidth(amplitude);
    return fmt::format("{:g} UI peak: bandwidth {}, peaking {}", amplitude,
                       bandwidth ? FrequencyText(*bandwidth) : "not among these frequencies",
                       Decibels(transfer.Peaking(amplitude)));
}

std::string GenerationText(const JitterTransfer& transfer)
{
    if (!transfer.generation || transfer.generation->lost) return "not known";
    const Generation& found = *transfer.generation;
    return fmt::format("{:.4f} UI rms, {:.3f} UI peak to peak from {} to {}", found.jitter.rms,
                       found.jitter.peakToPeak, FrequencyText(found.low),
                       FrequencyText(found.high));
}

std::string VerdictText(const JitterTransfer& transfer)
{
    if (!transfer.mask) return "";
    const TransferPoint* const tightest = transfer.Tightest();
    return VerdictText(*transfer.mask, transfer.MeetsMask(),
                       tightest ? fmt::format("{:+.2f} dB", *transfer.MarginAt(*tightest)) : "",
                       tightest ? tightest->frequency : 0);
}

plot::Curve CurveOf(const JitterTransfer& transfer, std::size_t which,
                    std::optional<double> TransferPoint::*value)
{
    const double amplitude = transfer.amplitudes[which];
    plot::Curve curve;
    curve.stroke.colour = colours::kCurves[which % colours::kCurves.size()];
    curve.label = fmt::format("{:g} UI peak", amplitude);
    curve.dots = true;
    for (const TransferPoint& point : transfer.Of(amplitude)) {
        curve.x.push_back(point.frequency);
        curve.y.push_back((point.*value).value_or(NAN));
    }
    return curve;
}

std::vector<plot::LinePlot> PlotsOf(const JitterTransfer& transfer)
{
    plot::LinePlot gain, phase;
    gain.upwards = "Gain, dB";
    phase.upwards = "Phase, degrees";
    for (plot::LinePlot* plot : {&gain, &phase}) SetFrequencies(*plot, transfer.points);
    for (std::size_t which = 0; which < transfer.amplitudes.size(); ++which) {
        gain.curves.push_back(CurveOf(transfer, which, &TransferPoint::gainDb));
        phase.curves.push_back(CurveOf(transfer, which, &TransferPoint::phaseDeg));
    }
    if (transfer.mask && !transfer.points.empty())
        gain.curves.push_back(MaskCurve(*transfer.mask, gain.acrossFrom, gain.acrossTo));
    return {gain, phase};
}

plot::Heading HeadingOf(const JitterTransfer& transfer)
{
    std::string numbers;
    for (const double amplitude : transfer.amplitudes)
        numbers += (numbers.empty() ? "" : "; ") + SummaryOf(transfer, amplitude);
    if (const std::string verdict = VerdictText(transfer); !verdict.empty())
        numbers += "; " + verdict;
    return {transfer.model + ": jitter transfer", transfer.signal, numbers};
}

}  // namespace

std::string ToTable(const JitterTransfer& transfer)
{
    std::string text;
    const auto out = std::back_inserter(text);
    const auto add = [&](const auto& row) {
        // The sign of degrees takes two bytes and one place.
        const std::size_t phase = 11 + (std::string_view(row[3]).ends_with("°") ? 1 : 0);
        fmt::format_to(out, "  {:>10}{:>12}{:>12}{:>{}}{:>12}{:>9}\n", row[0], row[1], row[2],
                       row[3], phase, row[4], row[5]);
    };
    add(kHeadings);
    for (const TransferPoint& point : transfer.points) add(RowOf(transfer, point));
    for (const double amplitude : transfer.amplitudes)
        fmt::format_to(out, "  {}\n", SummaryOf(transfer, amplitude));
    fmt::format_to(out, "  Jitter generation: {}\n", GenerationText(transfer));
    if (const std::string verdict = VerdictText(transfer); !verdict.empty())
        fmt::format_to(out, "  {}\n", verdict);
    for (const std::string& note : transfer.Notes()) fmt::format_to(out, "  Note: {}\n", note);
    return text;
}

std::string ToCsv(const JitterTransfer& transfer)
{
    std::string text = "amplitude_ui,frequency_hz,gain_db,phase_deg,mask_db,errors,bits\n";
    for (const TransferPoint& point : transfer.points) {
        const auto limit = transfer.mask ? transfer.mask->At(point.frequency) : std::nullopt;
        text += fmt::format("{},{},{},{},{},{},{}\n", point.amplitude, point.frequency,
                            CsvNumber(point.gainDb), CsvNumber(point.phaseDeg), CsvNumber(limit),
                            point.errors, point.bits);
    }
    return text;
}

Picture TransferPicture(const JitterTransfer& transfer)
{
    return plot::PlotsPicture(PlotsOf(transfer), HeadingOf(transfer));
}

std::string TransferPage(const JitterTransfer& transfer, const PictureFormats& pictures)
{
    std::string text = PageHead("Jitter transfer of " + transfer.model, transfer.signal,
                                VerdictText(transfer), transfer.MeetsMask());
    const auto out = std::back_inserter(text);
    for (const double amplitude : transfer.amplitudes)
        fmt::format_to(out, "<p>{}</p>\n", SummaryOf(transfer, amplitude));
    fmt::format_to(
        out, "<p>Jitter generation: {}.{}</p>\n", GenerationText(transfer),
        transfer.missing > 0 ? fmt::format(" {} points have no result.", transfer.missing) : "");
    text += PageLinks({"transfer.json", "transfer.csv"}, "transfer", pictures, transfer.Notes());
    fmt::format_to(
        out, "<figure><img alt=\"Gain and phase over frequency\" src=\"{}\"></figure>\n",
        html::DataUri(plot::PlotsPicture(PlotsOf(transfer), {}).File(PictureFormat::kSvg),
                      "image/svg+xml"));
    text += PageTable(kHeadings, transfer.points,
                      [&](const TransferPoint& point) { return RowOf(transfer, point); });
    return text + std::string(html::kEnd);
}

}  // namespace amisim
