#include "ibis/records/PackageModel.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

Value NumberUnder(const Section& section, Key key)
{
    const Section* const child = section.Child(key);
    return child ? Value{child->place, ValueOf(child->argument)} : Value{};
}

/// Several names on a line are told from a stub by their number.
bool HoldsNamesOnly(const Section& pinNumbers, double count)
{
    size_t words = 0;
    for (const auto row : pinNumbers.rows) {
        words += row.size();
    }
    return words != pinNumbers.rows.size() && static_cast<double>(words) == count;
}

void ReadPins(PackageModel& model)
{
    const Section& listed = *model.pinNumbers;
    const bool namesOnly = HoldsNamesOnly(listed, model.pinCount.value);
    for (const auto row : listed.rows) {
        if (namesOnly) {
            model.pins.insert(model.pins.end(), row.begin(), row.end());
        } else if (!model.pins.empty() && ContinuesPath(row)) {
            AppendPath(row, model.stubs.back());
        } else {
            model.pins.push_back(row[0]);
            model.stubs.emplace_back();
            AppendPath(row.subspan(1), model.stubs.back());
        }
    }
    model.stubs.resize(model.pins.size());
    for (size_t i = 0; i < model.pins.size(); ++i) {
        model.byName.try_emplace(model.pins[i].Text(), static_cast<int>(i));
    }
}

Matrix::Kind KindNamed(std::string_view name)
{
    const std::string lower = Lowercase(name);
    return lower == "full_matrix"     ? Matrix::Kind::Full
           : lower == "banded_matrix" ? Matrix::Kind::Banded
           : lower == "sparse_matrix" ? Matrix::Kind::Sparse
                                      : Matrix::Kind::Unknown;
}

/// What is wrong with row i of a full or banded matrix, or "".
std::string FaultOfRow(const Matrix& matrix, size_t i, const PackageModel& model)
{
    if (i >= model.pins.size()) {
        return fmt::format("has {} rows for {} pins", matrix.rows.size(), model.pins.size());
    }
    if (matrix.pins[i] != static_cast<int>(i)) {
        return fmt::format("has '{}' as row {}, expected '{}': rows follow [Pin Numbers]",
                           matrix.rows[i]->argument, i + 1, model.pins[i].Text());
    }
    const size_t rest = model.pins.size() - i;
    const size_t expected =
        matrix.kind == Matrix::Kind::Full
            ? rest
            : static_cast<size_t>(std::min(static_cast<double>(rest), matrix.bandwidth.value + 1));
    const size_t found = matrix.rows[i]->numbers.size();
    return found == expected ? ""
                             : fmt::format("has {} entries in row '{}', expected {}", found,
                                           matrix.rows[i]->argument, expected);
}

/// "'A9', which is no pin of [Pin Numbers]; did you mean 'A8'?"
std::string UnknownPin(std::string_view name, const PackageModel& model)
{
    std::vector<std::string> known;
    for (const Word& pin : model.pins) {
        known.push_back(pin.String());
    }
    const std::string nearest = NearestName(name, known);
    return fmt::format("'{}', which is no pin of [Pin Numbers]{}", name,
                       nearest.empty() ? "" : fmt::format("; did you mean '{}'?", nearest));
}

/// The same of a line "pin value" of a sparse matrix; seen holds for each column the last row that
/// has stated it.
std::string FaultOfEntry(std::span<const Word> line, int row, const PackageModel& model,
                         std::vector<int>& seen)
{
    if (line.size() != 2) {
        return fmt::format("has a line of {} words, expected a pin and a value", line.size());
    }
    const int column = model.FindPin(line[0].Text());
    if (column < 0) {
        return "names " + UnknownPin(line[0].Text(), model);
    }
    const std::string_view of = model.pins[static_cast<size_t>(row)].Text();
    if (column < row) {
        return fmt::format("states '{}' in row '{}', below the diagonal", line[0].Text(), of);
    }
    if (std::exchange(seen[static_cast<size_t>(column)], row) == row) {
        return fmt::format("states '{}' again in row '{}'", line[0].Text(), of);
    }
    return "";
}

