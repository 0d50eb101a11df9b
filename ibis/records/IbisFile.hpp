#pragma once

#include <filesystem>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "ibis/findings/Findings.hpp"
#include "ibis/reader/Grammar.hpp"
#include "ibis/reader/SectionReader.hpp"
#include "ibis/records/Component.hpp"
#include "ibis/records/Model.hpp"
#include "ibis/records/Neighbours.hpp"
#include "ibis/records/PackageModel.hpp"
#include "ibis/records/Submodel.hpp"

namespace ibis {

/// A [Model Selector] with its rows: a model's name, then its description.
struct ModelSelector
{
    const Section* section = nullptr;
    std::string_view name;
    ibis::Place place;
};

/// An .ibs, .pkg, .ebd, .ims or .emd file as records. They refer to the document's sections and, by
/// that, to its text: a file is moved, not copied.
struct IbisFile
{
    Document document;
    std::vector<Component> components;
    std::vector<ModelSelector> selectors;
    std::vector<Model> models;
    std::vector<PackageModel> packageModels;
    std::vector<Submodel> submodels;
    std::vector<const Section*> externalCircuits, testData, testLoads, boards, interconnectSets,
        emds;
    std::shared_ptr<Neighbours> neighbours;  ///< never null; what stands beside it, read when
                                             ///< asked for

    Version GetVersion() const { return document.version; }
    /// The file of a name that stands in it.
    std::optional<std::filesystem::path> Beside(std::string_view name) const
    {
        return neighbours->files.Find(name);
    }
    /// The folder that the files it names stand in.
    std::filesystem::path Folder() const { return document.path.parent_path(); }

    /// The first of this name, or null; case counts, as in the standard.
    const Component* FindComponent(std::string_view name) const;
    const Model* FindModel(std::string_view name) const;
    const ModelSelector* FindSelector(std::string_view name) const;
    const Submodel* FindSubmodel(std::string_view name) const;
    const PackageModel* FindPackageModel(std::string_view name) const;
    /// Of other keywords with a name: [External Circuit], [Test Load], sets, boards, modules.
    const Section* Find(Key key, std::string_view name) const;

    IbisFile() = default;
    IbisFile(IbisFile&&) = default;
    IbisFile& operator=(IbisFile&&) = default;

    std::unordered_map<std::string_view, std::size_t> componentsByName, modelsByName,
        selectorsByName, submodelsByName, packageModelsByName;
    std::map<std::pair<Key, std::string_view>, const Section*> othersByName;
    std::unordered_set<std::string_view> scheduled;  ///< models that a [Driver Schedule] names
};

/// Reads a file of any of these kinds. Only a file that cannot be read throws: Error.
IbisFile ReadIbisFile(const std::filesystem::path& path, Findings& findings);

/// The same from a text already in memory; path serves for messages and for the files that it
/// names.
IbisFile ParseIbisText(std::string text, const std::filesystem::path& path, Findings& findings);

}  // namespace ibis
