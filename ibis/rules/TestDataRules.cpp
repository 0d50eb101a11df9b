#include <algorithm>
#include <set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/Number.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Test Data], [Test Load] and what a file says about emissions.
namespace ibis {
namespace {

using enum Severity;

std::string NameOf(const Section& section)
{
    return fmt::format("[{}] '{}'", section.keyword->name, section.argument);
}

void CheckType(const Section& section, const char* name, Report& report)
{
    const Word type = section.WordOf(name);
    const std::string lower = Lowercase(type.Text());
    if (lower != "single_ended" && lower != "differential") {
        report.Say(type ? type.Place() : section.place,
                   type ? fmt::format("{} of {} is '{}'", name, NameOf(section), type.Text())
                        : fmt::format("{} has no {}", NameOf(section), name),
                   "write Single_ended or Differential");
    }
}

void CheckModel(const Section& section, const char* name, Report& report)
{
    const Word model = section.WordOf(name);
    if (!model || report.file.FindModel(model.Text()) || report.file.FindSelector(model.Text())) {
        return;
    }
    std::vector<std::string> known;
    for (size_t i = 0; report.IsHeard() && i < report.file.models.size(); ++i) {
        known.emplace_back(report.file.models[i].name);
    }
    const std::string nearest = NearestName(model.Text(), known);
    report.Say(
        model.Place(),
        fmt::format("{} of {} is '{}', which is no [Model]", name, NameOf(section), model.Text()),
        nearest.empty() ? "name a model of this file" : fmt::format("did you mean {}?", nearest));
}

void TestDataFit(const Section& data, Report& report)
{
    CheckType(data, "Test_data_type", report);
    CheckModel(data, "Driver_model", report);
    CheckModel(data, "Driver_model_inv", report);
    const Word load = data.WordOf("Test_load");
    for (const char* name : {"Driver_model", "Test_load"}) {
        if (!data.Find(name)) {
            report.Say(data.place, fmt::format("{} has no {}", NameOf(data), name), "name it");
        }
    }
    if (load && !report.file.Find(Key::TestLoad, load.Text())) {
        report.Say(load.Place(),
                   fmt::format("Test_load of {} is '{}', which is no [Test Load]", NameOf(data),
                               load.Text()),
                   "define it");
    }
    if (data.children.empty()) {
        report.Say(data.place, NameOf(data) + " has no waveform",
                   "add [Rising Waveform Near] or another");
    }
}

void TestLoadFits(const Section& load, Report& report)
{
    CheckType(load, "Test_load_type", report);
    CheckModel(load, "Receiver_model", report);
    CheckModel(load, "Receiver_model_inv", report);
    if ((load.Find("Td") != nullptr) != (load.Find("Zo") != nullptr)) {
        report.Say(load.place,
                   fmt::format("{} has {}", NameOf(load),
                               load.Find("Td") ? "Td without Zo" : "Zo without Td"),
                   "state both: they are one line");
    }
    for (const Setting& setting : load.settings) {
        if (setting.known->numeric && ValueOf(setting.First().Text()) < 0) {
            report.Say(setting.Place(),
                       fmt::format("{} of {} is {}", setting.known->name, NameOf(load),
                                   setting.First().Text()),
                       "write a value that is not negative");
        }
    }
}

/// Pins of [Pin EMI] are the component's, and the domains that they are of the same as those of
/// [Pin Domain EMI].
void CheckEmissionPins(const Component& component, const Section& emission, Report& report)
{
    std::set<std::string_view> used;
    for (const auto row : emission.RowsOf(Key::PinEmi)) {
        if (!component.FindPin(row[0].Text())) {
            report.Count(fmt::format("{}/pins", emission.place.line), row[0].Place(),
                         fmt::format("[Pin EMI] of '{}' names the pin {}, which is not in [Pin]",
                                     component.name, row[0].Text()),
                         "name a pin of the component");
        }
        used.insert(row.size() > 1 ? row[1].Text() : "NA");
    }
    for (const auto row : emission.RowsOf(Key::PinDomainEmi)) {
        const Word& domain = row[0];
        if (emission.Child(Key::PinEmi) && !used.contains(domain.Text())) {
            report.Count(Note, fmt::format("{}/domains", emission.place.line), domain.Place(),
                         fmt::format("[Pin Domain EMI] of '{}' has the domain {}, which no pin of "
                                     "[Pin EMI] is of",
                                     component.name, domain.Text()),
                         "name a domain of its pins");
        }
    }
}

void CheckEmissionWord(const Section& emission, const char* name,
                       const std::vector<std::string>& known, Report& report)
{
    const Word word = emission.WordOf(name);
    const bool isKnown = std::any_of(known.begin(), known.end(), [&](const std::string& one) {
        return Lowercase(one) == Lowercase(word.Text());
    });
    if (word && !isKnown) {
        report.Say(Note, word.Place(),
                   fmt::format("{} of [{}] is '{}'", name, emission.keyword->name, word.Text()),
                   "write one of " + Joined(known, ", "));
    }
}

void EmissionsAreWellFormed(const IbisFile& file, Report& report)
{
    for (const Component& component : file.components) {
        if (const Section* const emission = component.section->Child(Key::BeginEmiComponent)) {
            CheckEmissionPins(component, *emission, report);
            CheckEmissionWord(*emission, "Domain", {"Digital", "Analog", "Digital_analog"}, report);
        }
    }
    for (const Model& model : file.models) {
        if (const Section* const emission = model.section->Child(Key::BeginEmiModel)) {
            CheckEmissionWord(*emission, "Model_emi_type", {"Ferrite", "Not_a_ferrite"}, report);
            CheckEmissionWord(*emission, "Model_Domain", {"Digital", "Analog"}, report);
        }
    }
}

constexpr Check<Section> kDataChecks[] = {
    {{660, Error, Since(40),
      "[Test Data] has a type, a driver and a load that there are, and a waveform",
      "It is what a simulator's result is compared with.", "Test_load L1 without [Test Load] L1"},
     TestDataFit},
};
constexpr Check<Section> kLoadChecks[] = {
    {{661, Error, Since(40),
      "[Test Load] has a type, values that are not negative, and Td together with Zo",
      "It is the network that [Test Data] were taken with.", "Td = 1ns without Zo"},
     TestLoadFits},
};
constexpr Check<IbisFile> kFileChecks[] = {
    {{670, Warning, Since(50),
      "[Begin EMI Component] and [Begin EMI Model] are closed and name pins, domains and types "
      "that "
      "there are",
      "Otherwise what follows is taken for a part of them. That a domain or type is unknown is a "
      "note.",
      "[Begin EMI Component] without its end"},
     EmissionsAreWellFormed},
};

}  // namespace

const RuleSet& TestDataRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const Section* data : file.testData) {
                TryAll(kDataChecks, *data, file, findings);
            }
            for (const Section* load : file.testLoads) {
                TryAll(kLoadChecks, *load, file, findings);
            }
            TryAll(kFileChecks, file, file, findings);
        },
        kDataChecks, kLoadChecks, kFileChecks);
    return set;
}

}  // namespace ibis
