#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/PackageModel.hpp"
#include "ibis/rules/PackageText.hpp"
#include "ibis/rules/RuleSets.hpp"

/// The matrices of a package model.
namespace ibis {
namespace {

using enum Severity;

std::vector<const Matrix*> MatricesOf(const PackageModel& model)
{
    std::vector<const Matrix*> all;
    for (const auto* matrix : {&model.resistance, &model.inductance, &model.capacitance}) {
        if (*matrix) {
            all.push_back(&**matrix);
        }
    }
    return all;
}

void HasItsMatrices(const PackageModel& model, Report& report)
{
    for (const auto& [matrix, key] : {std::pair(&model.inductance, Key::InductanceMatrix),
                                      std::pair(&model.capacitance, Key::CapacitanceMatrix)}) {
        if (model.modelData && !*matrix) {
            report.Say(
                model.modelData->place,
                fmt::format("[Model Data] of '{}' has no [{}]", model.name, KeywordOf(key).name),
                "add it; only [Resistance Matrix] may be left out");
        }
    }
}

void TypeIsKnown(const PackageModel& model, Report& report)
{
    for (const Matrix* const matrix : MatricesOf(model)) {
        const bool banded = Lowercase(matrix->section->argument) == "banded_matrix";
        const std::string of = Of(*matrix, model);
        if (banded && !matrix->HasBandwidth()) {
            report.Say(matrix->section->place,
                       of + (matrix->bandwidth ? " has no number from 0 on as its [Bandwidth]"
                                               : " is banded and has no [Bandwidth]"),
                       "state how far from the diagonal its entries reach");
        } else if (matrix->kind == Matrix::Kind::Unknown) {
            report.Say(matrix->section->place,
                       fmt::format("{} is of type '{}'", of, matrix->section->argument),
                       "write Full_matrix, Banded_matrix or Sparse_matrix");
        } else if (!banded && matrix->bandwidth) {
            report.Say(matrix->bandwidth.place, of + " has a [Bandwidth] and is not banded",
                       "remove it, or make the matrix a Banded_matrix");
        }
    }
}

void RowsFitThePins(const PackageModel& model, Report& report)
{
    for (const Matrix* const matrix : MatricesOf(model)) {
        if (!matrix->fault.empty() && !model.pins.empty()) {
            report.Say(matrix->faultPlace, Of(*matrix, model) + " " + matrix->fault,
                       "give the upper triangle: one [Row] for each pin, from its diagonal on");
        }
    }
}

/// A resistance may be none.
void DiagonalIsPositive(const PackageModel& model, Report& report)
{
    for (const Matrix* const matrix : MatricesOf(model)) {
        if (!matrix->IsUsable()) {
            continue;
        }
        const bool needed = matrix->section->keyword->key != Key::ResistanceMatrix;
        const std::vector<double> diagonal = DiagonalOf(*matrix, model);
        for (size_t pin = 0; pin < diagonal.size(); ++pin) {
            const double value = diagonal[pin];
            if (value < 0 || (needed && !(value > 0))) {
                report.Count(
                    std::to_string(matrix->section->place.line), matrix->section->place,
                    fmt::format("{} has {} as the diagonal entry of pin {}", Of(*matrix, model),
                                std::isnan(value) ? "nothing" : Amount(value, *matrix),
                                PinName(model, pin)),
                    "give each pin's own value, greater than 0");
            }
        }
    }
}

constexpr size_t kLargestFull = 1000;

void MatricesAreSmall(const PackageModel& model, Report& report)
{
    for (const Matrix* const matrix : MatricesOf(model)) {
        const size_t pins = model.pins.size();
        if (matrix->kind == Matrix::Kind::Full && pins > kLargestFull) {
            report.Say(matrix->section->place,
                       fmt::format("{} is full: {} numbers for {} pins", Of(*matrix, model),
                                   pins * (pins + 1) / 2, pins),
                       "pins far from each other hardly couple: make it banded or sparse");
        }
    }
}

constexpr Check<PackageModel> kChecks[] = {
    {{704,
      Error,
      {},
      "[Model Data] is closed and has [Inductance Matrix] and [Capacitance Matrix]",
      "Only resistances may be left out, as 0.",
      "[Model Data] without [Capacitance Matrix]"},
     HasItsMatrices},
    {{705,
      Error,
      {},
      "A matrix is a Full_matrix, a Sparse_matrix, or a Banded_matrix with its [Bandwidth]",
      "Its entries cannot be told otherwise.",
      "[Inductance Matrix] Banded"},
     TypeIsKnown},
    {{706,
      Error,
      {},
      "A matrix has one [Row] for each pin in the order of [Pin Numbers], with the entries from "
      "the diagonal on; a sparse one lines of a pin and a value",
      "One entry too few shifts all that follow.",
      "[Row] of a pin of the next package"},
     RowsFitThePins},
    {{707,
      Error,
      {},
      "Inductances and capacitances on the diagonal are given and greater than 0",
      "A pin without inductance or capacitance makes the matrix singular.",
      "a sparse row without its own pin"},
     DiagonalIsPositive},
    {{711,
      Note,
      {},
      "A matrix of many pins is banded or sparse",
      "A full matrix of 2000 pins has 2 million numbers, most of them next to nothing.",
      "[Capacitance Matrix] Full_matrix for 2000 pins"},
     MatricesAreSmall},
};

}  // namespace

const RuleSet& PackageMatrixRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::packageModels, kChecks>();
    return set;
}

}  // namespace ibis
