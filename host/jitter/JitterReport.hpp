#pragma once

#include <fmt/format.h>

#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/jitter/FrequencyMask.hpp"
#include "host/pages/Html.hpp"
#include "host/pictures/LinePlot.hpp"

/// What the reports on jitter tolerance and jitter transfer have in common.
namespace amisim {

/// Of a file with commas: six figures, or nothing.
std::string CsvNumber(const std::optional<double>& value);

/// "mask stm-64: passed, margin +6.1 % at 4 MHz"
/// @param meets   nothing: not known yet
/// @param margin  with its unit, at the tightest point; empty: no point lies within the mask
/// @param at      Hz, that point
std::string VerdictText(const FrequencyMask& mask, std::optional<bool> meets,
                        const std::string& margin, double at);

/// The mask between two frequencies.
plot::Curve MaskCurve(const FrequencyMask& mask, double from, double to);

/// Frequencies that a plot shows: those that were tried and some room on either side, Hz.
/// @param points  each with a frequency; none: the plot is left as it is
template <typename Point>
void SetFrequencies(plot::LinePlot& plot, const std::vector<Point>& points)
{
    constexpr double kBeside = 1.3;
    plot.across = "Frequency of the sine, Hz";
    plot.scaleAcross = plot::Scale::kLogarithmic;
    if (points.empty()) return;
    const auto [low, high] = std::ranges::minmax(points, {}, &Point::frequency);
    plot.acrossFrom = low.frequency / kBeside;
    plot.acrossTo = high.frequency * kBeside;
}

/// The head of a page: what was found of what, and the verdict on the mask.
std::string PageHead(const std::string& title, const std::string& signal,
                     const std::string& verdict, std::optional<bool> meets);

/// Links to the files beside a page, and the notes.
/// @param pictures  the names of their files, without their ends, are `name`
std::string PageLinks(const std::vector<std::string>& files, const std::string& name,
                      const PictureFormats& pictures, const std::vector<std::string>& notes);

/// A table with numbers in all columns.
template <typename Point, typename RowOf>
std::string PageTable(std::span<const char* const> headings, const std::vector<Point>& points,
                      RowOf rowOf)
{
    std::string text = "<div class=\"wide\"><table class=\"cases\">\n<thead><tr>";
    const auto out = std::back_inserter(text);
    for (const char* heading : headings)
        fmt::format_to(out, "<th scope=\"col\" class=\"n\">{}</th>", heading);
    text += "</tr></thead>\n<tbody>\n";
    for (const Point& point : points) {
        text += "<tr>";
        for (const std::string& cell : rowOf(point))
            fmt::format_to(out, "<td class=\"n\">{}</td>", html::Escaped(cell));
        text += "</tr>\n";
    }
    return text + "</tbody></table></div>\n";
}

}  // namespace amisim
