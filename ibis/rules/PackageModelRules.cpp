#include <algorithm>

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/records/PackageModel.hpp"
#include "ibis/rules/RuleSets.hpp"

/// [Define Package Model]: what it must hold, its pins and their stubs.
namespace ibis {
namespace {

using enum Severity;
using Kind = PathElement::Kind;

bool IsCount(double number)
{
    return number >= 1 && number == std::floor(number);
}

void HasItsKeywords(const PackageModel& model, Report& report)
{
    std::vector<std::string> missing;
    for (const Key key :
         {Key::Manufacturer, Key::Oem, Key::Description, Key::NumberOfPins, Key::PinNumbers}) {
        if (!model.section->Child(key)) {
            missing.push_back(fmt::format("[{}]", KeywordOf(key).name));
        }
    }
    if (!missing.empty()) {
        report.Say(
            model.place,
            fmt::format("[Define Package Model] '{}' has no {}", model.name, Joined(missing, ", ")),
            "add what is missing");
    }
}

void PinsAreCountedAndUnique(const PackageModel& model, Report& report)
{
    if (!model.pinNumbers) {
        return;
    }
    const size_t pins = model.pins.size();
    if (model.pinCount && model.pinCount.value != static_cast<double>(pins)) {
        report.Say(model.pinCount.place,
                   fmt::format("[Number Of Pins] of '{}' is {}, [Pin Numbers] lists {}", model.name,
                               model.section->Child(Key::NumberOfPins)->argument, pins),
                   fmt::format("write {}, or the pins that are missing", pins));
    }
    for (size_t i = 0; i < pins; ++i) {
        const auto first = static_cast<size_t>(model.FindPin(model.pins[i].Text()));
        if (first != i) {
            report.Count(model.name, model.pins[i].Place(),
                         fmt::format("pin '{}' of package model '{}' is listed again; the first is "
                                     "in line {}",
                                     model.pins[i].Text(), model.name, model.pins[first].Line()),
                         "name each pin once");
        }
    }
}

bool HasPieces(const std::vector<PathElement>& stub)
{
    return std::any_of(stub.begin(), stub.end(),
                       [](const PathElement& element) { return element.kind == Kind::Piece; });
}

/// What is wrong with a piece by itself, or "".
std::string FaultOf(const StubPiece& piece)
{
    if (std::isnan(piece.length)) {
        return "a section without Len";
    }
    if (!piece.closed) {
        return "a section without / at its end";
    }
    const bool negative = piece.length < 0 || piece.r < 0 || piece.l < 0 || piece.c < 0;
    return negative ? "a section with a negative value" : "";
}

/// The same of an element of a stub; forks counts those that are open.
std::string FaultOf(const PathElement& element, int& forks)
{
    switch (element.kind) {
        case Kind::Piece:
            return FaultOf(element.piece);
        case Kind::Fork:
            ++forks;
            return "";
        case Kind::Endfork:
            return --forks < 0 ? "an Endfork without Fork" : "";
        case Kind::NotANumber:
            return fmt::format("'{}' where a number is due", element.word.Text());
        case Kind::Pin:
        case Kind::Node:
        case Kind::Other:
            break;
    }
    return fmt::format("'{}', which has no meaning there", element.word.Text());
}

void StubIsWellFormed(const PackageModel& model, size_t pin, Report& report)
{
    int forks = 0, pieces = 0;
    for (const PathElement& element : model.stubs[pin]) {
        pieces += element.kind == Kind::Piece ? 1 : 0;
        const std::string fault = FaultOf(element, forks);
        if (!fault.empty()) {
            report.Count(model.name, element.word.Place(),
                         fmt::format("pin '{}' of package model '{}' has {}",
                                     model.pins[pin].Text(), model.name, fault),
                         "write sections such as Len=1.2 L=2.0n C=0.5p R=0.05/");
            return;
        }
    }
    const Place place = model.pins[pin].Place();
    const std::string of =
        fmt::format("pin '{}' of package model '{}'", model.pins[pin].Text(), model.name);
    if (forks > 0) {
        report.Count(model.name, place, of + " has a Fork without Endfork", "close the branch");
    } else if (pieces > model.sectionCount.value) {
        report.Count(model.name, place,
                     fmt::format("{} has {} sections, [Number Of Sections] is {:g}", of, pieces,
                                 model.sectionCount.value),
                     fmt::format("raise it to {}", pieces));
    }
}

void StubsAreWellFormed(const PackageModel& model, Report& report)
{
    if (model.sectionCount && !IsCount(model.sectionCount.value)) {
        report.Say(model.sectionCount.place,
                   fmt::format("[Number Of Sections] of '{}' is no number from 1 on", model.name),
                   "write the greatest number of sections that a pin has");
    }
    for (size_t pin = 0; pin < model.pins.size(); ++pin) {
        const bool hasPieces = HasPieces(model.stubs[pin]);
        const bool bare = model.sectionCount && model.stubs[pin].empty();
        if (bare || (hasPieces && !model.sectionCount)) {
            report.Count(
                model.name, model.pins[pin].Place(),
                fmt::format("pin '{}' of package model '{}' has {}", model.pins[pin].Text(),
                            model.name,
                            bare ? "no sections" : "sections without [Number Of Sections]"),
                bare ? "write Len=0/ for a section without data"
                     : "write [Number Of Sections] above [Pin Numbers]");
        } else {
            StubIsWellFormed(model, pin, report);
        }
    }
}

void HasSectionsOrMatrices(const PackageModel& model, Report& report)
{
    const bool hasSections =
        model.sectionCount || std::any_of(model.stubs.begin(), model.stubs.end(), HasPieces);
    if (hasSections == (model.modelData != nullptr)) {
        report.Say(
            model.place,
            fmt::format("package model '{}' has {} sections {} matrices", model.name,
                        model.modelData ? "both" : "neither", model.modelData ? "and" : "nor"),
            "give either [Number Of Sections] with the sections of each pin, or [Model Data]");
    }
}

/// Pins may be left out where others stand for them.
bool IsMerged(const PackageModel& model, std::string_view pin)
{
    for (const auto row : model.section->RowsOf(Key::MergedPins)) {
        if (std::any_of(row.begin(), row.end(), [pin](const Word& word) { return word == pin; })) {
            return true;
        }
    }
    return false;
}

void PinsAreThoseOfTheComponent(const Component& component, Report& report)
{
    const Section* const named = component.section->Child(Key::PackageModel);
    const PackageModel* const found =
        named ? FindPackageModel(report.file, named->argument) : nullptr;
    if (!found || found->pins.empty()) {
        return;
    }
    const PackageModel& model = *found;
    std::vector<std::string_view> missing;
    for (const Pin& pin : component.pins) {
        if (model.FindPin(pin.name.Text()) < 0 && !IsMerged(model, pin.name.Text())) {
            missing.push_back(pin.name.Text());
        }
    }
    if (!missing.empty()) {
        report.Say(
            named->place,
            fmt::format("package model '{}' lacks {} of the {} pins of '{}', the first is {}",
                        model.name, missing.size(), component.pins.size(), component.name,
                        missing[0]),
            "name the package model of this component, or list its pins by the same names");
    }
    const auto more = std::find_if(model.pins.begin(), model.pins.end(),
                                   [&](const Word& pin) { return !component.FindPin(pin.Text()); });
    if (missing.empty() && more != model.pins.end()) {
        report.Say(Note, named->place,
                   fmt::format("package model '{}' has {} pins, '{}' has {}; {} is not in [Pin]",
                               model.name, model.pins.size(), component.name, component.pins.size(),
                               more->Text()),
                   "list all pins of the package in [Pin], NC where they are not connected");
    }
}

constexpr Check<PackageModel> kChecks[] = {
    {{700, Error, Since(20),
      "A package model is closed by [End Package Model] and has [Manufacturer], [OEM], "
      "[Description], [Number Of Pins] and [Pin Numbers]",
      "The standard requires them.", "[Define Package Model] without [OEM]"},
     HasItsKeywords},
    {{701,
      Error,
      {},
      "[Number Of Pins] is the number of [Pin Numbers], and these are unique",
      "Rows of the matrices are told apart by them.",
      "[Number Of Pins] 8 above seven names"},
     PinsAreCountedAndUnique},
    {{702, Error, Since(30),
      "Each pin's sections have a Len and end in /, none of their values is negative, Fork and "
      "Endfork are paired, and there are no more of them than [Number Of Sections]",
      "A reader that misses a / takes two sections for one.", "A1 Len=0 L=1.2n Len=1.2 L=2.0n/"},
     StubsAreWellFormed},
    {{703,
      Error,
      {},
      "A package model has sections or [Model Data], not both",
      "Nobody knows which of the two descriptions holds.",
      "[Number Of Sections] and [Model Data] in one package model"},
     HasSectionsOrMatrices},
};

constexpr Check<Component> kComponentChecks[] = {
    {{710,
      Warning,
      {},
      "A package model has the pins of the component that uses it",
      "Pins that it lacks fall back to [Package]: the component was given the model of another "
      "package, or pins were renamed.",
      "[Package Model] of a 144-pin package for a component of 100 pins"},
     PinsAreThoseOfTheComponent},
};

}  // namespace

const RuleSet& PackageModelRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            for (const PackageModel& model : file.packageModels) {
                TryAll(kChecks, model, file, findings);
            }
            for (const Component& component : file.components) {
                TryAll(kComponentChecks, component, file, findings);
            }
        },
        kChecks, kComponentChecks);
    return set;
}

}  // namespace ibis
