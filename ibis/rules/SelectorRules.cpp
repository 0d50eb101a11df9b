#include <set>
#include <unordered_set>

#include "base/NearestName.hpp"
#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/rules/RuleSets.hpp"

/// Who refers to which models: selectors, and models that nobody refers to.
namespace ibis {
namespace {

using enum Severity;

void SelectorNameIsItsOwn(const ModelSelector& selector, Report& report)
{
    const ModelSelector* const first = report.file.FindSelector(selector.name);
    if (first != &selector) {
        report.Say(selector.place,
                   fmt::format("[Model Selector] '{}' stands again; the first is in line {}",
                               selector.name, first->place.line),
                   "give each selector a name of its own");
    } else if (const Model* const model = report.file.FindModel(selector.name)) {
        report.Say(selector.place,
                   fmt::format("[Model Selector] '{}' has the name of the [Model] in line {}",
                               selector.name, model->place.line),
                   "rename the one or the other");
    }
}

void SelectedModelsExist(const ModelSelector& selector, Report& report)
{
    const Rows& rows = selector.section->rows;
    if (rows.empty()) {
        report.Say(selector.place, fmt::format("[Model Selector] '{}' has no rows", selector.name),
                   "list the models to select from");
    }
    std::set<std::string_view> seen;
    for (const auto row : rows) {
        const Word& model = row[0];
        const bool isOther =
            report.file.FindSelector(model.Text()) || report.file.FindSubmodel(model.Text());
        if (!report.file.FindModel(model.Text())) {
            report.Count(std::to_string(selector.place.line), model.Place(),
                         fmt::format("[Model Selector] '{}' names '{}', which is {}", selector.name,
                                     model.Text(), isOther ? "no [Model]" : "not defined"),
                         "name a [Model] of this file");
        } else if (!seen.insert(model.Text()).second) {
            report.Say(
                model.Place(),
                fmt::format("[Model Selector] '{}' names '{}' twice", selector.name, model.Text()),
                "name each model once");
        }
    }
}

void SelectedModelsAreAlike(const ModelSelector& selector, Report& report)
{
    const Rows& rows = selector.section->rows;
    const Model* const first = rows.empty() ? nullptr : report.file.FindModel(rows[0][0].Text());
    for (const auto row : rows) {
        const Model* const model = report.file.FindModel(row[0].Text());
        const std::string key = std::to_string(selector.place.line);
        if (row.size() < 2) {
            report.Count(key + "/text", row[0].Place(),
                         fmt::format("model '{}' has no description in [Model Selector] '{}'",
                                     row[0].Text(), selector.name),
                         "say in a few words what the model stands for");
        }
        if (!first || !model || first->type == ModelType::Unknown ||
            model->type == ModelType::Unknown) {
            continue;
        }
        const TypeTraits &a = first->Traits(), &b = model->Traits();
        if (a.receives != b.receives && a.drives != b.drives) {
            report.Count(key + "/type", row[0].Place(),
                         fmt::format("[Model Selector] '{}' offers '{}' ({}) and '{}' ({})",
                                     selector.name, first->name, a.name, model->name, b.name),
                         "select between models of the same direction");
        }
    }
}

constexpr Check<ModelSelector> kChecks[] = {
    {{300, Error, Since(30), "The name of a [Model Selector] is its own",
      "Nobody knows which of two is meant.", "a [Model Selector] with the name of a [Model]"},
     SelectorNameIsItsOwn},
    {{301, Error, Since(30), "A [Model Selector] lists models of this file, each once",
      "What is selected must be there.", "a row that names a model of another file"},
     SelectedModelsExist},
    {{302, Warning, Since(30),
      "The rows of a [Model Selector] have descriptions and models of the same direction",
      "The description is all that a user sees to select by.", "BUF_FAST without a description"},
     SelectedModelsAreAlike},
};

/// Every name that some table uses for a model.
std::unordered_set<std::string_view> UsedModels(const IbisFile& file)
{
    std::unordered_set<std::string_view> used;
    const auto addColumn = [&](const Rows& rows, size_t column) {
        for (const auto row : rows) {
            if (column < row.size()) {
                used.insert(row[column].Text());
            }
        }
    };
    for (const Component& component : file.components) {
        addColumn(component.section->RowsOf(Key::Pin), 2);
        addColumn(component.section->RowsOf(Key::SeriesPinMapping), 2);
    }
    for (const ModelSelector& selector : file.selectors) {
        addColumn(selector.section->rows, 0);
    }
    for (const Model& model : file.models) {
        addColumn(model.section->RowsOf(Key::DriverSchedule), 0);
    }
    for (const auto* sections : {&file.testData, &file.testLoads}) {
        for (const Section* section : *sections) {
            for (const Setting& setting : section->settings) {
                used.insert(setting.First().Text());
            }
        }
    }
    return used;
}

void ModelsAreUsed(const IbisFile& file, Report& report)
{
    // A library of models alone is somebody else's to use.
    if (file.components.empty()) {
        return;
    }
    const auto used = UsedModels(file);
    for (const Model& model : file.models) {
        if (!used.contains(model.name) && !model.name.empty()) {
            report.Count("model", model.place,
                         fmt::format("no pin or selector names [Model] '{}'", model.name));
        }
    }
    for (const ModelSelector& selector : file.selectors) {
        if (!used.contains(selector.name) && !selector.name.empty()) {
            report.Count("selector", selector.place,
                         fmt::format("no pin names [Model Selector] '{}'", selector.name));
        }
    }
}

constexpr Check<IbisFile> kFileChecks[] = {
    {{214,
      Note,
      {},
      "Each [Model] and [Model Selector] is named by a pin, a selector or a schedule",
      "What nobody names is left over.",
      "a [Model] of an earlier revision"},
     ModelsAreUsed},
};

}  // namespace

const RuleSet& SelectorRules()
{
    static const RuleSet set = MakeRuleSet(
        [](const IbisFile& file, Findings& findings) {
            TryAll(kFileChecks, file, file, findings);
            for (const ModelSelector& selector : file.selectors) {
                TryAll(kChecks, selector, file, findings);
            }
        },
        kFileChecks, kChecks);
    return set;
}

}  // namespace ibis
