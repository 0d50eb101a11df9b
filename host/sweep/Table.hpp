#pragma once

#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/results/Numbers.hpp"
#include "host/sweep/Case.hpp"

namespace amisim {

/// What is known of a case: its place in the grid and, once it has run, its results.
struct Row
{
    enum class Status { kOk, kFailed, kMissing };  // missing: not run yet, or under way

    Case aCase;
    Status status = Status::kMissing;
    std::string reason;   // of a failure
    std::string verdict;  // as result.json has it; "" where the run had none
    bool ranked = false;  // its numbers compare with those of the others
    double seconds = 0;
    std::map<std::string_view, double>
        numbers;  // by Number::pointer, those that the run could tell

    /// Of the output's eye, the greatest error ratio first; NaN: not known.
    struct Opening
    {
        double height = NAN, width = NAN;  // V, UI
    };
    std::map<double, Opening, std::greater<>> openings;

    std::string state;  // the verdict, or "adapting until bit N" of bits that count
    std::string notes;  // of the run, in one line

    std::optional<double> At(const Number& number) const;  // as in result.json
    bool Adapting() const { return !state.empty() && state != verdict; }
};

/// The numbers that a sweep's table has, a column each.
std::vector<const Number*> Columns();

/// In a line of a table: a text that a spreadsheet would take for a formula begins with an
/// apostrophe, which makes it a text there.
std::string CsvCell(const std::string& text);

std::string_view Name(Row::Status status);

/// A result that a report shows over the grid.
struct Metric
{
    const Number& number;
    std::string (*text)(double value);  // short, for a cell, in the number's unit
    bool counts;                        // errors: none is good, and the scale is logarithmic

    /// The value of a case that ended well and has locked; what others found misleads on a map.
    std::optional<double> Of(const Row& row) const
    {
        const auto value = row.ranked ? row.At(number) : std::nullopt;
        return value ? std::optional(*value * number.factor) : std::nullopt;
    }
};

/// What a sweep's folder holds, whoever ran it and whether or not it has ended.
struct Table
{
    Plan plan;
    std::vector<Row> rows;  // one for each case, in order

    int Count(Row::Status status) const;
    /// Cases that ended well, but have not locked and so are not ranked: "3 not locked, 1 no
    /// signal", "" for none.
    std::string Unranked() const;
    /// Cases that ended well, and count bits of before they had settled.
    int Adapting() const;
    /// Those of Columns() that all runs have, and of the others those that any case here has.
    std::vector<const Number*> KnownColumns() const;
    /// That any case has an opening at, the greatest first.
    std::vector<double> Ratios() const;
    std::string ToCsv() const;
    nlohmann::ordered_json ToJson() const;

    /// What a report shows over the grid; the mask's margin where the cases have one.
    std::vector<Metric> Metrics() const;
};
Table Collect(const Plan& plan, const std::vector<Case>& cases);

/// How the grid is laid out on paper: one panel for each combination of the lesser axes.
struct Layout
{
    static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

    struct Panel
    {
        std::string title;  // "noise=0.002", "" where there is a single one
        std::vector<std::vector<const Row*>> lines;  // [y][x]
    };
    std::size_t x, y;  // axes: x the longest, y the next; y is kNone when there is one axis
    std::vector<Panel> panels;

    explicit Layout(const Table& table);
};

}  // namespace amisim
