#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/files/CsvFormat.hpp"

namespace amisim {

/// The lines above the numbers of a waveform file, and what stands beside them.
class CsvHeading
{
public:
    explicit CsvHeading(const CsvFormat& format) : format_(format) {}

    /// A line of the heading, or the part of a line of numbers before them.
    void Add(std::string_view line);

    /// The column of this name, with or without its unit.
    std::optional<std::size_t> Column(std::string_view name) const;

    /// The columns' names, of the line nearest to the numbers that does not hold units alone.
    std::vector<std::string> Names() const;

    /// A unit, and what it is in s or V.
    struct Unit
    {
        std::string name;
        double scale = 1;
    };
    enum class Kind { kTime, kVoltage };

    /// Of a column: a field "Time (ns)", "t/ns", "CH1 [mV]", "CH1_mV" or "mV" alone, the one
    /// nearest to the numbers. Prefixes are told by their case: mV and MV.
    std::optional<Unit> ColumnUnit(std::size_t column, Kind kind) const;

    /// Of all columns of a kind, from a line such as "Vertical Units, mV".
    std::optional<Unit> CommonUnit(Kind kind) const;

    /// The time between the samples in s, from a field such as XINCR, Increment, Sample Interval or
    /// Sample Rate with a number in the next field or in the one below.
    struct Step
    {
        std::string field;
        double seconds = 0;
    };
    std::optional<Step> FindStep() const;

    /// Whether a column's name says that it counts the samples.
    bool IsIndex(std::size_t column) const;

private:
    std::vector<std::string_view> Fields(const std::string& line) const;
    std::optional<double> Duration(std::string_view text, std::string_view next) const;

    const CsvFormat& format_;
    std::vector<std::string> lines_;
};

}  // namespace amisim
