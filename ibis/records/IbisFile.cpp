#include "ibis/records/IbisFile.hpp"

#include "base/TextFile.hpp"
#include "ibis/reader/Grammar.hpp"

namespace ibis {
namespace {

template <class Records>
auto FindIn(Records& records, const std::unordered_map<std::string_view, std::size_t>& byName,
            std::string_view name) -> decltype(&records[0])
{
    const auto found = byName.find(name);
    return found == byName.end() ? nullptr : &records[found->second];
}

void ReadOutermost(const Section& section, IbisFile& file)
{
    file.othersByName.try_emplace({section.keyword->key, section.argument}, &section);
    switch (section.keyword->key) {
        case Key::Component:
            file.componentsByName.try_emplace(section.argument, file.components.size());
            file.components.push_back(ReadComponent(section));
            break;
        case Key::ModelSelector:
            file.selectorsByName.try_emplace(section.argument, file.selectors.size());
            file.selectors.push_back({&section, section.argument, section.place});
            break;
        case Key::Model:
            file.modelsByName.try_emplace(section.argument, file.models.size());
            file.models.push_back(ReadModel(section));
            for (const ScheduledDriver& driver : file.models.back().schedule) {
                file.scheduled.insert(driver.model.Text());
            }
            break;
        case Key::Submodel:
            file.submodelsByName.try_emplace(section.argument, file.submodels.size());
            file.submodels.push_back(ReadSubmodel(section));
            break;
        case Key::DefinePackageModel:
            file.packageModelsByName.try_emplace(section.argument, file.packageModels.size());
            file.packageModels.push_back(ReadPackageModel(section));
            break;
        case Key::ExternalCircuit:
            file.externalCircuits.push_back(&section);
            break;
        case Key::TestData:
            file.testData.push_back(&section);
            break;
        case Key::TestLoad:
            file.testLoads.push_back(&section);
            break;
        case Key::BeginBoardDescription:
            file.boards.push_back(&section);
            break;
        case Key::InterconnectModelSet:
            file.interconnectSets.push_back(&section);
            break;
        case Key::BeginEmd:
            file.emds.push_back(&section);
            for (const Section* const set : section.Children(Key::EmdSet)) {
                file.othersByName.try_emplace({Key::EmdSet, set->argument}, set);
            }
            break;
        default:
            break;
    }
}

}  // namespace

const Component* IbisFile::FindComponent(std::string_view name) const
{
    return FindIn(components, componentsByName, name);
}

const PackageModel* IbisFile::FindPackageModel(std::string_view name) const
{
    return FindIn(packageModels, packageModelsByName, name);
}

const Section* IbisFile::Find(Key key, std::string_view name) const
{
    const auto found = othersByName.find({key, name});
    return found == othersByName.end() ? nullptr : found->second;
}

const Model* IbisFile::FindModel(std::string_view name) const
{
    return FindIn(models, modelsByName, name);
}

const ModelSelector* IbisFile::FindSelector(std::string_view name) const
{
    return FindIn(selectors, selectorsByName, name);
}

const Submodel* IbisFile::FindSubmodel(std::string_view name) const
{
    return FindIn(submodels, submodelsByName, name);
}

IbisFile ReadIbisFile(const std::filesystem::path& path, Findings& findings)
{
    return ParseIbisText(ReadWholeFile(path), path, findings);
}

IbisFile ParseIbisText(std::string text, const std::filesystem::path& path, Findings& findings)
{
    IbisFile file;
    file.neighbours = std::make_shared<Neighbours>(path);
    file.document =
        ReadSections(std::make_shared<const std::string>(std::move(text)), path, findings);
    for (const Section& section : file.document.root.children) {
        ReadOutermost(section, file);
    }
    return file;
}

}  // namespace ibis