/// Keeps the first fault of a matrix.
void Blame(Matrix& matrix, std::string fault, Place place)
{
    if (matrix.fault.empty() && !fault.empty()) {
        matrix.fault = std::move(fault);
        matrix.faultPlace = place;
    }
}

void CheckSparseRows(Matrix& matrix, const PackageModel& model)
{
    std::vector<int> seen(model.pins.size(), -1);
    std::vector<bool> stated(model.pins.size(), false);
    for (size_t i = 0; i < matrix.rows.size() && matrix.fault.empty(); ++i) {
        const Section& row = *matrix.rows[i];
        const int pin = matrix.pins[i];
        if (pin < 0) {
            return;
        }
        if (stated[static_cast<size_t>(pin)]) {
            Blame(matrix, fmt::format("has row '{}' twice", row.argument), row.place);
        }
        stated[static_cast<size_t>(pin)] = true;
        for (size_t k = 0; k < row.rows.size() && matrix.fault.empty(); ++k) {
            Blame(matrix, FaultOfEntry(row.rows[k], pin, model, seen), row.rows[k][0].Place());
        }
    }
}

void CheckRows(Matrix& matrix, const PackageModel& model)
{
    for (size_t i = 0; i < matrix.rows.size() && matrix.fault.empty(); ++i) {
        if (matrix.pins[i] < 0) {
            Blame(matrix, "has a row " + UnknownPin(matrix.rows[i]->argument, model),
                  matrix.rows[i]->place);
        } else if (matrix.kind != Matrix::Kind::Sparse) {
            Blame(matrix, FaultOfRow(matrix, i, model), matrix.rows[i]->place);
        }
    }
    if (matrix.kind == Matrix::Kind::Sparse) {
        CheckSparseRows(matrix, model);
    } else if (matrix.rows.size() < model.pins.size()) {
        Blame(matrix, fmt::format("has {} rows for {} pins", matrix.rows.size(), model.pins.size()),
              matrix.section->place);
    }
}

std::optional<Matrix> ReadMatrix(const PackageModel& model, Key key)
{
    const Section* const section = model.modelData ? model.modelData->Child(key) : nullptr;
    if (!section) {
        return std::nullopt;
    }
    Matrix matrix;
    matrix.section = section;
    matrix.kind = KindNamed(section->argument);
    matrix.bandwidth = NumberUnder(*section, Key::Bandwidth);
    matrix.rows = section->Children(Key::Row);
    for (const Section* const row : matrix.rows) {
        matrix.pins.push_back(model.FindPin(row->argument));
    }
    if (matrix.kind == Matrix::Kind::Banded && !matrix.HasBandwidth()) {
        matrix.kind = Matrix::Kind::Unknown;
    }
    if (model.pins.empty()) {
        Blame(matrix, "has no pins to belong to", section->place);
    } else if (matrix.kind != Matrix::Kind::Unknown) {
        CheckRows(matrix, model);
    }
    return matrix;
}

}  // namespace

PackageModel ReadPackageModel(const Section& section)
{
    PackageModel model;
    model.section = &section;
    model.name = section.argument;
    model.place = section.place;
    model.pinCount = NumberUnder(section, Key::NumberOfPins);
    model.sectionCount = NumberUnder(section, Key::NumberOfSections);
    model.pinNumbers = section.Child(Key::PinNumbers);
    model.modelData = section.Child(Key::ModelData);
    if (model.pinNumbers) {
        ReadPins(model);
    }
    model.resistance = ReadMatrix(model, Key::ResistanceMatrix);
    model.inductance = ReadMatrix(model, Key::InductanceMatrix);
    model.capacitance = ReadMatrix(model, Key::CapacitanceMatrix);
    return model;
}

std::vector<double> DiagonalOf(const Matrix& matrix, const PackageModel& model)
{
    std::vector<double> diagonal(model.pins.size(), NAN);
    ForEachEntry(matrix, model, [&](int row, int column, double value) {
        if (row == column) {
            diagonal[static_cast<size_t>(row)] = value;
        }
    });
    return diagonal;
}

}  // namespace ibis
