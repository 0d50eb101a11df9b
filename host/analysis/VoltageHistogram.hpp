#pragma once

#include <cstddef>
#include <cstdint>
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

    /// Makes room for voltages up to this magnitude, kMost at most. Call it before Count.
    void Fit(double magnitude);
    static constexpr double kMost = 0x1p50;  // V

    void Count(std::size_t column, double voltage)
    {
        // By way of a signed number, which is one instruction.
        const auto row = static_cast<std::ptrdiff_t>(voltage * scale_ + half_);
        ++counts_[column * stride_ + static_cast<std::size_t>(row)];
    }

    std::size_t Columns() const { return columns_; }
    std::size_t Rows() const { return rows_; }
    double Range() const { return range_; }  // V: the bins span -Range() to Range()
    double BinHeight() const { return 2 * range_ / static_cast<double>(rows_); }
    /// Lower edge of a row, V.
    double Edge(std::size_t row) const { return BinHeight() * (static_cast<double>(row) - half_); }
    std::uint64_t At(std::size_t column, std::size_t row) const
    {
        return counts_[column * stride_ + row];
    }

private:
    std::size_t columns_, rows_;
    std::size_t stride_;  // cells a column: no power of two, or all columns would share cache lines
    double half_;         // rows / 2: the row where 0 V begins
    double range_ = 0;
    double scale_ = 0;  // rows per volt
    std::vector<std::uint64_t> counts_;
};

}  // namespace amisim
