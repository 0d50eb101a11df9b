#pragma once

#include "host/pictures/LinePlot.hpp"
#include "host/sweep/Table.hpp"

namespace amisim {

/// What a report on a grid shows, and what its files are called.
struct GridReport
{
    std::vector<Metric> metrics;
    std::string title = "Sweep", data = "table", picture = "sweep";
    std::string summary = {};  // HTML, before all else
};

/// report.html: eye height, eye width and bit errors over the grid as maps with the values in their
/// cells and, along one axis, as curves, each case a link to its folder; then the failures and the
/// table.
/// @param pictures  of which there is a file beside it
std::string SweepPage(const Table& table, const PictureFormats& pictures, const GridReport& report);

/// The same maps, or the curves where there is but one axis, for sweep.png. It refers to the table.
Picture SweepPicture(const Table& table, const std::vector<Metric>& metrics);

/// A metric along the longest axis, a curve for each line of the panel.
plot::LinePlot CurvesOf(const Table& table, const Layout& layout, const Layout::Panel& panel,
                        const Metric& metric);

/// "EQ_Level (32 values) by loss (3 values)"
std::string DescribeGrid(const Plan& plan);

/// The settings that are the same in all cases, as the user wrote them.
std::string DescribeFixed(const Plan& plan);

}  // namespace amisim
