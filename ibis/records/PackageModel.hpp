#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ibis/reader/Number.hpp"
#include "ibis/records/StubPath.hpp"

namespace ibis {

/// A [Resistance Matrix], [Inductance Matrix] or [Capacitance Matrix]: the upper triangle of a
/// symmetric matrix, by rows. Its numbers stay in the sections.
struct Matrix
{
    enum class Kind { Unknown, Full, Banded, Sparse };
    const Section* section = nullptr;
    Kind kind = Kind::Unknown;
    Value bandwidth;                   ///< of Banded
    std::vector<const Section*> rows;  ///< its [Row]s
    std::vector<int> pins;             ///< of each row, as an index; -1 for one that is unknown
    std::string fault;                 ///< why its rows cannot be told apart, or ""
    ibis::Place faultPlace;

    bool HasBandwidth() const { return bandwidth.value >= 0; }
    /// Its entries can be told.
    bool IsUsable() const { return kind != Kind::Unknown && fault.empty(); }
};

/// A [Define Package Model]: stubs of pins, or matrices.
struct PackageModel
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
    Value pinCount, sectionCount;  ///< [Number Of Pins] and [Number Of Sections]
    const Section* pinNumbers = nullptr;
    const Section* modelData = nullptr;
    std::vector<Word> pins;                       ///< in the order of [Pin Numbers]
    std::vector<std::vector<PathElement>> stubs;  ///< of each pin; empty where there are matrices
    std::optional<Matrix> resistance, inductance, capacitance;

    std::unordered_map<std::string_view, int> byName;

    /// Index of a pin, or -1.
    int FindPin(std::string_view pin) const
    {
        const auto found = byName.find(pin);
        return found == byName.end() ? -1 : found->second;
    }
};

PackageModel ReadPackageModel(const Section& section);

/// Calls visit(row, column, value) with the indices of the pins, row <= column, for each number of
/// a usable matrix.
template <class Visit>
void ForEachEntry(const Matrix& matrix, const PackageModel& model, Visit visit)
{
    for (size_t i = 0; i < matrix.rows.size(); ++i) {
        const Section& row = *matrix.rows[i];
        const int pin = matrix.pins[i];
        for (size_t k = 0; k < row.numbers.size(); ++k) {
            visit(pin, pin + static_cast<int>(k), row.numbers[k]);
        }
        for (size_t k = 0; k < row.rows.size(); ++k) {
            visit(pin, model.FindPin(row.rows[k][0].Text()), ValueOf(row.rows[k][1].Text()));
        }
    }
}

/// The entries (i, i) by pin; NaN where there is none.
std::vector<double> DiagonalOf(const Matrix& matrix, const PackageModel& model);

}  // namespace ibis
