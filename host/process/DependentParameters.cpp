#include "host/process/DependentParameters.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "base/Error.hpp"
#include "base/ScratchFolder.hpp"
#include "host/process/Protocol.hpp"
#include "ibis/ami/AmiTree.hpp"
#include "ibis/ami/AmiValue.hpp"

namespace amisim {
namespace {

/// What the leaves of a tree hold, by their dotted paths below its root.
void AddLeaves(const ibis::AmiNode& node, const std::string& path,
               std::map<std::string, std::string>& leaves)
{
    if (!path.empty() && node.words.size() == 1) leaves[path] = node.words.front().text;
    for (const ibis::AmiNode& child : node.children)
        AddLeaves(child, path.empty() ? child.name : path + "." + child.name, leaves);
}

std::map<std::string, std::string> LeavesOf(std::string_view text, const ibis::AmiFile& ami)
{
    const auto fail = [&](const std::string& why) {
        throw Error(ExitCode::kModelLoad,
                    fmt::format("{}: what AMI_Resolve gives back is no list of parameters: {}",
                                ami.path.string(), why));
    };
    if (text.size() >= kLongestText) fail(fmt::format("it has {} characters", text.size()));
    ibis::Findings findings("");  // it is no file of the user's
    const ibis::AmiTree tree = ibis::ParseAmiTree(text, findings);
    if (tree.fault) {
        fail(fmt::format("expected one list in parentheses, found '{}'",
                         text.substr(0, std::min<std::size_t>(text.size(), 60))));
    }
    std::map<std::string, std::string> leaves;
    AddLeaves(tree.root, "", leaves);
    return leaves;
}

/// As if the file had stated it. Of three corners it is the one that holds.
void Settle(ibis::AmiParameter& parameter, const std::string& text, const ibis::AmiFile& ami)
{
    if (parameter.format == ibis::Format::Corner) parameter.format = ibis::Format::Value;
    const auto value = ibis::Admitted(parameter, text);
    if (!value) {
        throw Error(ExitCode::kModelLoad,
                    fmt::format("{}:{}: AMI_Resolve gives {} the value '{}': expected {}: {}",
                                ami.path.string(), parameter.place.line, parameter.Path(), text,
                                ibis::Name(parameter.type), parameter.AllowedValues()));
    }
    parameter.usage = ibis::Usage::Info;
    parameter.defaultValue = *value;
}

}  // namespace

void TakeDependent(ModelSource& model, std::string_view parametersOut)
{
    ibis::AmiFile& ami = *model.definitions;
    const auto leaves = LeavesOf(parametersOut, ami);
    for (ibis::AmiParameter& parameter : ami.parameters) {
        if (parameter.usage != ibis::Usage::Dep) continue;
        const auto told = leaves.find(parameter.Path());
        if (told != leaves.end()) {
            Settle(parameter, told->second, ami);
        } else if (parameter.HasValue()) {
            parameter.usage = ibis::Usage::Info;
            AddNote(model, fmt::format("AMI_Resolve does not tell {}: it is {}, as the .ami states",
                                       parameter.Path(), parameter.defaultValue));
        }
    }
    Refresh(model);
}

bool HasDependent(const ModelSource& model)
{
    return model.definitions && model.definitions->Reserved("Resolve_Exists") == "True";
}

void ResolveDependent(ModelSource& model, double bitTime, ModelProcess::Settings settings)
{
    if (!HasDependent(model)) return;
    const base::ScratchFolder folder;
    settings.folder = folder.Path();
    settings.logFile = folder.Path() / "model.log";
    ModelStart start;
    start.modulePath = model.library;
    start.parameters = model.parameters;
    start.files = model.supportingFiles;
    start.bitTime = bitTime;
    start.sampleInterval = bitTime;
    start.impulses = {{0}};
    start.use = AmiModule::Use::kResolve;
    start.slots = 0;
    TakeDependent(model, ModelProcess(start, std::move(settings)).Resolve());
}

}  // namespace amisim
