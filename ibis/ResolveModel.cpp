#include "ibis/ResolveModel.hpp"

#include "base/TextFile.hpp"
#include "ibis/Beside.hpp"
#include "ibis/ChooseModel.hpp"
#include "ibis/ami/CheckAmi.hpp"
#include "ibis/ami/TreeRules.hpp"

namespace ibis {
namespace {

namespace fs = std::filesystem;

/// A name that cannot even be looked up is as good as missing.
bool Exists(const fs::path& file)
{
    std::error_code error;
    return fs::exists(file, error);
}

/// A file that the .ibs names must be there; the message leads back to the line that names it.
fs::path Named(const Word& file, const fs::path& ibs)
{
    const auto found = Beside(ibs, file.Text());
    if (!found) {
        throw Error(ibs, file.Line(),
                    fmt::format("names {}, which does not exist",
                                (ibs.parent_path() / file.Text()).string()));
    }
    return *found;
}

std::optional<fs::path> FirstBeside(const fs::path& file, std::initializer_list<std::string> names)
{
    for (const std::string& name : names) {
        if (auto found = Beside(file, name)) {
            return found;
        }
    }
    return std::nullopt;
}

/// Of all findings those that whoever runs the model should see: what parameters it may be sent
/// wrongly, not how the file is written. The checker tells the rest.
std::vector<std::string> Notes(const fs::path& path, std::vector<Finding> findings)
{
    constexpr std::size_t kMost = 10;
    std::erase_if(findings, [](const Finding& one) {
        const bool isText = one.number <= rules::kPlainCharacters.number;
        return one.severity == Severity::Note || (one.severity == Severity::Warning && isText);
    });
    std::vector<std::string> notes;
    for (const Finding& one : findings) {
        if (notes.size() == kMost) {
            notes.push_back(fmt::format("{0}: there is more: see amisim check {0}", path.string()));
            break;
        }
        notes.push_back(one.Line());
    }
    return notes;
}

void ReadAmi(const fs::path& path, ResolvedModel& resolved)
{
    Findings findings(path.string());
    AmiFile file = ReadAmiFile(path, findings);
    if (file.fault) {
        throw Error(path, file.fault->place.line, file.fault->text);
    }
    CheckAmi(file, {}, findings);
    resolved.notes = Notes(path, findings.Take());
    resolved.rootName = file.rootName;
    resolved.ami = std::move(file);
}

/// The files that stand for the model; library and .ami are empty where they are not there.
struct Files
{
    fs::path library, ami;
    std::string modelName, platform;
    std::optional<End> end;
    LegTermination termination = {};
    Corners legFarads = {};
};

/// The model between both legs of a pair that has this model at either pin, or null.
const Model* ModelAcross(const IbisFile& ibs, std::string_view model)
{
    for (const Component& component : ibs.components) {
        for (const auto row : component.section->RowsOf(Key::SeriesPinMapping)) {
            const Pin* const one = component.FindPin(row[0].Text());
            const Pin* const other = row.size() > 2 ? component.FindPin(row[1].Text()) : nullptr;
            if (one && other && one->model.Text() == model && other->model.Text() == model) {
                return ibs.FindModel(row[2].Text());
            }
        }
    }
    return nullptr;
}

/// To a supply each resistor is one to ground for the signal; of one across the pair each leg has
/// half.
LegTermination TerminationOf(const IbisFile& ibs, const Model& model)
{
    const Model* const across = ModelAcross(ibs, model.name);
    const Section* const series = across ? across->section->Child(Key::RSeries) : nullptr;
    struct Part
    {
        Triple ohms;
        double share;
        const char* name;
    };
    const Part parts[] = {{model.rgnd, 1, "[Rgnd]"},
                          {model.rpower, 1, "[Rpower]"},
                          {series ? series->ArgumentCorners() : Triple{}, 0.5, "[R Series]"}};
    LegTermination termination;
    std::vector<std::string> names;
    for (const Part& part : parts) {
        if (part.ohms.at.Or(Corner::Typ) > 0) {
            names.emplace_back(part.name);
        }
    }
    if (names.empty()) {
        return termination;
    }
    const auto together = [&](Corner corner) {
        double siemens = 0;
        for (const Part& part : parts) {
            const double ohms = part.share * part.ohms.at.Or(corner);
            siemens += ohms > 0 ? 1 / ohms : 0;
        }
        return 1 / siemens;
    };
    termination.ohms = {together(Corner::Typ), together(Corner::Min), together(Corner::Max)};
    termination.from = Joined(names, " and ");
    return termination;
}

/// C_comp, or the sum of the parts that stand in its place, for the slow corner as min and for the
/// fast one as max. In the [Model] itself min and max are the least and the greatest, of which a
/// slow buffer has the latter; [C Comp Corner] goes by corners.
Corners CapacitanceOf(const Model& model)
{
    const Section* const byCorner = model.section->Child(Key::CCompCorner);
    const Section& section = byCorner ? *byCorner : *model.section;
    Corners sum;
    for (const char* part :
         {"C_comp_pullup", "C_comp_pulldown", "C_comp_power_clamp", "C_comp_gnd_clamp"}) {
        const Triple own = section.CornersOf(part);
        if (!own) continue;
        const Corners before = std::isnan(sum.typ) ? Corners{0, 0, 0} : sum;
        sum = {before.typ + own.at.typ, before.min + own.at.Or(Corner::Min),
               before.max + own.at.Or(Corner::Max)};
    }
    Corners found = std::isnan(sum.typ) ? section.CornersOf("C_comp").at : sum;
    if (!byCorner) std::swap(found.min, found.max);
    return found;
}

Files FromIbs(const fs::path& path, std::string_view modelName, End end, bool needsLibrary)
{
    Findings findings(path.string());  // for amisim check to tell
    const IbisFile ibs = ReadIbisFile(path, findings);
    const ChosenModel model = ChooseModel(ibs, modelName, end);
    const Model* const found = ibs.FindModel(model.name);
    return {needsLibrary ? Named(model.line.library, path) : fs::path(),
            Named(model.line.ami, path),
            model.name,
            model.line.platform.String(),
            model.end,
            found ? TerminationOf(ibs, *found) : LegTermination{},
            found ? CapacitanceOf(*found) : Corners{}};
}

Files Find(const fs::path& path, std::string_view modelName, End end, bool needsLibrary)
{
    if (!Exists(path)) {
        throw Error(path, "does not exist");
    }
    const std::string kind = Lowercase(path.extension().string());
    if (kind == ".ibs") {
        return FromIbs(path, modelName, end, needsLibrary);
    }
    if (!modelName.empty()) {
        throw Error(path,
                    fmt::format("a model name ('{}') goes with an .ibs file only", modelName));
    }
    if (kind == ".ami") {
        return {LibraryOf(path).value_or(""), path, "", "", {}};
    }
    if (path.filename().string().find(".so") == std::string::npos) {
        throw Error(path, "expected an .ibs, .ami or .so file");
    }
    return {path, AmiOf(path).value_or(""), "", "", {}};
}

}  // namespace

std::optional<fs::path> LibraryOf(const fs::path& ami)
{
    const std::string stem = ami.stem().string();
    return FirstBeside(ami, {stem + ".so", "lib" + stem + ".so"});
}

std::optional<fs::path> AmiOf(const fs::path& library)
{
    const std::string stem = library.stem().string();
    return FirstBeside(library,
                       {stem + ".ami", (stem.starts_with("lib") ? stem.substr(3) : stem) + ".ami"});
}

ResolvedModel ResolveModel(const fs::path& path, std::string_view modelName, End end)
{
    const Files files = Find(path, modelName, end, true);
    if (files.library.empty()) {
        throw Error(path, fmt::format("expected the model's library {}.so beside it; name the "
                                      ".ibs or the .so instead",
                                      path.stem().string()));
    }
    ResolvedModel resolved;
    resolved.rootName = path.stem().string();
    resolved.modelName = files.modelName;
    resolved.platform = files.platform;
    resolved.end = files.end;
    resolved.termination = files.termination;
    resolved.legFarads = files.legFarads;
    // A model runs in a folder of its own, and a bare name would be searched for elsewhere.
    resolved.library = fs::absolute(files.library);
    if (!files.ami.empty()) {
        ReadAmi(files.ami, resolved);
    }
    return resolved;
}

std::string FarSideOf(const fs::path& path, std::string_view modelName)
{
    if (Lowercase(path.extension().string()) != ".ibs") {
        return "";
    }
    Findings findings(path.string());  // for amisim check to tell
    const IbisFile file = ReadIbisFile(path, findings);
    const std::string receiver = ChooseModel(file, modelName, End::Receiver).name;
    for (const Component& component : file.components) {
        for (const auto row : component.section->RowsOf(Key::RepeaterPin)) {
            const Pin* const in = component.FindPin(row[0].Text());
            const Pin* const out = row.size() > 1 ? component.FindPin(row[1].Text()) : nullptr;
            if (in && out && in->model.Text() == receiver) {
                return out->model.String();
            }
        }
    }
    return "";
}

ResolvedModel ResolveDefinitions(const fs::path& path, std::string_view modelName)
{
    const Files files = Find(path, modelName, End::Receiver, false);
    if (files.ami.empty()) {
        throw Error(path, fmt::format("has no {}.ami beside it", path.stem().string()));
    }
    ResolvedModel resolved;
    resolved.modelName = files.modelName;
    resolved.platform = files.platform;
    ReadAmi(files.ami, resolved);
    return resolved;
}

}  // namespace ibis
