#include <algorithm>

#include "ibis/Cholesky.hpp"
#include "ibis/rules/PackageText.hpp"
#include "ibis/rules/RuleSets.hpp"

/// Whether there can be such a package: what its matrices and stubs say about its pins.
namespace ibis {
namespace {

using enum Severity;

/// Entries off the diagonal that have a fault in common: the first of them, and how many.
struct OddEntries
{
    size_t row = 0, column = 0;
    double value = 0;
    size_t count = 0;

    void Add(size_t i, size_t j, double entry)
    {
        if (count++ == 0) {
            row = i;
            column = j;
            value = entry;
        }
    }
    std::string Text(const Matrix& matrix, const PackageModel& model) const
    {
        return fmt::format("{}: {} {} off the diagonal, the first {} between pins {} and {}",
                           Of(matrix, model), count, count == 1 ? "entry" : "entries",
                           Amount(value, matrix), PinName(model, row), PinName(model, column));
    }
};

/// No two conductors share more flux than they have.
bool CouplingsArePossible(const Matrix& matrix, const std::vector<double>& diagonal,
                          const PackageModel& model, Report& report)
{
    OddEntries odd;
    ForEachEntry(matrix, model, [&](int row, int column, double value) {
        const auto i = static_cast<size_t>(row), j = static_cast<size_t>(column);
        if (i != j && value * value > 1.002 * diagonal[i] * diagonal[j]) {
            odd.Add(i, j, value);
        }
    });
    if (odd.count > 0) {
        report.Say(
            matrix.section->place,
            fmt::format("{}, where the pins' own values allow {} at most", odd.Text(matrix, model),
                        Amount(std::sqrt(diagonal[odd.row] * diagonal[odd.column]), matrix)),
            "check units and signs: the package would give off energy");
    }
    return odd.count == 0;
}

constexpr double kMostMultiplications = 5e7;  ///< a twentieth of a second

void IsPositiveDefinite(const Matrix& matrix, const std::vector<double>& diagonal,
                        const PackageModel& model, Report& report)
{
    std::vector<size_t> first(model.pins.size());
    for (size_t pin = 0; pin < first.size(); ++pin) {
        first[pin] = pin;
    }
    ForEachEntry(matrix, model, [&](int row, int column, double) {
        size_t& top = first[static_cast<size_t>(column)];
        top = std::min(top, static_cast<size_t>(row));
    });
    double cost = 0;
    for (size_t pin = 0; pin < first.size(); ++pin) {
        const auto width = static_cast<double>(pin - first[pin]);
        cost += width * width / 2;
    }
    if (cost > kMostMultiplications) {
        return;
    }
    Profile profile(std::move(first));
    ForEachEntry(matrix, model, [&](int row, int column, double value) {
        profile.At(static_cast<size_t>(row), static_cast<size_t>(column)) =
            std::isnan(value) ? 0.0 : value;
    });
    if (const auto pivot = FirstNegativePivot(std::move(profile), 1e-3)) {
        report.Say(matrix.section->place,
                   fmt::format("{} is not positive definite: with all pins before it shorted, pin "
                               "{} of {} would have {}",
                               Of(matrix, model), PinName(model, pivot->row),
                               Amount(diagonal[pivot->row], matrix), Amount(pivot->value, matrix)),
                   "check the mutual values: the package would give off energy");
    }
}

void InductancesArePossible(const PackageModel& model, Report& report)
{
    if (!model.inductance || !model.inductance->IsUsable()) {
        return;
    }
    const std::vector<double> diagonal = DiagonalOf(*model.inductance, model);
    const bool positive =
        std::all_of(diagonal.begin(), diagonal.end(), [](double value) { return value > 0; });
    if (positive && CouplingsArePossible(*model.inductance, diagonal, model, report)) {
        IsPositiveDefinite(*model.inductance, diagonal, model, report);
    }
}

/// In the matrix of capacitances a diagonal entry is a pin's whole capacitance, and the others are
/// those between pins with a minus: what is left in a row goes to ground.
void CapacitancesArePossible(const PackageModel& model, Report& report)
{
    if (!model.capacitance || !model.capacitance->IsUsable()) {
        return;
    }
    const Matrix& matrix = *model.capacitance;
    const std::vector<double> diagonal = DiagonalOf(matrix, model);
    std::vector<double> toGround = diagonal;
    OddEntries positive;
    ForEachEntry(matrix, model, [&](int row, int column, double value) {
        const auto i = static_cast<size_t>(row), j = static_cast<size_t>(column);
        if (i != j && !std::isnan(value)) {
            toGround[i] += value;
            toGround[j] += value;
            if (value > 0 && value * value > 1e-6 * diagonal[i] * diagonal[j]) {
                positive.Add(i, j, value);
            }
        }
    });
    if (positive.count > 0) {
        report.Say(matrix.section->place, positive.Text(matrix, model) + ", without a minus",
                   "off the diagonal write capacitances between pins with a minus");
        return;
    }
    for (size_t pin = 0; pin < diagonal.size(); ++pin) {
        if (toGround[pin] < -0.02 * diagonal[pin]) {
            report.Count(
                model.name, matrix.section->place,
                fmt::format("{}: pin {} has {} in all, and {} to other pins alone",
                            Of(matrix, model), PinName(model, pin), Amount(diagonal[pin], matrix),
                            Amount(diagonal[pin] - toGround[pin], matrix)),
                "write a pin's whole capacitance on the diagonal");
        }
    }
}

void MatricesArePossible(const PackageModel& model, Report& report)
{
    InductancesArePossible(model, report);
    CapacitancesArePossible(model, report);
}

/// Inductance and capacitance of each pin, by its matrices or its stub; 0 where there is none.
struct PinValues
{
    std::vector<double> l, c;
};

PinValues ValuesOf(const PackageModel& model)
{
    PinValues values{std::vector<double>(model.pins.size()),
                     std::vector<double>(model.pins.size())};
    if (model.inductance && model.capacitance && model.inductance->IsUsable() &&
        model.capacitance->IsUsable()) {
        return {DiagonalOf(*model.inductance, model), DiagonalOf(*model.capacitance, model)};
    }
    for (size_t pin = 0; pin < model.pins.size(); ++pin) {
        for (const PathElement& element : model.stubs[pin]) {
            values.l[pin] += element.piece.TotalL();
            values.c[pin] += element.piece.TotalC();
        }
    }
    return values;
}

double Median(std::vector<double>& values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// A slip in a unit shows in most pins; single pins may well be odd.
void PinsArePlausible(const PackageModel& model, Report& report)
{
    const PinValues values = ValuesOf(model);
    std::vector<double> impedances, delays;
    for (size_t pin = 0; pin < model.pins.size(); ++pin) {
        const double l = values.l[pin], c = values.c[pin];
        if (!(l > 0 && c > 0)) {
            continue;
        }
        impedances.push_back(std::sqrt(l / c));
        delays.push_back(std::sqrt(l * c));
        if (impedances.back() < 10 || impedances.back() > 200) {
            report.Count(
                Note, model.name, model.pins[pin].Place(),
                fmt::format("pin {} of package model '{}' has {} and {}, which is {:.3g} ohm, "
                            "expected 10 to 200 ohm",
                            PinName(model, pin), model.name, Amount(l, Key::InductanceMatrix),
                            Amount(c, Key::CapacitanceMatrix), impedances.back()),
                "check the units");
        }
    }
    if (impedances.empty()) {
        return;
    }
    const double impedance = Median(impedances), delay = Median(delays);
    if (impedance < 3 || impedance > 700 || delay > 1e-9) {
        report.Say(model.place,
                   fmt::format("the median pin of package model '{}' has {:.3g} ohm and {:.3g} ns, "
                               "expected 10 to 200 ohm and less than 1 ns",
                               model.name, impedance, delay * 1e9),
                   "check the units of inductances and capacitances");
    }
}

constexpr Check<PackageModel> kChecks[] = {
    {{708,
      Warning,
      {},
      "The inductance matrix is positive definite, and no pin has more capacitance to others than "
      "in all",
      "Otherwise the package gives off energy, and a simulation of it may grow without limit. "
      "Matrices that would take too long to factorise are tried pair by pair only.",
      "mutual capacitances without their minus"},
     MatricesArePossible},
    {{709,
      Warning,
      {},
      "Pins have sqrt(L/C) of 10 to 200 ohm and sqrt(L C) below 1 ns",
      "A whole table beyond them is in the wrong unit. A single pin is noted only.",
      "inductances in pH written as nH"},
     PinsArePlausible},
};

}  // namespace

const RuleSet& PackagePhysicsRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::packageModels, kChecks>();
    return set;
}

}  // namespace ibis
