#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "host/run/RunResult.hpp"

namespace amisim {

/// One number that a run ends with. What shows numbers - terminal, result.json, report, a sweep's
/// table and maps, comparisons, docs/results.md - takes them from one list: a new number is a new
/// line there.
struct Number
{
    const char* pointer;  // its place in result.json (RFC 6901); the name ends in its unit
    const char* title;    // in the field's words, with the unit that it is shown in
    const char* unit;     // "" for a count or a ratio
    double factor;        // from result.json to that unit
    const char* format;   // of fmt, for a number in that unit
    bool counts;          // whole numbers
    const char* column;   // in the table of a sweep; nullptr: not there
    const char* meaning;  // a sentence
    std::optional<double> (*get)(const RunResult& result);  // as in result.json
    /// Its line of the summary, without the title; "": no line. nullptr: the number with its unit.
    std::string (*summary)(const RunResult& result);
    enum class Of { kAll, kSeveralLevels, kChains, kTrained };
    // Else only where a symbol has more levels than two, of several segments, or of a trained link.
    Of of = Of::kAll;

    bool AppliesTo(const RunResult& result) const
    {
        switch (of) {
            case Of::kSeveralLevels:
                return result.levels > 2;
            case Of::kChains:
                return !result.earlier.empty();
            case Of::kTrained:
                return result.training.has_value();
            case Of::kAll:
                break;
        }
        return true;
    }

    std::string Line(const RunResult& result) const;
    std::string Heading() const;           // "Eye height, mV"
    std::string Text(double value) const;  // as in result.json: "991.0"
};

/// In the order in which they are shown.
std::span<const Number> Numbers();

/// The one at that place.
const Number& NumberAt(std::string_view pointer);

/// The lines of docs/results.md on them: a row of a Markdown table for each.
std::string DescribeNumbers();

}  // namespace amisim
