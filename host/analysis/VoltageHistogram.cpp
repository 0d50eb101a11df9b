#include "host/analysis/VoltageHistogram.hpp"

#include <cmath>

namespace amisim {
namespace {

constexpr std::size_t kPadding = 8;  // cells: one cache line

}  // namespace

VoltageHistogram::VoltageHistogram(std::size_t columns, std::size_t rows)
    : columns_(columns),
      rows_(rows),
      stride_(rows + kPadding),
      half_(static_cast<double>(rows) / 2),
      counts_(columns * stride_)
{
    range_ = 0x1p-20;
    scale_ = half_ / range_;
}

void VoltageHistogram::Fit(double magnitude)
{
    while (!(magnitude < range_)) {
        range_ *= 2;
        scale_ /= 2;
        for (std::size_t column = 0; column < columns_; ++column) {
            std::uint64_t* const cells = &counts_[column * stride_];
            const std::size_t middle = rows_ / 2;
            // Outwards from the middle, so that no cell is overwritten before it has been read.
            for (std::size_t i = 0; i < middle; ++i) {
                const bool inside = i < middle / 2;
                cells[middle + i] = inside ? cells[middle + 2 * i] + cells[middle + 2 * i + 1] : 0;
                const std::size_t low = middle - 1 - i;
                cells[low] = inside ? cells[middle - 1 - 2 * i] + cells[middle - 2 - 2 * i] : 0;
            }
        }
    }
}

}  // namespace amisim
