#include "host/analysis/VoltageHistogram.hpp"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>

namespace amisim {
namespace {

constexpr std::size_t kPadding = 16;  // cells: one cache line

/// Halves a column's bins, outwards from the middle, so that none is overwritten before it has been
/// read.
template <typename Cell>
void MergePairs(std::span<Cell> cells)
{
    const std::size_t middle = cells.size() / 2;
    for (std::size_t i = 0; i < middle; ++i) {
        const bool inside = i < middle / 2;
        cells[middle + i] = inside ? cells[middle + 2 * i] + cells[middle + 2 * i + 1] : 0;
        const std::size_t low = middle - 1 - i;
        cells[low] = inside ? cells[middle - 1 - 2 * i] + cells[middle - 2 - 2 * i] : 0;
    }
}

}  // namespace

VoltageHistogram::VoltageHistogram(std::size_t columns, std::size_t rows)
    : columns_(columns),
      rows_(rows),
      stride_(rows + kPadding),
      half_(static_cast<double>(rows) / 2),
      range_(0x1p-20),
      scale_(half_ / range_),
      recent_(columns * stride_)
{
}

void VoltageHistogram::Fit(double magnitude, std::size_t count)
{
    if (count > room_) {
        earlier_.resize(recent_.size());
        std::ranges::transform(recent_, earlier_, earlier_.begin(), std::plus<std::uint64_t>());
        std::ranges::fill(recent_, 0);
        room_ = std::numeric_limits<std::uint32_t>::max();
    }
    room_ -= count;
    while (!(magnitude < range_)) {
        range_ *= 2;
        scale_ /= 2;
        for (std::size_t cell = 0; cell < recent_.size(); cell += stride_) {
            MergePairs(std::span(recent_).subspan(cell, rows_));
            if (!earlier_.empty()) MergePairs(std::span(earlier_).subspan(cell, rows_));
        }
    }
}

void VoltageHistogram::Count(std::span<const std::int32_t> columns,
                             std::span<const double> voltages)
{
    // The cells first: that is done for several at once.
    std::array<std::int32_t, 64> cells;
    const auto stride = static_cast<std::int32_t>(stride_);
    while (!voltages.empty()) {
        const std::size_t count = std::min(voltages.size(), cells.size());
        for (std::size_t i = 0; i < count; ++i) cells[i] = columns[i] * stride + Row(voltages[i]);
        for (std::size_t i = 0; i < count; ++i) ++recent_[static_cast<std::size_t>(cells[i])];
        columns = columns.subspan(count);
        voltages = voltages.subspan(count);
    }
}

std::pair<std::size_t, std::size_t> OccupiedRows(const VoltageHistogram& histogram)
{
    std::size_t first = histogram.Rows(), last = 0;
    for (std::size_t c = 0; c < histogram.Columns(); ++c) {
        for (std::size_t r = 0; r < histogram.Rows(); ++r) {
            if (histogram.At(c, r) == 0) continue;
            first = std::min(first, r);
            last = std::max(last, r + 1);
        }
    }
    return {std::min(first, last), last};
}

}  // namespace amisim
