#pragma once

#include "host/pictures/Canvas.hpp"
#include "host/sweep/Table.hpp"

namespace amisim {

/// report.html: eye height, eye width and bit errors over the grid as maps with the values in their
/// cells and, along one axis, as curves, each case a link to its folder; then the failures and the
/// table.
std::string SweepPage(const Table& table);

/// The same maps, or the curves where there is but one axis, for sweep.png.
Canvas DrawSweep(const Table& table);

/// "EQ_Level (32 values) by loss (3 values)"
std::string DescribeGrid(const Plan& plan);

/// The settings that are the same in all cases, as the user wrote them.
std::string DescribeFixed(const Plan& plan);

/// Where the axis' values stand: the numbers themselves, or 0, 1, 2... where one is no number.
std::vector<double> Places(const Setting& axis);

}  // namespace amisim
