#include "ibis/records/Companions.hpp"

#include <algorithm>

#include "ibis/reader/Grammar.hpp"
#include "ibis/records/Executables.hpp"
#include "ibis/records/External.hpp"

namespace ibis {
namespace {

using Kind = Companion::Kind;

/// Collects what a file names.
class Collector
{
public:
    explicit Collector(const IbisFile& file) : file_(file) {}

    std::vector<Companion> All()
    {
        for (const Component& component : file_.components) {
            OfComponent(*component.section);
        }
        for (const Model& model : file_.models) {
            OfModel(model);
        }
        for (const Section* const circuit : file_.externalCircuits) {
            OfCorners(*circuit);
        }
        for (const Section* const board : file_.boards) {
            OfRows(board->RowsOf(Key::ReferenceDesignatorMap), Kind::Part);
        }
        for (const Section* const emd : file_.emds) {
            OfRows(emd->RowsOf(Key::EmdParts), Kind::Part);
            for (const Section* const group : emd->Children(Key::EmdGroup)) {
                OfRows(group->rows, Kind::Interconnect);
            }
        }
        for (const Section* const set : file_.interconnectSets) {
            for (const Section* const model : set->Children(Key::InterconnectModel)) {
                OfInterconnect(*model);
            }
        }
        return std::move(all_);
    }

private:
    void Add(Kind kind, const Word& name, bool forThisPlatform = true)
    {
        all_.push_back({kind, name, file_.Beside(name.Text()), forThisPlatform});
    }

    void OfComponent(const Section& component)
    {
        const Section* const package = component.Child(Key::PackageModel);
        if (package && !package->arguments.empty() && !file_.FindPackageModel(package->argument)) {
            const IbisFile* const found = file_.neighbours->FindPackageFile(package->argument);
            all_.push_back({Kind::PackageModel, package->arguments[0],
                            found ? std::optional(found->document.path) : std::nullopt, true});
        }
        for (const Section* const group : component.Children(Key::InterconnectModelGroup)) {
            OfRows(group->rows, Kind::Interconnect);
        }
    }

    void OfModel(const Model& model)
    {
        for (const ExecutableLine& line : ExecutablesOf(model)) {
            Add(Kind::Library, line.library, IsThisPlatform(line.platform.Text()));
            Add(Kind::Ami, line.ami);
        }
        if (model.external) {
            OfCorners(*model.external);
        }
    }

    void OfCorners(const Section& circuit)
    {
        for (const External::Corner& corner : ReadExternal(circuit).corners) {
            if (corner.file) {
                Add(Kind::Circuit, corner.file);
            }
        }
    }

    /// Rows of a name, a file and maybe more; NA or the file's own name stand for the file itself.
    void OfRows(const Rows& rows, Kind kind)
    {
        for (const auto row : rows) {
            if (row.size() > 1 && row[1] != "NA" &&
                row[1] != file_.document.path.filename().native()) {
                Add(kind, row[1]);
            }
        }
    }

    void OfInterconnect(const Section& model)
    {
        for (const Setting& setting : model.settings) {
            const bool circuit = setting.known->name == "File_IBIS-ISS";
            if (circuit || setting.known->name.starts_with("File_TS")) {
                for (const Word& name : FilesNamed(model, setting.First())) {
                    Add(circuit ? Kind::Circuit : Kind::Touchstone, name);
                }
            }
        }
    }

    const IbisFile& file_;
    std::vector<Companion> all_;
};

Word Unquoted(const Word& word)
{
    const std::string_view text = word.Text();
    return text.size() > 1 && text.front() == '"' && text.back() == '"'
               ? Word(text.substr(1, text.size() - 2), word.Line(),
                      static_cast<size_t>(word.Place().column) + 1)
               : word;
}

}  // namespace

const char* Name(Companion::Kind kind)
{
    switch (kind) {
        case Kind::PackageModel:
            return "package model";
        case Kind::Ami:
            return "parameter file";
        case Kind::Library:
            return "library";
        case Kind::Circuit:
            return "circuit";
        case Kind::Interconnect:
            return "interconnect models";
        case Kind::Touchstone:
            return "Touchstone file";
        case Kind::Part:
            break;
    }
    return "part";
}

std::vector<Companion> CompanionsOf(const IbisFile& file)
{
    return Collector(file).All();
}

bool HasCompanions(const IbisFile& file)
{
    std::optional<bool>& known = file.neighbours->hasCompanions;
    if (!known) {
        const auto all = CompanionsOf(file);
        known = std::any_of(all.begin(), all.end(),
                            [](const Companion& one) { return one.path.has_value(); });
    }
    return *known;
}

std::vector<Word> FilesNamed(const Section& interconnect, const Word& name)
{
    std::vector<Word> files;
    for (const Setting& setting : interconnect.settings) {
        // Param NAME Value "typ.s4p", or Param NAME Corner "typ.s4p" "min.s4p" "max.s4p".
        if (setting.known->name == "Param" && setting.First().Text() == name.Text()) {
            for (size_t i = 3; i < setting.words.size(); ++i) {
                files.push_back(Unquoted(setting.words[i]));
            }
        }
    }
    if (files.empty() && name) {
        files.push_back(Unquoted(name));
    }
    return files;
}

}  // namespace ibis
