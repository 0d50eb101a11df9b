#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <utility>
#include <vector>

namespace amisim {

/// Counts of voltages in equal bins around 0 V, for one or more columns (phases). The range grows
/// as needed: when a voltage does not fit, it doubles and pairs of bins are merged, so that nothing
/// need be known of the signal beforehand and the memory stays the same.
class VoltageHistogram
{
public:
    /// @param rows  bins a column, a multiple of 4
    VoltageHistogram(std::size_t columns, std::size_t rows);

    /// Makes room for so many voltages up to this magnitude, kMost at most. Call it before Count.
    void Fit(double magnitude, std::size_t count = 1);
    static constexpr double kMost = 0x1p50;  // V

    void Count(std::size_t column, double voltage)
    {
        ++recent_[column * stride_ + static_cast<std::size_t>(Row(voltage))];
    }
    /// Counts each voltage in the column of the same place.
    void Count(std::span<const std::int32_t> columns, std::span<const double> voltages);

    std::size_t Columns() const { return columns_; }
    std::size_t Rows() const { return rows_; }
    double Range() const { return range_; }  // V: the bins span -Range() to Range()
    double BinHeight() const { return 2 * range_ / static_cast<double>(rows_); }
    /// Lower edge of a row, V.
    double Edge(std::size_t row) const { return BinHeight() * (static_cast<double>(row) - half_); }
    std::uint64_t At(std::size_t column, std::size_t row) const
    {
        const std::size_t cell = column * stride_ + row;
        return recent_[cell] + (earlier_.empty() ? 0 : earlier_[cell]);
    }

private:
    std::int32_t Row(double voltage) const
    {
        return static_cast<std::int32_t>(voltage * scale_ + half_);
    }

    std::size_t columns_, rows_;
    std::size_t stride_;  // cells a column: no power of two, or all columns would share cache lines
    double half_;         // rows / 2: the row where 0 V begins
    double range_;
    double scale_;  // rows per volt
    // Counts are kept in the half of the memory, so that they stay in the processor's caches, until
    // one of them might overflow.
    std::vector<std::uint32_t> recent_;
    std::vector<std::uint64_t> earlier_;  // empty until then
    std::size_t room_ =
        std::numeric_limits<std::uint32_t>::max();  // that the recent counts surely have
};

/// The rows that hold counts: the first one and the one after the last; equal when there is none.
std::pair<std::size_t, std::size_t> OccupiedRows(const VoltageHistogram& histogram);

}  // namespace amisim
