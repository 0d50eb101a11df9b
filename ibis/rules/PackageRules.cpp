#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/CornerValues.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Package] of a component.
namespace ibis {
namespace {

using enum Severity;

struct PackageRow
{
    const char* name;
    const char* unit;
    double most, usual;  ///< beyond the first it is taken for a slip
};
constexpr PackageRow kPackageRows[] = {
    {"R_pkg", "ohm", 10, 1}, {"L_pkg", "H", 100e-9, 10e-9}, {"C_pkg", "F", 100e-12, 20e-12}};

void HasPackage(const Component& component, Report& report)
{
    const Section* const package = component.section->Child(Key::Package);
    std::vector<std::string> missing;
    for (const PackageRow& row : kPackageRows) {
        if (!package || !package->Find(row.name)) {
            missing.emplace_back(row.name);
        }
    }
    if (!missing.empty()) {
        report.Say(package ? package->place : component.place,
                   package ? fmt::format("[Package] of '{}' has no {}", component.name,
                                         Joined(missing, ", "))
                           : fmt::format("component '{}' has no [Package]", component.name),
                   "state R_pkg, L_pkg and C_pkg, 0 where there is none");
    }
}

/// The rows of [Package] that are given, with what is known of each.
template <class Function>
void ForPackageRows(const Component& component, Function function)
{
    const Section* const package = component.section->Child(Key::Package);
    for (const PackageRow& row : kPackageRows) {
        const Triple values = package ? package->CornersOf(row.name) : Triple{};
        if (values) {
            function(row, values);
        }
    }
}

void PackageHasTypicalValues(const Component& component, Report& report)
{
    ForPackageRows(component, [&](const PackageRow& row, const Triple& values) {
        const Word written = component.section->Child(Key::Package)->WordOf(row.name);
        if (ParseNumber(written.Text()).kind != Number::Kind::Number &&
            ParseNumber(written.Text()).kind != Number::Kind::None) {
            report.Say(values.place,
                       fmt::format("{} of '{}' is {} as its typical value", row.name,
                                   component.name, written.Text()),
                       "write a number; min and max may be NA");
        }
    });
}

void PackageIsOrdered(const Component& component, Report& report)
{
    ForPackageRows(component, [&](const PackageRow& row, const Triple& values) {
        const Corners& at = values.at;
        if (at.min > at.typ || at.typ > at.max || at.min > at.max) {
            report.Say(values.place,
                       fmt::format("{} of '{}' has typ {:g}, min {:g}, max {:g} {}", row.name,
                                   component.name, at.typ, at.min, at.max, row.unit),
                       "min is the least and max the greatest value");
        }
    });
}

void PackageIsOfSensibleSize(const Component& component, Report& report)
{
    ForPackageRows(component, [&](const PackageRow& row, const Triple& values) {
        for (const Corner corner : kCorners) {
            const double value = values.at[corner];
            if (value < 0 || value > row.most) {
                report.Say(
                    values.place,
                    fmt::format("{} of '{}' is {:g} {} ({}), expected 0 to {:g} {}", row.name,
                                component.name, value, row.unit, Name(corner), row.most, row.unit),
                    "check the scale factor");
                return;
            }
        }
    });
}

void PackageIsNotEmpty(const Component& component, Report& report)
{
    int rows = 0, zeros = 0;
    ForPackageRows(component, [&](const PackageRow&, const Triple& values) {
        ++rows;
        zeros += values.at.typ == 0;
    });
    const Section* const pin = component.section->Child(Key::Pin);
    const bool hasOther = component.section->Child(Key::PackageModel) ||
                          (pin && !component.pins.empty() && component.pins.front().columns == 6) ||
                          component.section->Child(Key::InterconnectModelGroup);
    if (rows != 3 || zeros != 3 || hasOther) {
        return;
    }
    // A part that has on-die models only is meant so.
    const bool isAlgorithmic = std::any_of(report.file.models.begin(), report.file.models.end(),
                                           [](const Model& model) { return model.algorithmic; });
    if (!isAlgorithmic) {
        report.Say(
            component.section->Child(Key::Package)->place,
            fmt::format("[Package] of '{}' is all zero: the package is left out", component.name));
    }
}

constexpr Check<Component> kChecks[] = {
    {{202,
      Error,
      {},
      "A component has a [Package] with R_pkg, L_pkg and C_pkg",
      "Pins without values of their own have those of the package.",
      "[Package] without C_pkg"},
     HasPackage},
    {{203,
      Error,
      {},
      "The typical values of [Package] are numbers; min and max may be NA",
      "NA elsewhere falls back to the typical value.",
      "R_pkg NA NA NA"},
     PackageHasTypicalValues},
    {{204,
      Warning,
      {},
      "In [Package] min is the least and max the greatest value",
      "Simulators take the columns as fast and slow corners.",
      "L_pkg 2nH 3nH 1nH"},
     PackageIsOrdered},
    {{205,
      Warning,
      {},
      "The values of [Package] are of a package's size: 0 to 10 ohm, 100 nH, 100 pF",
      "A missing scale factor turns nanohenries into henries.",
      "L_pkg 5.2 4.8 5.6"},
     PackageIsOfSensibleSize},
    {{206,
      Note,
      {},
      "The package has some resistance, inductance or capacitance",
      "All zero is legal; the package is then left out of the simulation.",
      "R_pkg 0 0 0"},
     PackageIsNotEmpty},
};

}  // namespace

const RuleSet& PackageRules()
{
    static const RuleSet set = MakeRuleSetOf<&IbisFile::components, kChecks>();
    return set;
}

}  // namespace ibis
